#!/bin/bash
# Builds the plug-in, host and tool in build, writes example files, converts them all and joins the pictures to a contact
# sheet.
set -euo pipefail
cd "$(dirname "$0")/.."

build=$PWD/build
out=$PWD/examples/out
log=$build/demo.log

# The build folder is that of the tests, whose packages cmake asks for.
scripts/install-packages.sh test

mkdir -p "$build"
echo "Building (log: $log)"
if ! { cmake --preset release && cmake --build "$build" --target kpximage KPXDDS kpxexamples kpxcontactsheet; } \
    >"$log" 2>&1; then
    tail -n 30 "$log" >&2
    exit 1
fi

rm -rf "$out"
mkdir -p "$out/pictures" "$out/bad/pictures"
"$build/kpxexamples" "$out"

# Bytes become PNG and floats OpenEXR; floats then become PNG too, with what is brighter than 1 cut off.
"$build/kpximage" convert -q -f "$out"/*.dds -o "$out/pictures"
floats=()
for exr in "$out"/pictures/*.exr; do floats+=("$out/$(basename "$exr" .exr).dds"); done
"$build/kpximage" convert -q -f --exposure 0 "${floats[@]}" -o "$out/pictures"

# Of files with faults most become the black picture; some are not opened, which is no failure of the demonstration.
"$build/kpximage" convert --keep-black -v "$out"/bad/*.dds -o "$out/bad/pictures" 2>"$out/bad/messages.txt" || true

mapfile -t pictures < <(find "$out/pictures" -name '*.png' | LC_ALL=C sort -V)
"$build/kpxcontactsheet" "$out/contact-sheet.png" "${pictures[@]}"

count() { find "$1" -maxdepth 1 -name "*.$2" | wc -l; }
echo "$(count "$out" dds) example files in $out: $(count "$out/pictures" png) as PNG," \
    "$(count "$out/pictures" exr) as OpenEXR too, in $out/pictures"
echo "$(count "$out/bad" dds) files with faults in $out/bad: $(count "$out/bad/pictures" png) as PNG in" \
    "$out/bad/pictures, and what was said of them in $out/bad/messages.txt"
echo "All pictures on one sheet: $out/contact-sheet.png"
