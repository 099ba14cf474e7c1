# Cross-compiles for Linux on aarch64 with Debian's compiler, and runs programs under qemu.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
# Emulating the architecture's own pointer signatures would take half of the time.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -cpu max,pauth-impdef=on)
# pkg-config finds the libraries for aarch64.
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig)
# The default of cpack is the architecture of the building machine.
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64)
