# zeva_module(TARGET): makes a library target a module that the host loads. The file goes to the folder of modules and
# exports ZEVAPluginMain only. The C driver links it, so that it does not bring a C++ runtime into its host.
function(zeva_module target)
    set_target_properties(${target} PROPERTIES
        PREFIX ""
        LIBRARY_OUTPUT_DIRECTORY ${ZEVA_MODULE_DIRECTORY}
        LINKER_LANGUAGE C)
    target_link_options(${target} PRIVATE
        -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/module_exports.map)
    if(NOT ZEVA_SANITIZE)
        # A sanitized module imports the sanitizer's functions from the program, so symbols may be undefined there.
        target_link_options(${target} PRIVATE -Wl,-z,defs)
    endif()
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/module_exports.map)
endfunction()
