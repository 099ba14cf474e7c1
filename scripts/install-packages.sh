#!/bin/sh
# install-packages.sh SET: installs the missing Debian packages of a set. The sets are build, test (includes build), bench
# (includes build), compare (bench, and the programs that bench/compare.sh compares with), packages (includes build), ci
# (test, bench, packages and more) and aarch64 (to build for that processor and run its programs here).
# If all are installed, it needs neither a network nor root.
set -eu

build='g++ cmake ninja-build libpng-dev pkg-config libcli11-dev nlohmann-json3-dev libopenexr-dev python3-dev pybind11-dev help2man libglib2.0-dev'
test='libgtest-dev libgmock-dev libssl-dev python3-jsonschema python3-distributed python3-numpy python3-pytest'
bench='libbenchmark-dev'
compare='hyperfine python3-pil openimageio-tools imagemagick'
packages='dpkg-dev fakeroot file gzip lintian man-db python3-numpy'
ci='clang clang-14 clang-tidy-14 clang-format-14 libclang-rt-14-dev gcovr qemu-user chromium chromium-driver python3-selenium fish zsh locales mypy'
aarch64='cmake ninja-build libc-dev-bin g++-aarch64-linux-gnu qemu-user clang-tidy-14 nlohmann-json3-dev libstdc++6:arm64 libgtest-dev:arm64 libgmock-dev:arm64 libssl-dev:arm64'

case "${1:-build}" in
build) wanted=$build ;;
test) wanted="$build $test" ;;
bench) wanted="$build $bench" ;;
compare) wanted="$build $bench $compare" ;;
packages) wanted="$build $packages" ;;
ci) wanted="$build $test $bench $packages $ci" ;;
aarch64) wanted=$aarch64 ;;
*)
    echo "usage: install-packages.sh [build|test|bench|compare|packages|ci|aarch64]" >&2
    exit 2
    ;;
esac

# is_installed PACKAGE[:ARCHITECTURE]: the default is this machine's architecture, or all.
native=$(dpkg --print-architecture)
is_installed() {
    architecture="($native|all)"
    [ "$1" = "${1%:*}" ] || architecture=${1#*:}
    dpkg-query -W -f '${db:Status-Status} ${Architecture}\n' "$1" 2>/dev/null | grep -qE "^installed $architecture\$"
}

missing=
for package in $wanted; do
    is_installed "$package" || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

echo "Installing$missing"
asRoot=
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "Not root, and there is no sudo. As root: apt-get install$missing" >&2
        exit 1
    fi
    asRoot=sudo
fi
case "$missing" in *:arm64*) $asRoot dpkg --add-architecture arm64 ;; esac
# Waits up to ten minutes for another apt, such as the daily upgrade. apt-get itself only waits for the locks of dpkg, not
# for those of its lists and archives.
apt_get() {
    tries=60
    until said=$($asRoot env LC_ALL=C DEBIAN_FRONTEND=noninteractive \
        apt-get -qq -y -o DPkg::Lock::Timeout=600 --no-install-recommends "$@" 2>&1); do
        tries=$((tries - 1))
        case "$said" in *'Could not get lock'*) [ "$tries" -gt 0 ] && sleep 10 && continue ;; esac
        printf '%s\n' "$said" >&2
        return 1
    done
}
apt_get update
# shellcheck disable=SC2086 # a list of words
apt_get install $missing
