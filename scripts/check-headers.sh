#!/bin/bash
# Compiles every header by itself, so that each includes what it needs; host/kpxbase.h also as C. The compilers are
# those of CXX and CC, else c++ and cc.
set -euo pipefail
cd "$(dirname "$0")/.."
export CXX=${CXX:-c++} CC=${CC:-cc}

# compileInput COMPILER OPTION...: standard input, with the project's warnings.
compileInput() {
  "$@" -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror -Wno-unused-function -fsyntax-only -I. -
}

# The wide kernels are written over the operations of one of two headers, which comes before them.
operationsBefore() {
  if [ "$1" = blocks/wideKernels.h ] || { grep -qE 'KPX_(TARGET|INLINE)' "$1" && ! grep -q 'define KPX_TARGET' "$1"; }; then
    echo blocks/wideAvx2.h blocks/wideSse41.h
  else
    echo none
  fi
}

checkHeader() {
  local header=$1 operations
  for operations in $(operationsBefore "$header"); do
    {
      [ "$operations" = none ] || echo "#include \"$operations\""
      echo "#include \"$header\""
    } | compileInput "$CXX" -x c++ -std=c++20 -DKPX_PLUGIN_PATH='""' -DKPX_TOOL_PATH='""' ||
      { echo "$header does not compile by itself" >&2; return 1; }
  done
}
export -f compileInput operationsBefore checkHeader

find blocks reader writer plugin host tools examples tests fuzz bench -name '*.h' | sort |
  xargs -P 2 -I '{}' bash -c "checkHeader '{}'"
echo '#include "host/kpxbase.h"' | compileInput "$CC" -x c -std=c11
