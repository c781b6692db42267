# zeva_generate_classes(TARGET CATALOGUE [OBJCXX] [DESCRIPTIONS FILE]): generates classes from a catalogue and compiles
# them as a source of TARGET. The source defines ModuleClasses(), so a module has one catalogue. With OBJCXX it is in
# Objective-C++. With DESCRIPTIONS, the descriptions of classes and keys are checked.
#
# The same file is in the source tree and in the installed package. ZEVA_CLASS_GENERATOR is the path of the generator,
# which runs when one of its inputs changes and needs Python. The module does not need it afterward.
function(zeva_generate_classes target catalogue)
    cmake_parse_arguments(PARSE_ARGV 2 generate "OBJCXX" "DESCRIPTIONS" "")
    if(DEFINED generate_UNPARSED_ARGUMENTS OR DEFINED generate_KEYWORDS_MISSING_VALUES)
        list(JOIN ARGN " " words)
        message(FATAL_ERROR "zeva_generate_classes: '${words}' does not fit, expected [OBJCXX] [DESCRIPTIONS FILE] "
            "behind the catalogue")
    endif()
    find_package(Python3 3.9 QUIET COMPONENTS Interpreter)
    if(NOT Python3_Interpreter_FOUND)
        message(FATAL_ERROR "zeva_generate_classes: no python3, expected 3.9 or later; without it, classes cannot be "
            "generated from ${catalogue}")
    endif()
    cmake_path(ABSOLUTE_PATH catalogue)
    cmake_path(GET catalogue PARENT_PATH folder)
    set(descriptions ${generate_DESCRIPTIONS})
    if(descriptions)
        cmake_path(ABSOLUTE_PATH descriptions)
    endif()
    set(ending cpp)
    if(generate_OBJCXX)
        set(ending mm)
    endif()
    cmake_path(GET ZEVA_CLASS_GENERATOR PARENT_PATH tools)
    set(generated ${CMAKE_CURRENT_BINARY_DIR}/generated/${target})
    set(source ${generated}/catalogue.${ending})
    add_custom_command(
        OUTPUT ${source} ${generated}/keys.def
        COMMAND ${Python3_EXECUTABLE} -B ${ZEVA_CLASS_GENERATOR} ${catalogue} ${source} ${descriptions}
        DEPENDS ${ZEVA_CLASS_GENERATOR} ${tools}/class_catalogue.py ${tools}/class_descriptions.py
                ${catalogue} ${descriptions}
        COMMENT "Generating the classes of ${target}"
        VERBATIM)
    target_sources(${target} PRIVATE ${source})
    # The headers that the catalogue names may be beside it.
    target_include_directories(${target} PRIVATE ${generated} ${folder})
endfunction()
