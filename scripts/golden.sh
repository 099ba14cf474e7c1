#!/bin/bash
# Writes tests/manifest.tsv and docs/formats.md anew. The build folder is the argument, else build.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
cmake --build "$build" --target kpxmanifest >/dev/null
"$build/kpxmanifest" tests/manifest.tsv
cmake --build "$build" --target formatsDocTest >/dev/null
KPX_REWRITE=1 "$build/formatsDocTest" --gtest_brief=1
