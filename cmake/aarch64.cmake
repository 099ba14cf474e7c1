# Cross-compiles for Linux on aarch64 with Debian's compiler; what is built runs under qemu.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
# The processor's own pointer signatures would take half of the time.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -cpu max,pauth-impdef=on)
# Of the machine's libraries those of the other architecture.
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig)
# cpack would ask the building machine for its own.
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64)
