# What CMake's own unity build cannot join. Compiled alone, each of these sources spends most of its time on the headers
# that all of them include.
#
#   join_highway_sources(TARGET)       the sources that Highway compiles once per instruction set
#   join_objective_cxx_sources(TARGET) the sources in Objective-C++
#
# Both do nothing unless the build is a unity build. What is joined shares its anonymous namespaces, and the Highway
# sources that of an instruction set: names in it are used once in a target.
set(ZEVA_HIGHWAY_SOURCES_PER_FILE 7)

# replace_sources(TARGET JOINED CONTENT SOURCE...): compiles a file with this content in place of the sources.
function(replace_sources target joined content)
    file(CONFIGURE OUTPUT ${joined} CONTENT "${content}" @ONLY)
    set_source_files_properties(${ARGN} PROPERTIES HEADER_FILE_ONLY ON)
    set_source_files_properties(${joined} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
    target_sources(${target} PRIVATE ${joined})
endfunction()

# The text that includes the sources, one per line.
function(include_lines output)
    list(TRANSFORM ARGN REPLACE "(.+)" "#include \"\\1\"\n")
    list(JOIN ARGN "" lines)
    set(${output} "${lines}" PARENT_SCOPE)
endfunction()

# Such a source includes itself once per instruction set. The joined file includes itself in their place; the include of
# <hwy/foreach_target.h> in each of its parts then has no effect.
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
        include_lines(includes ${parts})
        replace_sources(${target} ${joined} "${names_itself}#include <hwy/foreach_target.h>\n${includes}${names_itself}"
                        ${parts})
        set(parts "")
        math(EXPR number "${number} + 1")
    endforeach()
endfunction()

function(join_objective_cxx_sources target)
    get_target_property(sources ${target} SOURCES)
    list(FILTER sources INCLUDE REGEX "^[^/].*\\.mm$") # generated sources are in the build folder already
    if(CMAKE_UNITY_BUILD)
        list(TRANSFORM sources PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
        include_lines(includes ${sources})
        replace_sources(${target} ${CMAKE_CURRENT_BINARY_DIR}/${target}_joined.mm "${includes}" ${sources})
    endif()
endfunction()
