# What `make install` and the packages contain, below the prefix:
#
#   bin/zeva                 a link to lib/zeva/bin/zeva, which finds its modules beside its folder
#   lib/zeva/bin             the program
#   lib/zeva/modules         filters.so, companion.so, and probe.so, which judges hosts
#   lib/zeva/lib             the platform libraries, libzeva, and the boundary library for module authors
#   lib/python3/dist-packages/zeva   the package for Python
#   lib/cmake/zeva           the CMake package: find_package(zeva)
#   include/zeva             the headers for module authors, and zeva/host.h for programs in C
#   share/zeva/tools         the generator of classes from a catalogue
#   share/zeva/recipes       recipes; lib/zeva/recipes is a link to them
#   share/zeva/judge_host.lua   the program that runs probe.so
#   share/doc/zeva, share/man, share/bash-completion
#
# Installed files name the system's loader and find each other relative to themselves; tests/package checks that they do
# not contain a path of the build. To install another file, add it here and to the table in
# tests/package/install_test.py.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

# Whatever the umask is.
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# Not CMAKE_INSTALL_LIBDIR: the folder must not depend on the machine's architecture, so that one rpath fits all.
# Installing builds nothing: the tests need not be built.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)
# What names no component belongs to the package zeva.
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME zeva)

set(private lib/zeva)
set(config lib/cmake/zeva)

set(libraries zeva_CoreGraphics zeva_ImageIO zeva_CoreImage)
if(TARGET zeva_exception_frames)
    list(APPEND libraries zeva_exception_frames zeva_macos_platform)
endif()
# The three folders are beside each other. The system's folders are searched in any case.
# The codecs of the formats whose libraries were there when the program was built.
get_property(codecs GLOBAL PROPERTY ZEVA_IMAGE_CODECS)
list(APPEND libraries ${codecs})
if(TARGET zeva_studio_server)
    list(APPEND libraries zeva_studio_server)
endif()
set_target_properties(zeva zeva_filters zeva_companion zeva_host_probe zeva_host_library ${libraries} PROPERTIES
    INSTALL_RPATH "$ORIGIN/../lib")
if(NOT CMAKE_BUILD_RPATH)
    # The build tree has the same folders. CMake would fill its own path there with colons up to the length of this one,
    # and the loader looks for every library in the current folder for each of them.
    set_target_properties(zeva zeva_filters zeva_companion zeva_host_probe zeva_host_library ${libraries} PROPERTIES
        BUILD_WITH_INSTALL_RPATH ON)
endif()
install(TARGETS zeva RUNTIME DESTINATION ${private}/bin)
install(TARGETS zeva_filters zeva_companion zeva_host_probe LIBRARY DESTINATION ${private}/modules)
install(TARGETS ${libraries} LIBRARY DESTINATION ${private}/lib)

# The boundary as an archive. Nothing in a module refers to its entry point, so the linker is told to look for it.
zeva_library(zeva_plugin_archive STATIC $<TARGET_OBJECTS:zeva_plugin>)
set_target_properties(zeva_plugin_archive PROPERTIES OUTPUT_NAME zeva_plugin EXPORT_NAME plugin LINKER_LANGUAGE CXX)
target_include_directories(zeva_plugin_archive INTERFACE $<INSTALL_INTERFACE:include/zeva>)
target_compile_features(zeva_plugin_archive INTERFACE cxx_std_20)
target_link_options(zeva_plugin_archive INTERFACE $<INSTALL_INTERFACE:LINKER:--undefined=ZEVAPluginMain>)
install(TARGETS zeva_plugin_archive EXPORT zevaTargets ARCHIVE DESTINATION ${private}/lib)
install(TARGETS zeva_host_library EXPORT zevaTargets LIBRARY DESTINATION ${private}/lib)
install(DIRECTORY host/library/zeva DESTINATION include/zeva FILES_MATCHING PATTERN "*.h")
install(EXPORT zevaTargets NAMESPACE zeva:: DESTINATION ${config})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/zevaConfig.cmake.in ${CMAKE_BINARY_DIR}/zevaConfig.cmake
    INSTALL_DESTINATION ${config})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/zevaConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
    ${CMAKE_BINARY_DIR}/zevaConfig.cmake
    ${CMAKE_BINARY_DIR}/zevaConfigVersion.cmake
    ${CMAKE_CURRENT_LIST_DIR}/module_exports.map
    ${CMAKE_CURRENT_LIST_DIR}/GenerateClasses.cmake
    DESTINATION ${config})
