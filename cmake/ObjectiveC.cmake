# Objective-C on Linux: an interface target for whatever sends messages.
#
# objective_c: compile flags and libraries of GNUstep Foundation over the GNU runtime.
#   Why clang and -fobjc-runtime=gcc: the only pair here whose @catch works in Objective-C++.
file(GLOB runtime_headers ${CMAKE_SYSROOT}/usr/lib/gcc/*/12/include/objc)
list(GET runtime_headers 0 runtime_headers)
get_filename_component(runtime_headers ${runtime_headers} DIRECTORY)

add_library(objective_c INTERFACE)
target_compile_options(objective_c INTERFACE
    $<$<COMPILE_LANGUAGE:OBJC,OBJCXX>:-fobjc-runtime=gcc>
    $<$<COMPILE_LANGUAGE:OBJC,OBJCXX>:-fobjc-exceptions>
    $<$<COMPILE_LANGUAGE:OBJC,OBJCXX>:-fconstant-string-class=NSConstantString>)
target_compile_definitions(objective_c INTERFACE _NATIVE_OBJC_EXCEPTIONS)
# Only headers of the runtime itself are wanted from the gcc folder; its other headers are clang's own business.
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/runtime_headers)
file(CREATE_LINK ${runtime_headers}/objc ${CMAKE_BINARY_DIR}/runtime_headers/objc SYMBOLIC)
target_include_directories(objective_c SYSTEM INTERFACE
    ${CMAKE_SYSROOT}/usr/include/GNUstep ${CMAKE_BINARY_DIR}/runtime_headers)
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    # Before the runtime in the search order: it takes over objc_exception_throw.
    target_link_libraries(objective_c INTERFACE exception_frames)
endif()
target_link_libraries(objective_c INTERFACE gnustep-base objc)
