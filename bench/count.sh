#!/bin/bash
# Instructions of each kernel, a block or 64 pixels, under emulation of both processor families: what 8192 take more than
# 4096. Needs the presets release and aarch64 built.
set -euo pipefail
cd "$(dirname "$0")/.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cc -O2 -shared -fPIC -fvisibility=hidden bench/instructionCounter.c -o "$work/counter.so"
options='-std=c++20 -O2 -I.'
# shellcheck disable=SC2086 # words
c++ $options bench/countedWork.cpp build/blocks/libkpx_blocks.a -o "$work/x86_64"
# shellcheck disable=SC2086
aarch64-linux-gnu-g++ $options bench/countedWork.cpp build/aarch64/blocks/libkpx_blocks.a -o "$work/aarch64"

# total PROCESSOR SET WORK COUNT: instructions of the whole process.
total() {
    "qemu-$1" -plugin "$work/counter.so" "$work/$1" "${@:2}" 2>&1
}

# each PROCESSOR SET WORK: a block or 64 pixels.
each() {
    local units=4096
    case $3 in BC*) ;; *) units=64 ;; esac
    echo $((($(total "$@" 8192) - $(total "$@" 4096) + units / 2) / units))
}

echo '| work | NEON | SSE4.1 | AVX2 | plain, aarch64 | plain, x86-64 |'
echo '|---|---|---|---|---|---|'
"$work/x86_64" | while read -r name; do
    echo "| $name | $(each aarch64 neon "$name") | $(each x86_64 sse41 "$name") | $(each x86_64 avx2 "$name") |" \
        "$(each aarch64 plain "$name") | $(each x86_64 plain "$name") |"
done
