#!/bin/bash
# compare.sh [--install] [BUILD_DIR]: times whole processes that read files, the plug-in and other installed DDS readers,
# alternately in one run. Then measures the plug-in with files that are not cached, its peak memory, conversions by the
# tools, and `kpximage info --open` of a tiny file. BUILD_DIR is one of the preset bench. --install installs the other
# readers and hyperfine from Debian.
set -euo pipefail
cd "$(dirname "$0")/.."
if [ "${1:-}" = --install ]; then
    shift
    scripts/install-packages.sh compare
fi
build=${1:-build/bench}
cmake --build "$build" --target readAll makeFiles KPXDDS kpximage >/dev/null
files=$build/bench-files
[ -f "$files/half.dds" ] || "$build/makeFiles" "$files"

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

conversion_of() { # conversion_of TOOL FILE OUTPUT: the command that converts a file
    case $1 in
    kpximage) echo "$build/kpximage convert $2 $3" ;;
    openimageio) echo "oiiotool $2 -o $3" ;;
    imagemagick) echo "convert $2 $3" ;;
    esac
}

compare() { # compare NAME RUNS NAMER PROGRAM...: the medians of the lines that the namer prints for the programs
    local csv=$build/compare-$1.csv runs=$2 namer=$3 run=() program line
    for program in "${@:4}"; do
        line=$($namer "$program")
        if bash -c "$line" >/dev/null 2>&1; then
            run+=(--command-name "$program" "$line")
        else
            echo "  $program: refused or not installed"
        fi
    done
    hyperfine --warmup 1 --runs "$runs" --style none --export-csv "$csv" "${run[@]}" >/dev/null 2>&1
    awk -F, 'NR == 2 {ours = $4} NR > 1 {printf "  %-12s median %6.1f ms, %5.1f times ours\n", $1, $4 * 1000, $4 / ours}' "$csv"
}

for file in bc7 dxt1 bgra8; do
    echo "$file.dds, 4096 by 4096"
    reading() { command_of "$1" "$files/$file.dds"; }
    compare $file 15 reading plug-in python3-pil openimageio imagemagick
    line=$(command_of plug-in "$files/$file.dds")
    echo "  plug-in, file not cached: $(median_ms cold --runs 9 --prepare \
        "dd if=$files/$file.dds iflag=nocache count=0 status=none" "$line"); $($line)"
done
for conversion in bc7.png dxt1.png half.exr; do
    echo "${conversion%.*}.dds to ${conversion#*.}"
    converting() { conversion_of "$1" "$files/${conversion%.*}.dds" "$build/compare.${conversion#*.}"; }
    compare "$conversion" 3 converting kpximage openimageio imagemagick
done
echo "kpximage info --open of a file of $(stat -c %s "$files/tiny.dds") bytes: $(median_ms tiny --shell none --warmup 5 --runs 50 \
    "$build/kpximage info --open $files/tiny.dds")"
