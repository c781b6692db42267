# The compiler of every preset: clang, by its full path, because CMake does not search for Objective-C++ compilers.
find_program(CLANG clang REQUIRED)
find_program(CLANGXX clang++ REQUIRED)
set(CMAKE_C_COMPILER ${CLANG})
set(CMAKE_OBJC_COMPILER ${CLANG})
set(CMAKE_CXX_COMPILER ${CLANGXX})
set(CMAKE_OBJCXX_COMPILER ${CLANGXX})
