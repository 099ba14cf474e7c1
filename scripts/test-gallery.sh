#!/bin/bash
# test-gallery.sh [BUILD_DIR]: makes a gallery of all example files, of hidden colours and of a hostile name, and checks it
# in a headless browser. Requires a complete build.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-packages.sh" ci
build=$(cd "${1:-$root/build}" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

"$build/kpxexamples" .
cp bad/*.dds .
rm -r bad
# header FLAGS MIPMAPS: writes the header of a 2 by 2 picture of 32-bit BGRA.
header() {
    printf 'DDS \174\0\0\0\7\20'"\\$1"'\0\2\0\0\0\2\0\0\0\0\0\0\0\0\0\0\0'"\\$2"'\0\0\0'
    head -c 44 /dev/zero
    printf '\40\0\0\0\101\0\0\0\0\0\0\0\40\0\0\0\0\0\377\0\0\377\0\0\377\0\0\0\0\0\0\377'
    head -c 20 /dev/zero
}
{
    header 0 0
    printf '\62\144\310\0\36\24\12\377\200\377\0\377\132\0\377\115'
} >hidden.dds
{
    header 2 2
    printf '\3\2\1\377\3\2\1\377\3\2\1\377\3\2\1\377\374\373\372\377'
} >mips.dds
# DXGI format 85, 5-6-5 colour, which `repair` fixes.
{
    printf 'DDS \174\0\0\0\7\20\0\0\2\0\0\0\2\0\0\0'
    head -c 56 /dev/zero
    printf '\40\0\0\0\4\0\0\0DX10'
    head -c 40 /dev/zero
    printf '\125\0\0\0\3\0\0\0\0\0\0\0\1\0\0\0\0\0\0\0\0\370\340\7\37\0\340\377'
} >repairable.dds
cp dxt5.dds "<img src=x onerror=alert(1)>.dds"
cp dxt5.dds "\"' onload=alert(2) & <b>&lt;.dds"
cp header-cut.dds "<script>alert(3)<!--.dds"
echo text >text.dds

files=(*.dds)
# Some files cannot be decoded, as intended.
"$build/kpximage" explain --json "${files[@]}" >explain.json 2>messages.txt || true
"$build/kpximage" gallery "${files[@]}" -o gallery 2>>messages.txt || [ $? -eq 1 ]
python3 "$root/tests/tools/galleryChecker.py" explain.json gallery
echo "The gallery of ${#files[@]} files is as it should be"
