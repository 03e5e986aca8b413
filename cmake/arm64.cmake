# Builds for 64-bit ARM with the distribution's cross compiler (crossbuild-essential-arm64) and its arm64 libraries, which
# lie beside the machine's own. What runs during the build (moc, rcc) is the machine's own; tests run under qemu-user.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
find_program(QUORVEL_EMULATOR NAMES qemu-aarch64-static qemu-aarch64)
if(QUORVEL_EMULATOR)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${QUORVEL_EMULATOR})
endif()
