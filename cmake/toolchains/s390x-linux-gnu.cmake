# Cross-builds for s390x, where the highest byte of a number stands first, with Debian's g++-s390x-linux-gnu, against Debian's
# s390x packages beside those of the machine. Tests run under qemu-user; CTest cannot list them without it.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR s390x)
set(CMAKE_C_COMPILER s390x-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER s390x-linux-gnu-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-s390x)
