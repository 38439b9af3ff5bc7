# Cross-compiles for 64-bit ARM with Debian's g++-aarch64-linux-gnu, and runs what comes out under
# qemu-user. NUV_ARM64_ROOT holds what else is needed for that processor: Debian's packages, unpacked.
# packaging/check_arm64.sh makes one.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES NUV_ARM64_ROOT)
set(NUV_ARM64_ROOT "" CACHE PATH "Unpacked packages for 64-bit ARM")
set(CMAKE_FIND_ROOT_PATH ${NUV_ARM64_ROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(libraries ${NUV_ARM64_ROOT}/usr/lib/aarch64-linux-gnu)
# Where some packages keep what differs from one processor to the next.
set(CMAKE_CXX_FLAGS_INIT "-isystem ${NUV_ARM64_ROOT}/usr/include/aarch64-linux-gnu")
foreach(kind EXE SHARED)
    set(CMAKE_${kind}_LINKER_FLAGS_INIT "-Wl,-rpath-link,${libraries}")
endforeach()
set(CMAKE_CROSSCOMPILING_EMULATOR
    qemu-aarch64 -L /usr/aarch64-linux-gnu -E LD_LIBRARY_PATH=${libraries})
