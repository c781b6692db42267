# Code for macOS, made on this machine from the sources of targets that are built here anyway.
#
# zeva_macos_object(OUTPUT TRIPLE TARGET...): one object file of all sources of the targets, each compiled with its target's
#     own options, against platform/macos/include. On 64 bits the guard is that of the native exceptions.
# zeva_macos_bundle(OUTPUT OBJECT ARCHITECTURE VERSION): links such an object to a loadable bundle against the stubs of
#     platform/macos/stubs.
# ZEVA_MACOS_DIRECTORY: below this each processor has its folder: macos-i386, macos-x86_64, macos-arm64.
#
# Why the sources meet as bitcode: the linker for macOS that is at hand makes programs of several objects but no object.
find_program(LLVM_LINK NAMES llvm-link llvm-link-14 REQUIRED)
find_program(LD64 NAMES ld64.lld ld64.lld-14 REQUIRED)

# Other tools rely on the place that goes with the preset; whoever builds elsewhere shall not disturb it.
if(CMAKE_BINARY_DIR STREQUAL ${PROJECT_SOURCE_DIR}/build/i386)
    set(ZEVA_MACOS_DIRECTORY ${PROJECT_SOURCE_DIR}/build)
else()
    set(ZEVA_MACOS_DIRECTORY ${CMAKE_BINARY_DIR})
endif()

# No stack protector: its two symbols are none that a module names.
set(macos_flags
    -std=c++20 -O2 -fno-stack-protector
    -nostdlibinc -nostdinc++ -isystem ${PROJECT_SOURCE_DIR}/platform/macos/include)

function(zeva_macos_object output triple)
    set(work ${CMAKE_CURRENT_BINARY_DIR}/${triple})
    set(parts "")
    foreach(target ${ARGN})
        get_target_property(sources ${target} SOURCES)
        get_target_property(folder ${target} SOURCE_DIR)
        get_target_property(options ${target} COMPILE_OPTIONS)
        get_target_property(includes ${target} INCLUDE_DIRECTORIES)
        list(TRANSFORM includes PREPEND -I)
        # Instruments (cmake/Instrumentation.cmake) call a runtime of this machine.
        list(FILTER options EXCLUDE REGEX "sanitize|profile|coverage")
        if(NOT triple MATCHES "^i386")
            list(TRANSFORM sources REPLACE "guard_frames" "guard_native")
        endif()
        foreach(source ${sources})
            cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY ${folder})
            cmake_path(GET source FILENAME name)
            set(part ${work}/${target}/${name}.bc)
            set(language_flags "")
            if(name MATCHES "mm$")
                set(language_flags -fobjc-exceptions)
            endif()
            add_custom_command(
                OUTPUT ${part}
                COMMAND ${CMAKE_COMMAND} -E make_directory ${work}/${target}
                COMMAND ${CLANGXX} -target ${triple} ${macos_flags} ${language_flags} ${options} ${includes}
                        -emit-llvm -c ${source} -MD -MF ${part}.d -MT ${part} -o ${part}
                DEPENDS ${source}
                DEPFILE ${part}.d
                COMMENT "Compiling ${name} for ${triple}"
                VERBATIM)
            list(APPEND parts ${part})
        endforeach()
    endforeach()
    cmake_path(GET output PARENT_PATH folder)
    cmake_path(GET output FILENAME name)
    add_custom_command(
        OUTPUT ${output}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}
        COMMAND ${LLVM_LINK} ${parts} -o ${work}/${name}.bc
        COMMAND ${CLANGXX} -target ${triple} -O2 -c -x ir ${work}/${name}.bc -o ${output}
        DEPENDS ${parts}
        COMMENT "Making ${name} for ${triple}"
        VERBATIM)
endfunction()

# Why a flat namespace: which framework has a class changes with the system's version, and its name is enough.
function(zeva_macos_bundle output object architecture version)
    set(stubs CoreFoundation CoreGraphics CoreImage Foundation libSystem libc++ libobjc)
    list(TRANSFORM stubs REPLACE "(.+)" "${PROJECT_SOURCE_DIR}/platform/macos/stubs/\\1.tbd")
    add_custom_command(
        OUTPUT ${output}
        COMMAND ${LD64} -arch ${architecture} -platform_version macos ${version} ${version} -bundle -flat_namespace
                ${object} ${stubs} -o ${output}
        DEPENDS ${object} ${stubs}
        COMMENT "Linking ${output}"
        VERBATIM)
endfunction()
