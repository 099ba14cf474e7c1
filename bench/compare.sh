#!/bin/bash
# Whole files from disk to rows, the whole process: the plug-in against the other DDS readers that are installed, in turn
# in one run; then the plug-in's reading with no page of the file cached, its peak memory, and `kpximage info --open` of
# a tiny file. compare.sh [--install] [BUILD_DIR]; --install gets the other readers and hyperfine from Debian.
set -euo pipefail
cd "$(dirname "$0")/.."
if [ "${1:-}" = --install ]; then
    shift
    apt-get -qq update && DEBIAN_FRONTEND=noninteractive apt-get -qq -y install hyperfine python3-pil openimageio-tools imagemagick >/dev/null
fi
build=${1:-build}
cmake --build "$build" --target readAll makeFiles KPXDDS kpximage >/dev/null
files=$build/bench-files
[ -f "$files/tiny.dds" ] || "$build/makeFiles" "$files"

command_of() { # command_of READER FILE: the command that reads all pixels of a file
    case $1 in
    plug-in) echo "$build/readAll $build/KPXDDS.so $2" ;;
    python3-pil) echo "/usr/bin/python3 -c 'import sys; from PIL import Image; Image.MAX_IMAGE_PIXELS = None; Image.open(\"$2\").load()'" ;;
    openimageio) echo "oiiotool $2 --stats" ;;
    imagemagick) echo "convert $2 null:" ;;
    esac
}

median_ms() { # median_ms NAME HYPERFINE_ARGUMENT...: the median of a command's times
    local csv=$build/compare-$1.csv
    hyperfine --style none --export-csv "$csv" "${@:2}" >/dev/null 2>&1
    awk -F, 'NR == 2 {printf "%.1f ms", $4 * 1000}' "$csv"
}

for file in bc7 dxt1 bgra8; do
    echo "$file.dds, 4096 by 4096"
    run=()
    for reader in plug-in python3-pil openimageio imagemagick; do
        line=$(command_of $reader "$files/$file.dds")
        if bash -c "$line" >/dev/null 2>&1; then
            run+=(--command-name "$reader" "$line")
        else
            echo "  $reader: refused or not installed"
        fi
    done
    hyperfine --warmup 2 --runs 15 --style none --export-csv "$build/compare-$file.csv" "${run[@]}" >/dev/null 2>&1
    awk -F, 'NR == 2 {ours = $4} NR > 1 {printf "  %-12s median %6.1f ms, %5.1f times ours\n", $1, $4 * 1000, $4 / ours}' \
        "$build/compare-$file.csv"
    line=$(command_of plug-in "$files/$file.dds")
    echo "  plug-in, file not cached: $(median_ms cold --runs 9 --prepare \
        "dd if=$files/$file.dds iflag=nocache count=0 status=none" "$line"); $($line)"
done
echo "kpximage info --open of a file of $(stat -c %s "$files/tiny.dds") bytes: $(median_ms tiny --shell none --warmup 5 --runs 50 \
    "$build/kpximage info --open $files/tiny.dds")"
