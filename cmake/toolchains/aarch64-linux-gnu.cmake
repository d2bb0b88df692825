# Cross-builds for arm64 with Debian's g++-aarch64-linux-gnu, against Debian's arm64 packages beside those of the machine. Tests
# run under qemu-user; CTest cannot list them without it.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64)
