#!/bin/bash
# release.sh [--archive] [FOLDER]: makes a release of the current commit, the source archive and the Debian packages, in
# FOLDER (default: build/release). The archive is unpacked, built and tested in an empty folder, and the packages are made
# there. With --archive, only the archive is made, unpacked and configured. The version is that of CMakeLists.txt.
set -euo pipefail
cd "$(dirname "$0")/.."
fail() { echo "$*" >&2; exit 1; }

onlyArchive=
if [ "${1:-}" = --archive ]; then
    onlyArchive=yes
    shift
fi
# The default folder is replaced; any other must be empty.
[ $# -gt 0 ] || rm -rf build/release
folder=$(realpath -m "${1:-build/release}")
[ -z "$(ls -A "$folder" 2>/dev/null)" ] || fail "$folder is not empty"
version=$(sed -n 's/^project(KPXDDS VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt)
name=kpxdds-$version

grep -qE "^## $version, [0-9]{4}-[0-9]{2}-[0-9]{2}$" CHANGELOG.md || fail "CHANGELOG.md has no line \"## $version, YYYY-MM-DD\""
[ "$(grep -m 1 '^## ' CHANGELOG.md | tr -d '#,' | awk '{ print $1 }')" = "$version" ] || fail "CHANGELOG.md starts with another version"
[ -z "$(git status --porcelain)" ] || fail "There are changes that are not committed"

# A commit always makes the same bytes: git uses its time, gzip stores none.
archive() { git archive --format=tar --prefix="$name/" HEAD | gzip -9n; }

scripts/install-packages.sh packages
mkdir -p "$folder"
archive >"$folder/$name.tar.gz"
archive | cmp - "$folder/$name.tar.gz" || fail "The archive is not the same twice"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
tar -xzf "$folder/$name.tar.gz" -C "$work"
cd "$work/$name"
if [ -n "$onlyArchive" ]; then
    cmake --preset release >"$work/log" 2>&1 || { cat "$work/log"; fail "What the archive holds cannot be configured"; }
else
    scripts/test.sh
    scripts/test-packages.sh build
    cp build/packages/*.deb "$folder"
fi
cd "$folder"
sha256sum -- * >SHA256SUMS
echo "Release $version in $folder:"
cat SHA256SUMS
