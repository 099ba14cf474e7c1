#!/bin/bash
# Writes anew what tests agree on: tests/manifest.tsv, tests/explain/explained.txt, tests/tools/shell.txt and
# docs/formats.md. The build folder is the argument, else build.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
tests='manifestTest explainTest formatsDocTest shellTest'
cmake --build "$build" --target KPXDDS kpximage $tests >/dev/null
for test in $tests; do
    KPX_REWRITE=1 "$build/$test" --gtest_brief=1
done
