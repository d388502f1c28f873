# The boards' architecture, built beside this machine's: Debian's cross compiler
# and arm64 libraries (scripts/setup aarch64), run under qemu's user emulation.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
# pkg-config must answer for the target architecture.
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig)
# The prefix is this machine's root, whose multiarch folders hold the libraries.
# (With another prefix, programs with threads hang.)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L /)
