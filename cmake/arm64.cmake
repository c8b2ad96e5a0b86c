# Linux on 64-bit ARM by Debian's cross compiler; what it builds runs here under QEMU.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

set(CMAKE_FIND_ROOT_PATH /usr/aarch64-linux-gnu)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

find_program(TARNIX_QEMU NAMES qemu-aarch64-static qemu-aarch64)
mark_as_advanced(TARNIX_QEMU)
if(TARNIX_QEMU)
  set(CMAKE_CROSSCOMPILING_EMULATOR "${TARNIX_QEMU};-L;/usr/aarch64-linux-gnu")
endif()
