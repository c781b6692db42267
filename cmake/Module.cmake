# zeva_module(TARGET): makes a module that the host loads: TARGET.so among the modules, with ZEVAPluginMain as its only
# export.
#
# Why the C linker driver: a module brings no C++ runtime into its host.
function(zeva_module target)
    set_target_properties(${target} PROPERTIES
        PREFIX ""
        LIBRARY_OUTPUT_DIRECTORY ${ZEVA_MODULE_DIRECTORY}
        LINKER_LANGUAGE C)
    target_link_options(${target} PRIVATE
        -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/module_exports.map)
    if(NOT ZEVA_SANITIZE)
        # The sanitizers' own functions come from the program.
        target_link_options(${target} PRIVATE -Wl,-z,defs)
    endif()
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/module_exports.map)
endfunction()
