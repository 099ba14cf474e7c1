#!/bin/bash
# Checks that every #include is allowed by the table in docs/architecture.md. A folder may include itself, its subfolders
# and those of its row. Tests may include everything. Also checks that the documents for developers name existing files.
set -euo pipefail
cd "$(dirname "$0")/.."
git rev-parse --git-dir >/dev/null

# One line per row: the folder, then the folders or files that it may include.
layers=$(sed -n '/^| folder | what it is for |/,/^$/s/^| `\([^`]*\)` |.*| `*\([^`|]*[^`| ]\)`* |$/\1 \2/p' docs/architecture.md |
    sed 's/ nothing$//')
[ -n "$layers" ] || { echo "docs/architecture.md: no table of folders" >&2; exit 1; }

wrong=0
while read -r folder allowed; do
    while IFS=: read -r file line included; do
        for place in "$folder" $allowed; do
            case "$included" in "$place" | "$place"/*) continue 2 ;; esac
        done
        echo "$file:$line: $folder must not include $included" >&2
        wrong=1
    done < <(git grep -noE '^#include "[^"]*/[^"]*"' -- "$folder/*.h" "$folder/*.cpp" "$folder/*.c" | sed 's/#include "\(.*\)"/\1/')
done <<<"$layers"

# Every folder of sources has a row, and every row a folder.
folders=$(git ls-files '*.cpp' '*.h' '*.c' | sed 's|/[^/]*$||' | sort -u)
rows=$(cut -d' ' -f1 <<<"$layers")
for folder in $folders; do
    case "$folder" in tests | tests/* | fuzz) continue ;; esac
    for row in $rows; do
        case "$folder" in "$row" | "$row"/*) continue 2 ;; esac
    done
    echo "$folder: stands in no row of the table" >&2
    wrong=1
done
for row in $rows; do
    [ -d "$row" ] || { echo "docs/architecture.md: no folder $row" >&2; wrong=1; }
done

for document in README.md CONTRIBUTING.md docs/architecture.md; do
    for file in $(grep -oE '`[A-Za-z0-9_./-]+/[A-Za-z0-9_-]+\.[a-z0-9]+`' "$document" | tr -d '`' | sort -u); do
        case "$file" in *NAME* | build/*) continue ;; esac
        [ -e "$file" ] || { echo "$document: no file $file" >&2; wrong=1; }
    done
done
exit $wrong
