# generate_source(TARGET OUTPUT SCRIPT INPUT): runs the Python program SCRIPT with INPUT and the path of OUTPUT whenever one
# of the two files changes, and compiles OUTPUT as a source of TARGET.
#
# Why not text that the program parses: a table of constants costs nothing at start.
function(generate_source target output script input)
    set(source ${CMAKE_CURRENT_BINARY_DIR}/${output})
    add_custom_command(
        OUTPUT ${source}
        COMMAND ${Python3_EXECUTABLE} -B ${script} ${input} ${source}
        DEPENDS ${script} ${input}
        COMMENT "Generating ${output}"
        VERBATIM)
    target_sources(${target} PRIVATE ${source})
endfunction()
