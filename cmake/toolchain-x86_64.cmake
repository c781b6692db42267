# Builds for the machine itself, with the same compiler and linker as the 32-bit build.
include(${CMAKE_CURRENT_LIST_DIR}/compilers.cmake)
foreach(kind EXE SHARED MODULE)
    set(CMAKE_${kind}_LINKER_FLAGS_INIT "-fuse-ld=lld -Wl,--disable-new-dtags")
endforeach()
