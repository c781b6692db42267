# Objective-C on Linux.
#
# objective_c: the compile flags and libraries of GNUstep Foundation over the GNU runtime. Link it to every target that
#     sends messages. Only clang with -fobjc-runtime=gcc compiles an @catch that works in Objective-C++.

# CMake sets these rules for C and C++ only.
foreach(language OBJC OBJCXX)
    foreach(flag SONAME RUNTIME RPATH_LINK)
        set(CMAKE_SHARED_LIBRARY_${flag}_${language}_FLAG ${CMAKE_SHARED_LIBRARY_${flag}_CXX_FLAG})
        set(CMAKE_EXECUTABLE_${flag}_${language}_FLAG ${CMAKE_EXECUTABLE_${flag}_CXX_FLAG})
    endforeach()
    set(CMAKE_SHARED_LIBRARY_RUNTIME_${language}_FLAG_SEP ${CMAKE_SHARED_LIBRARY_RUNTIME_CXX_FLAG_SEP})
    set(CMAKE_EXECUTABLE_RUNTIME_${language}_FLAG_SEP ${CMAKE_EXECUTABLE_RUNTIME_CXX_FLAG_SEP})
endforeach()

# The compiler stores the path of each source, as it is given, after the name under which it first met the folder; no
# option changes that. Paths relative to the build folder do not depend on where that is, and the folder is named before
# the folders of headers. Other builds keep CMake's rule, which tools that read commands understand.
if(CMAKE_UNITY_BUILD)
    set(CMAKE_OBJCXX_COMPILE_OBJECT "<CMAKE_OBJCXX_COMPILER> -I`realpath -m --relative-to=. <SOURCE>/..` \
<DEFINES> <INCLUDES> <FLAGS> -o <OBJECT> -c `realpath --relative-to=. <SOURCE>`")
endif()

# The C++ driver adds the C++ runtime to what it links. Modules are linked by the C driver and must not get it.
set(CMAKE_CXX_IMPLICIT_LINK_LIBRARIES "")
set(CMAKE_OBJCXX_IMPLICIT_LINK_LIBRARIES "")

file(GLOB runtime_headers ${CMAKE_SYSROOT}/usr/lib/gcc/*/12/include/objc)
list(GET runtime_headers 0 runtime_headers)
get_filename_component(runtime_headers ${runtime_headers} DIRECTORY)

add_library(zeva_objective_c INTERFACE)
target_compile_options(zeva_objective_c INTERFACE
    $<$<COMPILE_LANGUAGE:OBJC,OBJCXX>:-fobjc-runtime=gcc>
    $<$<COMPILE_LANGUAGE:OBJC,OBJCXX>:-fobjc-exceptions>
    $<$<COMPILE_LANGUAGE:OBJC,OBJCXX>:-fconstant-string-class=NSConstantString>)
target_compile_definitions(zeva_objective_c INTERFACE $<$<COMPILE_LANGUAGE:OBJC,OBJCXX>:_NATIVE_OBJC_EXCEPTIONS>)
# Only the runtime's headers come from the gcc folder. Its other headers would hide those of clang.
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/runtime_headers)
file(CREATE_LINK ${runtime_headers}/objc ${CMAKE_BINARY_DIR}/runtime_headers/objc SYMBOLIC)
target_include_directories(zeva_objective_c SYSTEM INTERFACE
    ${CMAKE_SYSROOT}/usr/include/GNUstep ${CMAKE_BINARY_DIR}/runtime_headers)
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    # Must precede the runtime in the search order, because it replaces objc_exception_throw.
    target_link_libraries(zeva_objective_c INTERFACE zeva_exception_frames)
endif()
target_link_libraries(zeva_objective_c INTERFACE gnustep-base objc)
