# Compiles targets of this build for macOS, on Linux.
#
# zeva_macos_object(OUTPUT TRIPLE TARGET...): makes one object file of all sources of the targets. Each source is
#     compiled with its target's options against platform/macos/include. At 64 bits the guard for native exceptions is
#     used.
# zeva_macos_bundle(OUTPUT OBJECT ARCHITECTURE VERSION): links such an object into a loadable bundle against the stubs
#     of platform/macos/stubs. 64 bits only.
# zeva_macos_folder(OUTPUT OBJECT): links an object for 32 bits into a bundle (tools/link_bundle), as a folder
#     NAME.bundle with a list of properties.
# ZEVA_MACOS_DIRECTORY: contains one folder per processor: macos-i386, macos-x86_64, macos-arm64.
#
# Sources are merged as bitcode because lld can link a program or a bundle for macOS, but cannot merge object files.
find_program(LLVM_LINK NAMES llvm-link llvm-link-14 REQUIRED)
find_program(LD64 NAMES ld64.lld ld64.lld-14 REQUIRED)

# Other tools rely on the folder of the i386 preset. A build in any other folder writes to its own.
if(CMAKE_BINARY_DIR STREQUAL ${PROJECT_SOURCE_DIR}/build/i386)
    set(ZEVA_MACOS_DIRECTORY ${PROJECT_SOURCE_DIR}/build)
else()
    set(ZEVA_MACOS_DIRECTORY ${CMAKE_BINARY_DIR})
endif()

# No stack protector: a module does not import the two symbols that it needs.
set(macos_flags
    -std=c++20 -O2 $<$<BOOL:${CMAKE_COMPILE_WARNING_AS_ERROR}>:-Werror> -fno-stack-protector
    -nostdlibinc -nostdinc++ -isystem ${PROJECT_SOURCE_DIR}/platform/macos/include)

function(zeva_macos_object output triple)
    set(work ${CMAKE_CURRENT_BINARY_DIR}/${triple})
    set(parts "")
    foreach(target ${ARGN})
        get_target_property(sources ${target} SOURCES)
        get_target_property(folder ${target} SOURCE_DIR)
        get_target_property(options ${target} COMPILE_OPTIONS)
        get_target_property(includes ${target} INCLUDE_DIRECTORIES)
        get_target_property(shared_options zeva_options INTERFACE_COMPILE_OPTIONS)
        get_target_property(shared_includes zeva_options INTERFACE_INCLUDE_DIRECTORIES)
        list(FILTER sources EXCLUDE REGEX "_joined\\.mm$")
        if(NOT options)
            set(options "")
        endif()
        if(NOT includes)
            set(includes "")
        endif()
        list(PREPEND options ${shared_options})
        list(APPEND includes ${shared_includes})
        list(TRANSFORM includes PREPEND -I)
        # Sanitizers and coverage call a runtime library of this machine.
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
                VERBATIM COMMAND_EXPAND_LISTS)
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

# Flat namespace: the framework that contains a class changes with the version of macOS; the class name is enough.
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

# The identifier needs to be unique among the bundles of a process only.
function(zeva_macos_folder output object)
    cmake_path(GET output STEM name)
    configure_file(${PROJECT_SOURCE_DIR}/platform/macos/Info.plist.in ${output}/Contents/Info.plist @ONLY)
    set(executable ${output}/Contents/MacOS/${name})
    add_custom_command(
        OUTPUT ${executable}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${output}/Contents/MacOS
        COMMAND $<TARGET_FILE:zeva_link_bundle> ${object} ${executable}
        DEPENDS ${object} zeva_link_bundle
        COMMENT "Linking ${name}.bundle"
        VERBATIM)
endfunction()
