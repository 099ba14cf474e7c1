#!/bin/bash
# Whole files from disk to rows, the whole process: the plug-in against the other DDS readers that are installed, in turn
# in one run. compare.sh [--install] [BUILD_DIR]; --install gets the other readers and hyperfine from Debian.
set -euo pipefail
cd "$(dirname "$0")/.."
if [ "${1:-}" = --install ]; then
    shift
    apt-get -qq update && DEBIAN_FRONTEND=noninteractive apt-get -qq -y install hyperfine python3-pil openimageio-tools imagemagick >/dev/null
fi
build=${1:-build}
cmake --build "$build" --target readAll makeFiles KPXDDS >/dev/null
files=$build/bench-files
[ -f "$files/bgra8.dds" ] || "$build/makeFiles" "$files"

command_of() { # command_of READER FILE: the command that reads all pixels of a file
    case $1 in
    plug-in) echo "$build/readAll $build/KPXDDS.so $2" ;;
    python3-pil) echo "/usr/bin/python3 -c 'import sys; from PIL import Image; Image.MAX_IMAGE_PIXELS = None; Image.open(\"$2\").load()'" ;;
    openimageio) echo "oiiotool $2 --echo read -o $build/bench-files/out.null" ;;
    imagemagick) echo "identify -format %k $2" ;;
    esac
}
for file in bc7 dxt1 bgra8; do
    echo "$file.dds, 4096 by 4096"
    run=()
    for reader in plug-in python3-pil openimageio imagemagick; do
        line=$(command_of $reader "$files/$file.dds")
        [ $reader = imagemagick ] && line="convert $files/$file.dds null:"
        [ $reader = openimageio ] && line="oiiotool $files/$file.dds --stats"
        if bash -c "$line" >/dev/null 2>&1; then
            run+=(--command-name "$reader" "$line")
        else
            echo "  $reader: refused or not installed"
        fi
    done
    hyperfine --warmup 2 --runs 15 --style none --export-csv "$build/compare-$file.csv" "${run[@]}" >/dev/null 2>&1
    awk -F, 'NR == 2 {ours = $4} NR > 1 {printf "  %-12s median %6.1f ms, %5.1f times ours\n", $1, $4 * 1000, $4 / ours}' \
        "$build/compare-$file.csv"
done
