# generate_source(TARGET OUTPUT SCRIPT INPUT...): runs the Python program SCRIPT with the inputs and the path of OUTPUT
# whenever one of the files changes, and compiles OUTPUT as a source of TARGET.
#
# Why not text that the program parses: a table of constants costs nothing at start.
function(generate_source target output script)
    set(source ${CMAKE_CURRENT_BINARY_DIR}/${output})
    add_custom_command(
        OUTPUT ${source}
        COMMAND ${Python3_EXECUTABLE} -B ${script} ${ARGN} ${source}
        DEPENDS ${script} ${ARGN}
        COMMENT "Generating ${output}"
        VERBATIM)
    target_sources(${target} PRIVATE ${source})
endfunction()
