#!/bin/bash
# Makes the Debian packages, lets lintian judge them, unpacks them into a scratch root and works with what is there
# alone. The build folder is the argument, else build; it is set to install below /usr.
set -euo pipefail
cd "$(dirname "$0")/.."
build=$(realpath -m "${1:-build}")
packages=$build/packages
log=$build/packages.log
export LC_ALL=C.UTF-8

scripts/install-packages.sh packages
mkdir -p "$build"
echo "Building packages (log: $log)"
make_packages() {
    cmake --preset release -B "$build" -U KPX_PLUGIN_DIR -DCMAKE_INSTALL_PREFIX=/usr
    cmake --build "$build" -j2 --target kpximage KPXDDS kpx_catalogues kpx_documents kpx_changelog kpxexamples
    rm -f "$packages"/*.deb
    cpack --config "$build/CPackConfig.cmake" -B "$packages"
}
make_packages >"$log" 2>&1 || { tail -n 40 "$log" >&2; exit 1; }
lintian --fail-on error,warning "$packages"/*.deb

root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
for package in "$packages"/*.deb; do dpkg-deb -x "$package" "$root"; done
"$build/kpxexamples" "$root/examples" >/dev/null

fail() { echo "$*" >&2; exit 1; }

# Nothing that is installed knows of the build folder.
found=$(grep -rlF "$build" "$root/usr" || true)
[ -z "$found" ] || fail "the build folder is named in $found"

# Runs a command that sees the installed tree and the system.
installed() { env -i PATH="$root/usr/bin:/usr/bin:/bin" LC_ALL=C.UTF-8 "$@"; }
cd "$root"

installed ldd "$root/usr/bin/kpximage" >libraries
grep 'libKPXbase' libraries | grep -qF "$root/" || fail "the tool does not find the installed library"
installed kpximage formats >formats
plugin=$(sed -n 's/^plug-in: //p' formats)
[[ $plugin == "$root"/usr/lib/*/KPXbase/plugins/KPXDDS.so ]] || fail "another plug-in is loaded: $plugin"
grep -qx 'found by: the installed place' formats || fail "the plug-in is not found by its installed place"

installed kpximage convert examples/dxt5.dds picture.png
installed file picture.png | grep -q 'PNG image data, 80 x 64' || fail "the picture is no PNG of 80 x 64"

# The thumbnailer's own line.
line=$(sed -n 's/^Exec=//p' usr/share/thumbnailers/kpximage.thumbnailer)
line=${line/\%s/32} line=${line/\%i/examples/dxt5.dds} line=${line/\%o/thumbnail.png}
installed sh -c "$line"
installed file thumbnail.png | grep -q 'PNG image data, 32 x 26' || fail "the thumbnail is no PNG of 32 x 26"

# The German catalogue through NLSPATH.
installed NLSPATH="$root/usr/share/locale/de/LC_MESSAGES/%N" kpximage formats >german
grep -q 'Kompression' german || fail "the German catalogue is not found"

installed MANWIDTH=80 man --warnings -l usr/share/man/man1/kpximage.1.gz >manual 2>warnings
[ ! -s warnings ] || fail "the manual page: $(cat warnings)"
grep -q 'EXIT STATUS' manual || fail "the manual page is not shown"

# A program finds the library and the folder of plug-ins.
pc() { PKG_CONFIG_LIBDIR=$(dirname "$root"/usr/lib/*/pkgconfig/kpxbase.pc) pkg-config "$@" kpxbase; }
[ "$root$(pc --variable=plugindir)/KPXDDS.so" = "$plugin" ] || fail "kpxbase.pc names another folder of plug-ins"
echo 'int main(void) { return kpx__err; }' |
    c++ -x c++ -include kpxbase.h - -o program $(pc --define-variable=includedir="$root/usr/include" \
        --define-variable=libdir="$(echo "$root"/usr/lib/*-linux-gnu)" --cflags --libs)
LD_LIBRARY_PATH=$(echo "$root"/usr/lib/*-linux-gnu) ./program || fail "a program with the library does not run"

echo "Packages are good:"
ls -1 "$packages"/*.deb
