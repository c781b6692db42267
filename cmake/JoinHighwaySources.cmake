# join_highway_sources(TARGET): in a unity build, joins the sources that Highway compiles once per instruction set.
#
# Such a source includes itself once per instruction set, so CMake's own unity build cannot take it. Compiled alone,
# each spends most of its time on parsing Highway's headers again. A joined file includes itself in their place; the
# include of <hwy/foreach_target.h> in each of its parts then has no effect.
#
# All parts share the namespace of an instruction set: names in it are used once in the engine.
set(ZEVA_HIGHWAY_SOURCES_PER_FILE 7)

function(join_highway_sources target)
    get_target_property(unity_build ${target} UNITY_BUILD)
    get_target_property(sources ${target} SOURCES)
    set(parts "")
    set(number 0)
    foreach(source ${sources} end_of_list)
        if(NOT source STREQUAL end_of_list)
            file(STRINGS ${source} includes_itself REGEX HWY_TARGET_INCLUDE)
            if(NOT includes_itself OR NOT unity_build)
                continue()
            endif()
            list(APPEND parts ${source})
            list(LENGTH parts count)
            if(count LESS ZEVA_HIGHWAY_SOURCES_PER_FILE)
                continue()
            endif()
        elseif(NOT parts)
            continue()
        endif()
        set(joined ${CMAKE_CURRENT_BINARY_DIR}/highway_${number}.cpp)
        set(names_itself "#undef HWY_TARGET_INCLUDE\n#define HWY_TARGET_INCLUDE \"${joined}\"\n")
        list(TRANSFORM parts REPLACE "(.+)" "#include \"\\1\"\n" OUTPUT_VARIABLE includes)
        list(JOIN includes "" includes)
        file(CONFIGURE OUTPUT ${joined} @ONLY
             CONTENT "${names_itself}#include <hwy/foreach_target.h>\n${includes}${names_itself}")
        set_source_files_properties(${parts} PROPERTIES HEADER_FILE_ONLY ON)
        set_source_files_properties(${joined} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
        target_sources(${target} PRIVATE ${joined})
        set(parts "")
        math(EXPR number "${number} + 1")
    endforeach()
endfunction()
