#!/bin/sh
# Builds everything and runs the tests.
set -eu
cd "$(dirname "$0")/.."
scripts/install-packages.sh test
cmake --preset release -DKPX_TESTS=ON -DKPX_PYTHON=ON
cmake --build build -j2
ctest --test-dir build --output-on-failure -j2
