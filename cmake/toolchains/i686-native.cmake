# 32-bit x86, its programs run by this x86-64 kernel: qemu-user does not run AddressSanitizer.
include(${CMAKE_CURRENT_LIST_DIR}/i686.cmake)
unset(CMAKE_CROSSCOMPILING_EMULATOR)

set(libraries /usr/i686-linux-gnu/lib)
set(CMAKE_EXE_LINKER_FLAGS_INIT
  "-Wl,--dynamic-linker=${libraries}/ld-linux.so.2 -Wl,-rpath,${libraries}")
