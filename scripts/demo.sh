#!/bin/bash
# Builds the plug-in, the host and the tool in build, writes example files, converts them and makes a gallery of them.
set -euo pipefail
cd "$(dirname "$0")/.."

build=$PWD/build
out=$PWD/examples/out
log=$build/demo.log

scripts/install-packages.sh build
mkdir -p "$build"
echo "Building (log: $log)"
# Keeps the settings of an existing build folder. A new one leaves out what only tests need.
options=()
[ -f "$build/CMakeCache.txt" ] || options=(-DKPX_TESTS=OFF -DKPX_PYTHON=OFF)
if ! { cmake --preset release "${options[@]}" && cmake --build "$build" --target kpximage KPXDDS kpxexamples; } \
    >"$log" 2>&1; then
    tail -n 30 "$log" >&2
    exit 1
fi

rm -rf "$out"
mkdir -p "$out"
"$build/kpxexamples" "$out"
"$build/kpximage" convert -q "$out"/*.dds -o "$out/pictures/" || [ $? -eq 3 ]
# Some faulty files cannot be read, as intended.
"$build/kpximage" gallery -q -r "$out" -o "$out/gallery" 2>"$out/messages.txt" || [ $? -eq 1 ]

count() { find "$1" -name "*.$2" | wc -l; }
echo "$(count "$out" dds) example files in $out, $(count "$out/bad" dds) of them with faults (messages.txt says which)"
echo "$(count "$out/pictures" png) as PNG and $(count "$out/pictures" exr) as OpenEXR in $out/pictures"
echo "All of them to look at: $out/gallery/index.html"
