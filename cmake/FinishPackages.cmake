# Run by CPack when the files of all packages are in place and before they are packed: adds to each package the SPDX
# list of its contents, and gives every file the date SOURCE_DATE_EPOCH, if that is set, so that the same contents give
# the same package.
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} COMPONENT)
    set(folder ${CPACK_TEMPORARY_DIRECTORY}/${component})
    set(name ${CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME})
    set(list ${folder}/usr/share/doc/${name}/contents.spdx.json)
    execute_process(
        COMMAND ${CPACK_ZEVA_PYTHON} -B ${CPACK_ZEVA_SOURCE_DIRECTORY}/cmake/write_spdx.py
                ${folder} ${name} ${CPACK_PACKAGE_VERSION} ${CPACK_ZEVA_SOURCE_DIRECTORY}/LICENSE ${list}
                --needs "${CPACK_DEBIAN_${COMPONENT}_PACKAGE_DEPENDS}"
                --recommends "${CPACK_DEBIAN_${COMPONENT}_PACKAGE_RECOMMENDS}"
        COMMAND_ERROR_IS_FATAL ANY)
    file(CHMOD ${list} PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
    # CPack makes the upper folders by the umask.
    execute_process(COMMAND find ${folder} -type d -exec chmod 755 {} + COMMAND_ERROR_IS_FATAL ANY)
    if(DEFINED ENV{SOURCE_DATE_EPOCH})
        execute_process(
            COMMAND find ${folder} -exec touch --no-dereference --date=@$ENV{SOURCE_DATE_EPOCH} {} +
            COMMAND_ERROR_IS_FATAL ANY)
    endif()
endforeach()