install(PROGRAMS tools/generate_classes.py DESTINATION share/zeva/tools)
install(FILES tools/class_catalogue.py tools/class_descriptions.py DESTINATION share/zeva/tools)
foreach(folder interface plugin)
    if(IS_DIRECTORY ${PROJECT_SOURCE_DIR}/${folder})
        install(DIRECTORY ${folder} DESTINATION include/zeva FILES_MATCHING PATTERN "*.h" PATTERN "*.def")
    endif()
endforeach()

# The package for Python, and a Debian package of its own. "python3" is the folder of Debian's Python below /usr.
set(package lib/python3/dist-packages)
install(DIRECTORY python/zeva ${CMAKE_BINARY_DIR}/python/zeva DESTINATION ${package} COMPONENT python
    FILES_MATCHING PATTERN "*.py" PATTERN "*.pyi" PATTERN "py.typed" PATTERN "__pycache__" EXCLUDE)
install(FILES docs/python.md DESTINATION share/doc/python3-zeva COMPONENT python)
install(FILES LICENSE DESTINATION share/doc/python3-zeva COMPONENT python RENAME copyright)

install(DIRECTORY share/recipes DESTINATION share/zeva)
install(FILES probe/judge_host.lua DESTINATION share/zeva)
install(FILES README.md CHANGELOG.md docs/checker.md docs/interface.md docs/modules.md DESTINATION share/doc/zeva)
install(FILES LICENSE DESTINATION share/doc/zeva RENAME copyright)
install(FILES docs/zeva.1 DESTINATION share/man/man1)
file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/completion CONTENT "eval \"$(zeva completion)\"\n" @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/completion DESTINATION share/bash-completion/completions RENAME zeva)

