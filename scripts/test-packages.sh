#!/bin/bash
# Makes the Debian packages, lets lintian judge them, unpacks them into a scratch root and works with what is there
# alone. The packages go to the folder `packages` of the argument, else of build; what is built for them, to install
# below /usr, to `packages-build` there.
set -euo pipefail
cd "$(dirname "$0")/.."
base=$(realpath -m "${1:-build}")
packages=$base/packages
build=$base/packages-build
log=$base/packages.log
export LC_ALL=C.UTF-8

scripts/install-packages.sh packages
mkdir -p "$base"
echo "Building packages (log: $log)"

# Takes over what is built in the base folder already: ninja compiles again only where the command differs, in the files
# that know where things are. From nothing it is 300 s of processor time.
take_over() {
    rm -rf "$build"
    mkdir -p "$build"
    [ -f "$base/.ninja_log" ] || return 0
    cp -a "$base"/{.ninja_log,.ninja_deps,blocks,dds,reader,writer,explain,plugin,host,tools,examples} "$build"
}

make_packages() {
    take_over &&
        cmake --preset release -B "$build" -DCMAKE_INSTALL_PREFIX=/usr -DKPX_TESTS=OFF -DKPX_BENCHMARKS=OFF &&
        cmake --build "$build" -j2 --target kpximage KPXDDS kpx_catalogues kpx_documents kpx_changelog kpx_python kpxexamples &&
        rm -f "$packages"/*.deb &&
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
found=$(grep -rlF "$base" "$root/usr" || true)
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

# The module, in the scratch root's folder of Debian's packages.
installed PYTHONPATH="$root/usr/lib/python3/dist-packages" /usr/bin/python3 -Bc 'import kpximage
picture = kpximage.read("examples/dxt5.dds")
kpximage.write("copy.dds", picture)
print(kpximage.__file__, kpximage.plugin_path(), *picture.shape, (kpximage.read("copy.dds") == picture).all())' >module
[ "$(cat module)" = "$root/usr/lib/python3/dist-packages/kpximage/__init__.py $plugin 64 80 4 True" ] ||
    fail "the Python module is not at work: $(cat module)"

versions=$(/usr/bin/python3 -c 'from sys import version_info as v; print(f"python3 (>= 3.{v[1]}~), python3 (<< 3.{v[1] + 1})")')
dpkg-deb -f "$packages"/python3-kpximage_*.deb Depends | grep -qF "$versions, python3-numpy" ||
    fail "the Python package does not ask for $versions"

# The German catalogue through NLSPATH.
installed NLSPATH="$root/usr/share/locale/de/LC_MESSAGES/%N" kpximage formats >german
grep -q 'Kompression' german || fail "the German catalogue is not found"

installed MANWIDTH=80 man --warnings -l usr/share/man/man1/kpximage.1.gz >manual 2>warnings
[ ! -s warnings ] || fail "the manual page: $(cat warnings)"
grep -q 'Exit status' manual || fail "the manual page is not shown"

# A program finds the library and the folder of plug-ins.
pc() { PKG_CONFIG_LIBDIR=$(dirname "$root"/usr/lib/*/pkgconfig/kpxbase.pc) pkg-config "$@" kpxbase; }
[ "$(realpath "$(pc --variable=plugindir)")/KPXDDS.so" = "$plugin" ] ||
    fail "kpxbase.pc names another folder of plug-ins"
echo 'int main(void) { return kpx__err; }' |
    c++ -x c++ -include kpxbase.h - -o program $(pc --cflags --libs)
LD_LIBRARY_PATH=$(echo "$root"/usr/lib/*-linux-gnu) ./program || fail "a program with the library does not run"

echo "Packages are good:"
ls -1 "$packages"/*.deb
