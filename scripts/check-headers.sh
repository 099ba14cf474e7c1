#!/bin/bash
# Compiles every header on its own, so that each includes what it needs. Compiles host/kpxbase.h also for every C and C++
# standard that it supports, in a source that uses the names of a plug-in's variables for its own. The compilers are CXX
# and CC, or c++ and cc.
set -euo pipefail
cd "$(dirname "$0")/.."
export CXX=${CXX:-c++} CC=${CC:-cc}

# compileInput COMPILER OPTION...: compiles standard input with the project's warnings.
compileInput() {
  "$@" -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror -Wno-unused-function -fsyntax-only -I. -
}

# The wide kernels require the operations of a processor before them. Every set has the same, so one is enough.
checkHeader() {
  local before=
  case $1 in
  blocks/wide/*Tables.h | blocks/wide/vectors.h) ;;
  blocks/wide/*Operations.h) ;;
  blocks/wide/*) before="#include \"blocks/wide/$family.h\"" ;;
  esac
  printf '%s\n#include "%s"\n' "$before" "$1" |
    compileInput "$CXX" -x c++ -std=c++20 -DKPX_PLUGIN_PATH='""' -DKPX_TOOL_PATH='""' ||
    { echo "$1 does not compile by itself" >&2; return 1; }
}
case $(uname -m) in
x86_64) family=avx2Operations others='neonOperations' ;;
*) family=neonOperations others='avx2Operations|sse41Operations' ;;
esac
export -f compileInput checkHeader
export family

git ls-files '*.h' | grep -vE "^blocks/wide/($others)\.h" | sort | xargs -P 2 -I '{}' bash -c "checkHeader '{}'"
host='#include "host/kpxbase.h"
extern const char type, version, program;'
for standard in c99 c11 c17; do compileInput "$CC" -x c -std=$standard <<<"$host"; done
for standard in c++98 c++11 c++20; do compileInput "$CXX" -x c++ -std=$standard <<<"$host"; done
