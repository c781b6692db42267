# embed_text(TARGET SYMBOL FILE): compiles the text of FILE into TARGET as the char array SYMBOL. The build configures
# itself again when the text changes.
set(EMBEDDED_TEXT_TEMPLATE ${CMAKE_CURRENT_LIST_DIR}/embedded_text.cpp.in)

function(embed_text target symbol file)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
    file(READ ${file} text)
    get_filename_component(file ${file} NAME)
    set(source ${CMAKE_CURRENT_BINARY_DIR}/${symbol}.cpp)
    configure_file(${EMBEDDED_TEXT_TEMPLATE} ${source} @ONLY)
    target_sources(${target} PRIVATE ${source})
    set_source_files_properties(${source} PROPERTIES COMPILE_OPTIONS -Wno-overlength-strings)
endfunction()