# Runs after the files above are in place. Debug information contains paths of the build, so the archive loses it like
# the other files do when they are installed with --strip.
install(CODE "
    set(root \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}\")
    file(MAKE_DIRECTORY \"\${root}/bin\")
    file(CREATE_LINK ../${private}/bin/zeva \"\${root}/bin/zeva\" SYMBOLIC)
    file(CREATE_LINK ../../share/zeva/recipes \"\${root}/${private}/recipes\" SYMBOLIC)
    execute_process(COMMAND \"${CMAKE_STRIP}\" --strip-debug \"\${root}/${private}/lib/libzeva_plugin.a\"
        COMMAND_ERROR_IS_FATAL ANY)
    file(GLOB binaries
        \"\${root}/${private}/bin/*\" \"\${root}/${private}/modules/*.so\" \"\${root}/${private}/lib/*.so\")
    execute_process(COMMAND \"${Python3_EXECUTABLE}\" \"${CMAKE_CURRENT_LIST_DIR}/forget_source_folder.py\"
        \"${PROJECT_SOURCE_DIR}\" \${binaries} COMMAND_ERROR_IS_FATAL ANY)")
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    install(CODE "
        execute_process(COMMAND \"${Python3_EXECUTABLE}\" \"${CMAKE_CURRENT_LIST_DIR}/use_system_loader.py\"
            \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${private}/bin/zeva\" COMMAND_ERROR_IS_FATAL ANY)")
endif()

# ---- Debian packages
#
# The libraries that installed files load, by file name, and the Debian 12 packages that contain them. One list for both
# widths: dpkg-shlibdeps cannot read the sysroot, whose packages are unpacked but not installed. tests/package compares
# the list with what the files load.
set(ZEVA_LOADED_LIBRARIES
    "libc.so.6              libc6 (>= 2.36)"
    "libm.so.6              libc6 (>= 2.36)"
    "libstdc++.so.6         libstdc++6 (>= 12)"
    "libgcc_s.so.1          libgcc-s1 (>= 3.0)"
    "libobjc.so.4           libobjc4 (>= 12)"
    "libgnustep-base.so.1.28 libgnustep-base1.28"
    "libffi.so.8            libffi8 (>= 3.4)"
    "liblua5.4-c++.so.0     liblua5.4-0 (>= 5.4.4)"
    "liblcms2.so.2          liblcms2-2 (>= 2.14)"
    "libpng16.so.16         libpng16-16 (>= 1.6.39)"
    "libz.so.1              zlib1g (>= 1:1.2.13)"
    "libjpeg.so.62          libjpeg62-turbo (>= 2.1.5)"
    "libtbb.so.12           libtbb12 (>= 2021.8)"
    "libtbbmalloc.so.2      libtbbmalloc2 (>= 2021.8)"
    "libhwy.so.1            libhwy1 (>= 1.0.3)")
# The same for the codecs and the studio, which are loaded only when they are needed. The package recommends these.
set(ZEVA_CODEC_LIBRARIES
    "webp    libwebp.so.7       libwebp7 (>= 1.2.4)"
    "webp    libwebpmux.so.3    libwebpmux3 (>= 1.2.4)"
    "webp    libwebpdemux.so.2  libwebpdemux2 (>= 1.2.4)"
    "tiff    libtiff.so.6       libtiff6 (>= 4.5.0)"
    "tiff    libdeflate.so.0    libdeflate0 (>= 1.14)"
    "heif    libheif.so.1       libheif1 (>= 1.15)"
    "studio_server libcivetweb.so.1 libcivetweb1 (>= 1.15)")
set(loaded "")
set(dependencies "")
set(recommended "")
foreach(row IN LISTS ZEVA_CODEC_LIBRARIES)
    string(REGEX MATCH "^([^ ]+) +([^ ]+) +(.+)$" row "${row}")
    if(TARGET zeva_codec_${CMAKE_MATCH_1} OR TARGET zeva_${CMAKE_MATCH_1})
        string(APPEND loaded "${CMAKE_MATCH_2}\n")
        list(APPEND recommended "${CMAKE_MATCH_3}")
    endif()
endforeach()
list(JOIN recommended ", " recommended)
foreach(row IN LISTS ZEVA_LOADED_LIBRARIES)
    string(REGEX MATCH "^([^ ]+) +(.+)$" row "${row}")
    string(APPEND loaded "${CMAKE_MATCH_1}\n")
    list(APPEND dependencies "${CMAKE_MATCH_2}")
endforeach()
list(REMOVE_DUPLICATES dependencies)
list(JOIN dependencies ", " dependencies)
file(WRITE ${CMAKE_BINARY_DIR}/loaded_libraries.txt "${loaded}")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zeva)
set(CPACK_PACKAGE_CONTACT "The project's authors <authors@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Core Image filters as typed classes, with a host that renders them")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/package)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/FinishPackages.cmake)
set(CPACK_VERBATIM_VARIABLES ON)
# What CPack hands to that script.
set(CPACK_ZEVA_PYTHON ${Python3_EXECUTABLE})
set(CPACK_ZEVA_SOURCE_DIRECTORY ${PROJECT_SOURCE_DIR})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL zeva python)
set(CPACK_DEBIAN_ZEVA_PACKAGE_NAME zeva)
set(CPACK_DEBIAN_ZEVA_PACKAGE_DEPENDS "${dependencies}")
set(CPACK_DEBIAN_ZEVA_PACKAGE_RECOMMENDS "${recommended}")
# For authors of modules whose classes come from a catalogue.
set(CPACK_DEBIAN_ZEVA_PACKAGE_SUGGESTS "python3 (>= 3.9)")
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(CPACK_DEBIAN_ZEVA_PACKAGE_ARCHITECTURE i386)
else()
    set(CPACK_DEBIAN_ZEVA_PACKAGE_ARCHITECTURE amd64)
endif()
set(CPACK_COMPONENT_PYTHON_DESCRIPTION "Core Image filters and the classes of every module, in Python")
set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-zeva)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "zeva (= ${PROJECT_VERSION}), python3 (>= 3.8)")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS "python3-numpy, python3-pil")
include(CPack)
