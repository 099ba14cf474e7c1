#!/bin/bash
# check-exports.sh [BUILD_DIR]: checks the symbols of the built plug-in. It must export exactly the names of
# plugin/exports.map, and import only the services of host/kpxbase.h and the C and C++ libraries. The default folder is
# build. Exits with 77 if a sanitizer, which adds symbols, is built in.
set -euo pipefail
cd "$(dirname "$0")/.."
plugin=${1:-build}/KPXDDS.so
[ -f "$plugin" ] || { echo "there is no $plugin" >&2; exit 1; }
export LC_ALL=C

undefined=$(nm -D --undefined-only "$plugin")
if grep -qE '__(asan|ubsan|tsan)_' <<<"$undefined"; then
  echo "skipped: built with a sanitizer"
  exit 77
fi

failed=0
# none TITLE LIST: fails if the list is not empty.
none() {
  if [ -n "$2" ]; then
    printf '%s:\n%s\n' "$1" "$2" >&2
    failed=1
  fi
}

stated=$(sed -n '/global:/,/local:/s/^ *\([A-Za-z_][A-Za-z0-9_]*\);$/\1/p' plugin/exports.map | sort)
exported=$(nm -D --defined-only "$plugin" | awk '{ print $NF }' | sed 's/@.*//' | sort)
[ -n "$stated" ] || { echo "plugin/exports.map names nothing" >&2; exit 1; }
none "in plugin/exports.map but not exported" "$(comm -23 <(echo "$stated") <(echo "$exported"))"
none "exported but not in plugin/exports.map" "$(comm -13 <(echo "$stated") <(echo "$exported"))"

# The names that the header declares after the records: the last word before "(", or before ";" for a variable.
services=$(sed -n '/Services of the host/,$p' host/kpxbase.h | grep -E '^(extern|[a-z].*\()' | grep -v '^extern "C"' |
  sed -E 's/\(.*|;.*//; s/.*[ *]//' | sort -u)
needed=$(awk '$1 == "U" { print $2 }' <<<"$undefined" | sort)
others=$(grep -vE '@(GLIBC|GLIBCXX|CXXABI|GCC)_[0-9.]+$' <<<"$needed" | comm -23 - <(echo "$services"))
none "needed, but neither a service of the host nor of the C and C++ libraries" "$others"

libraries=$(readelf -d "$plugin" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
none "libraries that the plug-in must not need" \
  "$(grep -vE '^(libstdc\+\+\.so\.6|libm\.so\.6|libgcc_s\.so\.1|libc\.so\.6|ld-linux.*)$' <<<"$libraries" || true)"

exit "$failed"
