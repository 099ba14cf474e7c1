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

checkHeader() {
  echo "#include \"$1\"" | compileInput "$CXX" -x c++ -std=c++20 -DKPX_PLUGIN_PATH='""' -DKPX_TOOL_PATH='""' ||
    { echo "$1 does not compile by itself" >&2; return 1; }
}
export -f compileInput checkHeader

# The wide kernels are parts of the sources that define their operations.
git ls-files '*.h' | { grep -v '^blocks/wide/' && echo blocks/wide/bc6hTables.h && echo blocks/wide/bc7Tables.h; } | sort |
  xargs -P 2 -I '{}' bash -c "checkHeader '{}'"
echo '#include "host/kpxbase.h"' | compileInput "$CC" -x c -std=c11
