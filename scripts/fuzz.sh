#!/bin/bash
# Runs every fuzz target under libFuzzer with ASan and UBSan, each for so many seconds (60): fuzz.sh [SECONDS]. The
# corpus is kept in build/corpus; an input that breaks a claim is left in build/fuzz-findings.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
build=build/libfuzzer
scripts/install-packages.sh ci
cmake -G Ninja -S . -B $build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
    -DKPX_LIBFUZZER=ON -DKPX_BENCHMARKS=OFF -DKPX_SANITIZE=address,undefined \
    -DCMAKE_CXX_FLAGS=-fsanitize=fuzzer-no-link >/dev/null
cmake --build $build -j2 --target fileTarget fileTargetLibfuzzer blockTargetLibfuzzer writeTargetLibfuzzer >/dev/null
mkdir -p build/fuzz-findings
$build/fileTarget --seeds build/corpus/fileTarget
export ASAN_OPTIONS=allocator_may_return_null=1
for target in fileTarget blockTarget writeTarget; do
    mkdir -p build/corpus/$target
    limit=4096
    [ $target = blockTarget ] && limit=16
    echo "$target for $seconds s"
    $build/${target}Libfuzzer -max_total_time="$seconds" -max_len=$limit -timeout=10 -rss_limit_mb=8192 \
        -malloc_limit_mb=8192 -artifact_prefix=build/fuzz-findings/ -print_final_stats=1 -verbosity=0 build/corpus/$target 2>&1 |
        grep -E 'stat::(number_of_executed_units|average_exec_per_sec)|ERROR|claim|SUMMARY' || true
    [ "${PIPESTATUS[0]}" -eq 0 ]
done
