#!/bin/bash
# Holds the #include lines against the table of what each folder may include besides itself and the folders below it.
# The table in docs/architecture.md has to say the same. Tests may include everything.
set -euo pipefail
cd "$(dirname "$0")/.."

# folder, then folders or single files
layers='
blocks
dds             blocks
reader          dds blocks
writer          dds blocks
explain         reader dds blocks
plugin          writer reader host/kpxbase.h
host
tools/terminal  explain
tools/files     tools/terminal explain
tools/plugin    tools/terminal host
tools/repair    tools/files tools/terminal explain
tools/json      tools/repair tools/files tools/terminal explain dds
tools/pictures  tools/plugin tools/files tools/terminal explain reader dds host
tools/gallery   tools/pictures tools/json tools/repair tools/files tools/terminal explain reader dds host
tools/commands  tools/gallery tools/pictures tools/json tools/plugin tools/repair tools/files tools/terminal explain reader dds host
tools/documents explain dds
python          tools/pictures tools/json tools/plugin tools/repair tools/files tools/terminal explain host
examples        dds host/kpxbase.h
bench           writer reader dds blocks host examples tests/model tests/support
'

wrong=0
checked=
while read -r folder allowed; do
    [ -n "$folder" ] || continue
    checked+=" $folder"
    cell=nothing
    [ -z "$allowed" ] || cell="\`$allowed\`"
    if ! grep -qF "| $cell |" <(grep -F "| \`$folder\` |" docs/architecture.md); then
        echo "docs/architecture.md: $folder may include $cell" >&2
        wrong=1
    fi
    while IFS=: read -r file line included; do
        for place in "$folder" $allowed; do
            case "$included" in "$place" | "$place"/*) continue 2 ;; esac
        done
        echo "$file:$line: $folder must not include $included" >&2
        wrong=1
    done < <(git grep -noE '^#include "[^"]*/[^"]*"' -- "$folder/*.h" "$folder/*.cpp" "$folder/*.c" | sed 's/#include "\(.*\)"/\1/')
done <<<"$layers"

# No folder of sources is left out.
for folder in $(git ls-files '*.cpp' '*.h' '*.c' | sed 's|/[^/]*$||' | sort -u); do
    case "$folder" in tests | tests/* | fuzz) continue ;; esac
    for place in $checked; do
        case "$folder" in "$place" | "$place"/*) continue 2 ;; esac
    done
    echo "$folder: stands in no row of the table" >&2
    wrong=1
done
exit $wrong
