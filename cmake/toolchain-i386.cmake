# Builds for 32-bit x86 Linux against the sysroot that tools/setup makes; the programs start like any other on the
# machine.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i386)

set(CMAKE_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../build/sysroot-i386)
get_filename_component(CMAKE_SYSROOT ${CMAKE_SYSROOT} ABSOLUTE)
set(ZEVA_GCONV_PATH ${CMAKE_SYSROOT}/usr/lib/i386-linux-gnu/gconv)

# SSE2 arithmetic, as on every 32-bit Mac: a double is rounded to 64 bits at each step, never kept in 80.
set(flags "--gcc-toolchain=${CMAKE_SYSROOT}/usr -msse2 -mfpmath=sse")
set(link_flags "-fuse-ld=lld -Wl,--disable-new-dtags")
foreach(directory usr/lib/i386-linux-gnu usr/lib lib/i386-linux-gnu)
    string(APPEND link_flags " -Wl,-rpath,${CMAKE_SYSROOT}/${directory}")
endforeach()

include(${CMAKE_CURRENT_LIST_DIR}/compilers.cmake)
foreach(language C CXX OBJC OBJCXX)
    set(CMAKE_${language}_COMPILER_TARGET i386-linux-gnu)
    set(CMAKE_${language}_FLAGS_INIT "${flags}")
endforeach()
set(CMAKE_EXE_LINKER_FLAGS_INIT "${link_flags} -Wl,--dynamic-linker,${CMAKE_SYSROOT}/lib/i386-linux-gnu/ld-linux.so.2")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${link_flags}")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "${link_flags}")

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_LIBRARY_ARCHITECTURE i386-linux-gnu)
