#!/bin/bash
# Writes tests/manifest.tsv anew. The build folder is the argument, else build.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
cmake --build "$build" --target kpxmanifest >/dev/null
"$build/kpxmanifest" tests/manifest.tsv
