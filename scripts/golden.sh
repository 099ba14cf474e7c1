#!/bin/bash
# golden.sh [BUILD_DIR]: rewrites the expected results of tests: tests/manifest.tsv, tests/explain/explained.txt and
# sentences.txt, tests/tools/shell.txt and docs/formats.md. A test that fails for another reason does not stop the others.
# The default folder is build.
set -uo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
tests='manifestTest explainTest shellTest'
# shellcheck disable=SC2086 # a list of words
cmake --build "$build" --target KPXDDS kpximage kpxformats $tests >/dev/null || exit 1
status=0
for test in $tests; do
    KPX_REWRITE=1 "$build/$test" --gtest_brief=1 || status=1
done
"$build/kpxformats" >docs/formats.md || status=1
exit $status
