# zeva_options: the compile and link options of every target of this project. They belong to this target, so a project
# that includes this one is not affected.
#
#   ZEVA_TESTS        build the tests and benchmarks; needs GoogleTest and Google Benchmark
#   ZEVA_MACOS_CODE   compile the filter module for macOS, too; needs llvm-link. 32 bits only
#   ZEVA_SANITIZE     the address and undefined-behavior sanitizers, and the leak checker where the width has one
#   ZEVA_ENGINE_ARCHIVE  link this archive of the engine's pixels, of another build folder, instead of compiling them
#   ZEVA_COVERAGE     counters for every branch
#   ZEVA_FUZZ         counters for libFuzzer, and its programs in tests/fuzz; together with the sanitizers. 64 bits only
#
# Warnings are errors in the presets, which set CMAKE_COMPILE_WARNING_AS_ERROR; a compiler that knows more warnings than
# ours does not stop a build without them.
option(ZEVA_TESTS "build the tests and benchmarks" OFF)
option(ZEVA_MACOS_CODE "compile the filter module for macOS" OFF)
option(ZEVA_SANITIZE "build with the address and undefined-behavior sanitizers" OFF)
set(ZEVA_ENGINE_ARCHIVE "" CACHE FILEPATH "an archive of the engine that is already compiled")
option(ZEVA_COVERAGE "build with coverage counters" OFF)
option(ZEVA_FUZZ "build the programs for fuzzing" OFF)

add_library(zeva_options INTERFACE)
target_include_directories(zeva_options INTERFACE ${PROJECT_SOURCE_DIR})
# Assertions and debug information name their file without the folder that it was built in, or that its header was
# unpacked in, and nothing may contain the time: a build in another folder at another time gives the same bytes. DWARF 5
# has a check sum of each source, and joined sources name theirs by the whole path.
target_compile_options(zeva_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wdate-time -fdebug-default-version=4
    -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/= -fdebug-prefix-map=${PROJECT_SOURCE_DIR}/= -fdebug-compilation-dir=.)
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    # 64-bit file offsets: files above 2 GB can be opened at both widths.
    target_compile_definitions(zeva_options INTERFACE _FILE_OFFSET_BITS=64)
endif()
if(CMAKE_SYSROOT)
    target_compile_options(zeva_options INTERFACE -fmacro-prefix-map=${CMAKE_SYSROOT}/=/)
endif()

if(ZEVA_SANITIZE)
    # The vptr check needs type information of classes that other libraries compiled. The function check compares C++
    # types across the boundary, where a handle has one type in the host and another in a module.
    target_compile_options(zeva_options INTERFACE
        -fsanitize=address,undefined -fno-sanitize=vptr,function -fno-sanitize-recover=undefined
        -fno-omit-frame-pointer)
    target_link_options(zeva_options INTERFACE -fsanitize=address,undefined)
    # Leaks of the libraries are suppressed by the environment of the test run only, so tests are listed then.
    set(CMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE PRE_TEST)
endif()
if(ZEVA_COVERAGE)
    target_compile_options(zeva_options INTERFACE -fprofile-instr-generate -fcoverage-mapping)
    target_link_options(zeva_options INTERFACE -fprofile-instr-generate)
endif()
if(ZEVA_FUZZ)
    target_compile_options(zeva_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

# zeva_library(zeva_NAME KIND SOURCE...), zeva_executable(zeva_NAME SOURCE...): a target with these options. Targets
# have the prefix so that they do not collide in a larger build; the files they make do not.
function(zeva_library target kind)
    add_library(${target} ${kind} ${ARGN})
    zeva_target(${target})
endfunction()

function(zeva_executable target)
    add_executable(${target} ${ARGN})
    zeva_target(${target})
endfunction()

# zeva_compile_fast(zeva_NAME OPTIMIZED SOURCE...): compiles all but the named sources without optimization. For targets
# that read words and pass them on, which takes microseconds, and include large header libraries: optimized, they would
# be the longest part of the whole compilation. OPTIMIZED names the sources that work on many pixels, bytes or numbers.
function(zeva_compile_fast target)
    cmake_parse_arguments(PARSE_ARGV 1 argument "" "" OPTIMIZED)
    target_compile_options(${target} PRIVATE -O0)
    set_source_files_properties(${argument_OPTIMIZED} PROPERTIES COMPILE_OPTIONS -O2)
endfunction()

function(zeva_target target)
    # Without the build's own interface, an installed target would refer to these options.
    target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:zeva_options>)
    string(REGEX REPLACE "^zeva_" "" name ${target})
    set_target_properties(${target} PROPERTIES OUTPUT_NAME ${name})
endfunction()
