# The build on a Mac: the filter module over the system's own frameworks, with the target names that the rest of the
# build
# uses. The host, the companion and platform/ are not built there: a Mac has the host that the module is made for.
add_library(zeva_objective_c INTERFACE)
target_compile_options(zeva_objective_c INTERFACE $<$<COMPILE_LANGUAGE:OBJCXX>:-fobjc-exceptions>)
target_link_libraries(zeva_objective_c INTERFACE "-framework Foundation" "-framework CoreFoundation" objc)
foreach(framework CoreGraphics CoreImage)
    add_library(zeva_${framework} INTERFACE)
    target_link_libraries(zeva_${framework} INTERFACE zeva_objective_c "-framework ${framework}")
endforeach()

# Linked by the C++ driver, unlike on Linux: on a Mac the unwinder cannot be linked without the C++ runtime.
function(zeva_module target)
    set_target_properties(${target} PROPERTIES PREFIX "" SUFFIX ".bundle" LINKER_LANGUAGE CXX
        LIBRARY_OUTPUT_DIRECTORY ${ZEVA_MODULE_DIRECTORY})
    target_link_options(${target} PRIVATE -Wl,-exported_symbol,_ZEVAPluginMain)
endfunction()
