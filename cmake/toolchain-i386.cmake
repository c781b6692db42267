# Builds for 32-bit x86 Linux against the sysroot that tools/setup fills. The programs start like any other program of
# the machine; cmake/Install.cmake makes them independent of the sysroot.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i386)

set(CMAKE_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../build/sysroot-i386)
get_filename_component(CMAKE_SYSROOT ${CMAKE_SYSROOT} ABSOLUTE)

# SSE2 arithmetic, as on every 32-bit Mac: a double is rounded to 64 bits at each step, never kept in 80.
set(flags "--gcc-toolchain=${CMAKE_SYSROOT}/usr -msse2 -mfpmath=sse")
# Without a build identifier: it would be computed from the sysroot's path, which installed files lose.
set(link_flags "-fuse-ld=lld -Wl,--disable-new-dtags -Wl,--build-id=none")

# The same folder, by a name of 255 characters wherever it is: files contain it until they are installed, and the places
# of what follows it must not depend on its length.
string(LENGTH ${CMAKE_SYSROOT} length)
math(EXPR missing "255 - ${length}")
if(missing GREATER 0)
    string(REPEAT / ${missing} slashes)
endif()
set(sysroot_of_one_length ${CMAKE_SYSROOT}${slashes})

include(${CMAKE_CURRENT_LIST_DIR}/compilers.cmake)
foreach(language C CXX OBJC OBJCXX)
    set(CMAKE_${language}_COMPILER_TARGET i386-linux-gnu)
    set(CMAKE_${language}_FLAGS_INIT "${flags}")
endforeach()
set(loader ${sysroot_of_one_length}/lib/i386-linux-gnu/ld-linux.so.2)
set(CMAKE_EXE_LINKER_FLAGS_INIT "${link_flags} -Wl,--dynamic-linker,${loader}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${link_flags}")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "${link_flags}")
set(CMAKE_BUILD_RPATH "")
foreach(directory usr/lib/i386-linux-gnu usr/lib lib/i386-linux-gnu)
    list(APPEND CMAKE_BUILD_RPATH ${sysroot_of_one_length}/${directory})
endforeach()

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_LIBRARY_ARCHITECTURE i386-linux-gnu)
