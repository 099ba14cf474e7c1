#!/bin/bash
# Counts lines of code (neither blank nor comment) and the share of tests. Fails if tests and fuzz targets exceed 30 % of
# all code, or tests 45 % of the product.
set -euo pipefail
cd "$(dirname "$0")/.."

# count FOLDER...: counts the code lines of tracked sources. Block comments must be on lines of their own.
count() {
    git ls-files -z -- "$@" | grep -zE '\.(cpp|h|c|py|sh|js|css|html)$' | xargs -0 -r awk '
        FNR == 1 { inBlock = 0 }
        inBlock { if (/\*\/|-->/) inBlock = 0; next }
        /^[[:space:]]*(\/\*|<!--)/ { if (!/\*\/|-->/) inBlock = 1; next }
        /^[[:space:]]*$/ { next }
        FILENAME ~ /\.(cpp|h|c|js)$/ && /^[[:space:]]*\/\// { next }
        FILENAME ~ /\.(py|sh)$/ && /^[[:space:]]*#/ { next }
        { lines++ }
        END { print lines + 0 }'
}

all=$(count .)
product=$(count plugin dds reader blocks writer host explain tools python)
tests=$(count tests)
both=$(count tests fuzz)
printf '%s lines of code, %s of them product\n' "$all" "$product"
printf 'tests and fuzz targets: %s, %s.%s %% of all\n' "$both" $((both * 100 / all)) $((both * 1000 / all % 10))
printf 'tests: %s, %s.%s %% of the product\n' "$tests" $((tests * 100 / product)) $((tests * 1000 / product % 10))
[ $((both * 100)) -le $((all * 30)) ] && [ $((tests * 100)) -le $((product * 45)) ]
