#!/bin/bash
# test-packages.sh [BUILD_DIR]: builds the Debian packages, checks them with lintian, unpacks them into a scratch root and
# tests what is installed there. The packages are in `packages`, and their build in `packages-build`, in the build folder
# (default: build).
set -euo pipefail
cd "$(dirname "$0")/.."
base=$(realpath -m "${1:-build}")
packages=$base/packages
build=$base/packages-build
log=$base/packages.log
export LC_ALL=C.UTF-8
umask 022
# The packages always have the same bytes: their times are those of the release.
version=$(sed -n 's/^project(KPXDDS VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt)
export SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(date -u -d "$(sed -n "s/^## $version, //p" CHANGELOG.md)" +%s)}

scripts/install-packages.sh packages
mkdir -p "$base"
echo "Building packages (log: $log)"

# Starts with a copy of the objects in the build folder, which saves 300 s of CPU time: ninja only recompiles files whose
# commands differ, those that depend on installed paths.
take_over() {
    rm -rf "$build"
    mkdir -p "$build"
    [ -f "$base/.ninja_log" ] || return 0
    cp -a "$base"/{.ninja_log,.ninja_deps,blocks,dds,reader,writer,explain,plugin,host,tools,examples} "$build"
}

make_packages() {
    take_over &&
        cmake --preset release -B "$build" -DCMAKE_INSTALL_PREFIX=/usr -DKPX_TESTS=OFF &&
        cmake --build "$build" -j2 --target kpximage KPXDDS kpx_catalogues kpx_documents kpx_python kpxexamples &&
        rm -f "$packages"/*.deb &&
        cpack --config "$build/CPackConfig.cmake" -B "$packages"
}
make_packages >"$log" 2>&1 || { tail -n 40 "$log" >&2; exit 1; }
lintian --display-info --fail-on error,warning,info "$packages"/*.deb

fail() { echo "$*" >&2; exit 1; }
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
for package in "$packages"/*.deb; do dpkg-deb -x "$package" "$root"; done
"$build/kpxexamples" "$root/examples" >/dev/null

scripts/check-hardening.sh "$root"/usr/bin/kpximage "$root"/usr/lib/*/libKPXbase.so.0 "$root"/usr/lib/*/KPXbase/plugins/KPXDDS.so \
    "$root"/usr/lib/python3/dist-packages/kpximage/_kpximage.*.so

# Files that only Debian packages have are in each of them, and in no installation by cmake.
for file in copyright changelog.Debian.gz changelog.gz; do
    [ "$(ls "$root"/usr/share/doc/*/$file | wc -l)" -eq "$(ls "$packages"/*.deb | wc -l)" ] || fail "a package has no $file"
done
for component in host tool; do
    DESTDIR=$root/plain cmake --install "$build" --component $component >/dev/null
done
found=$(find "$root/plain" -name 'changelog*' -o -name copyright -o -name lintian)
[ -z "$found" ] || fail "cmake --install installs Debian's own files: $found"
rm -r "$root/plain"

# No installed file contains the path of the build folder.
found=$(grep -rlF "$base" "$root/usr" || true)
[ -z "$found" ] || fail "the build folder is named in $found"

# Runs a command with the installed tree and the system in its paths.
installed() { env -i PATH="$root/usr/bin:/usr/bin:/bin" LC_ALL=C.UTF-8 "$@"; }
cd "$root"

installed ldd "$root/usr/bin/kpximage" >libraries
grep 'libKPXbase' libraries | grep -qF "$root/" || fail "the tool does not find the installed library"
installed kpximage formats >formats
plugin=$(sed -n 's/^plug-in: //p' formats)
[[ $plugin == "$root"/usr/lib/*/KPXbase/plugins/KPXDDS.so ]] || fail "another plug-in is loaded: $plugin"
grep -qx 'found by: the installed place' formats || fail "the plug-in is not found by its installed place"

installed kpximage convert examples/dxt5.dds -o picture.png
installed file picture.png | grep -q 'PNG image data, 80 x 64' || fail "the picture is no PNG of 80 x 64"

# The command line of the thumbnailer.
line=$(sed -n 's/^Exec=//p' usr/share/thumbnailers/kpximage.thumbnailer)
line=${line/\%s/32} line=${line/\%i/examples/dxt5.dds} line=${line/\%o/thumbnail.png}
installed sh -c "$line"
installed file thumbnail.png | grep -q 'PNG image data, 32 x 26' || fail "the thumbnail is no PNG of 32 x 26"

# The Python module, in the dist-packages folder of the scratch root.
installed PYTHONPATH="$root/usr/lib/python3/dist-packages" /usr/bin/python3 -Bc 'import kpximage
picture = kpximage.read("examples/dxt5.dds")
kpximage.write("copy.dds", picture)
print(kpximage.__file__, kpximage.plugin_path(), *picture.shape, (kpximage.read("copy.dds") == picture).all())' >module
[ "$(cat module)" = "$root/usr/lib/python3/dist-packages/kpximage/__init__.py $plugin 64 80 4 True" ] ||
    fail "the Python module is not at work: $(cat module)"

versions=$(/usr/bin/python3 -c 'from sys import version_info as v; print(f"python3 (>= 3.{v[1]}~), python3 (<< 3.{v[1] + 1})")')
dpkg-deb -f "$packages"/python3-kpximage_*.deb Depends | grep -qF "$versions, python3-numpy" ||
    fail "the Python package does not ask for $versions"
installed PYTHONPATH="$root/usr/lib/python3/dist-packages" /usr/bin/python3 -Bc \
    "import importlib.metadata as m, sys; sys.exit(m.version('kpximage') != '$version')" ||
    fail "the metadata of the Python package are not found"
for script in postinst:py3compile prerm:py3clean; do
    dpkg-deb -I "$packages"/python3-kpximage_*.deb ${script%:*} | grep -qF "${script#*:} -p python3-kpximage" ||
        fail "the Python package has no ${script#*:}"
done

# The German catalogue through NLSPATH.
installed NLSPATH="$root/usr/share/locale/de/LC_MESSAGES/%N" kpximage formats >german
grep -q 'Kompression' german || fail "the German catalogue is not found"

installed MANWIDTH=80 man --warnings -l usr/share/man/man1/kpximage.1.gz >manual 2>warnings
[ ! -s warnings ] || fail "the manual page: $(cat warnings)"
grep -q 'Exit status' manual || fail "the manual page is not shown"

# A program finds the library and the plug-in folder by pkg-config.
pc() { PKG_CONFIG_LIBDIR=$(dirname "$root"/usr/lib/*/pkgconfig/kpxbase.pc) pkg-config "$@" kpxbase; }
[ "$(realpath "$(pc --variable=plugindir)")/KPXDDS.so" = "$plugin" ] ||
    fail "kpxbase.pc names another folder of plug-ins"
echo 'int main(void) { return kpx__err; }' |
    c++ -x c++ -include kpxbase.h - -o program $(pc --cflags --libs)
library=$(echo "$root"/usr/lib/*-linux-gnu)
LD_LIBRARY_PATH=$library ./program || fail "a program with the library does not run"
# So does a program that only loads a plug-in and calls no service.
echo '#include <dlfcn.h>
int main(int n, char** words) { return n == 2 && dlopen(words[1], RTLD_NOW) ? 0 : 1; }' |
    cc -x c - -o host $(pc --cflags --libs)
LD_LIBRARY_PATH=$library ./host "$plugin" || fail "a program that calls no service does not load the plug-in"
# The example in C is built as its comment says, with the installed header.
cc -rdynamic usr/share/doc/libkpxbase-dev/examples/host.c -o host $(pc --cflags)
./host "$plugin" examples/dxt5.dds | grep -q '^80 x 64, 4 channels of 8 bits$' || fail "the example of a host does not read"
grep -q '^libKPXbase 0 libkpxbase0 (>= ' <(dpkg-deb -I "$packages"/libkpxbase0_*.deb shlibs) ||
    fail "programs with the library would ask for one version only"

echo "Packages are good:"
ls -1 "$packages"/*.deb
