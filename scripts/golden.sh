#!/bin/bash
# Writes tests/manifest.tsv, tests/explain/explained.txt and docs/formats.md anew. The build folder is the argument, else
# build.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
cmake --build "$build" --target manifestTest explainTest formatsDocTest >/dev/null
for test in manifestTest explainTest formatsDocTest; do
    KPX_REWRITE=1 "$build/$test" --gtest_brief=1
done
