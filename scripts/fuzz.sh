#!/bin/bash
# fuzz.sh [SECONDS]: runs the fuzz targets in parallel under libFuzzer with ASan and UBSan, by default for 60 seconds.
# The corpus is in build/corpus, inputs that break a claim in build/fuzz-findings.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
build=build/sanitizers
scripts/install-packages.sh ci
cmake --preset sanitizers >/dev/null
cmake --build $build -j2 --target fileTarget fileTargetLibfuzzer blockTargetLibfuzzer writeTargetLibfuzzer >/dev/null
mkdir -p build/fuzz-findings
$build/fileTarget --seeds build/corpus/fileTarget
export ASAN_OPTIONS=allocator_may_return_null=1

# fuzz TARGET: runs a target and prints its result at once.
fuzz() {
    local target=$1 limit=4096 log=build/fuzz-$1.log status=0
    mkdir -p "build/corpus/$target"
    [ "$target" = blockTarget ] && limit=16
    "$build/${target}Libfuzzer" -max_total_time="$seconds" -max_len=$limit -timeout=10 -rss_limit_mb=8192 \
        -malloc_limit_mb=8192 -artifact_prefix=build/fuzz-findings/ -print_final_stats=1 -verbosity=0 \
        "build/corpus/$target" >"$log" 2>&1 || status=$?
    echo "$target for $seconds s
$(grep -E 'stat::(number_of_executed_units|average_exec_per_sec)|ERROR|claim|SUMMARY' "$log")"
    return $status
}

running=()
for target in fileTarget blockTarget writeTarget; do
    fuzz $target &
    running+=($!)
done
for process in "${running[@]}"; do wait "$process"; done
