# Debian packages: `cpack -G DEB` in the build folder. For a system's own packages configure with
# -DCMAKE_INSTALL_PREFIX=/usr, which also chooses the library folder of the architecture.

find_program(ZT_GZIP gzip)
mark_as_advanced(ZT_GZIP)
if(NOT ZT_GZIP)
    message(STATUS "No Debian packages: they need gzip")
    return()
endif()

set(ZT_RUNTIME_PACKAGE libzt-trans-audio-converter)
set(ZT_DEVELOPMENT_PACKAGE libzt-trans-audio-converter-dev)
set(ZT_TOOL_PACKAGE zt-audio-convert)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ${PROJECT_NAME})
set(CPACK_PACKAGE_VENDOR "zt_trans_audio_converter")
set(CPACK_PACKAGE_CONTACT
    "The zt_trans_audio_converter authors <authors@zt-trans-audio-converter.invalid>")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/compress_man_pages.cmake)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL runtime development)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${ZT_RUNTIME_PACKAGE})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
    "exact, fast conversion of uncompressed audio - library
Converts between PCM, packed LPCM, AES3 and floating-point samples, between
channel layouts and between sample rates. The result is defined to the bit.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${ZT_DEVELOPMENT_PACKAGE})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${ZT_RUNTIME_PACKAGE} (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "exact, fast conversion of uncompressed audio - development files
Headers, pkg-config file and CMake package of a library that converts between
sample formats, channel layouts and sample rates.")

if(TARGET zt-audio-convert)
    list(APPEND CPACK_COMPONENTS_ALL tool)
    set(CPACK_DEBIAN_TOOL_PACKAGE_NAME ${ZT_TOOL_PACKAGE})
    set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION sound)
    set(CPACK_DEBIAN_TOOL_PACKAGE_SHLIBDEPS ON)
    set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${ZT_RUNTIME_PACKAGE} (= ${PROJECT_VERSION})")
    set(CPACK_COMPONENT_TOOL_DESCRIPTION
        "exact, fast conversion of uncompressed audio - command-line tool
Converts sound files and raw streams to another sample format, channel
layout and sample rate.")
endif()

# Each package carries the changelog, compressed, and the copyright file.
configure_file(${PROJECT_SOURCE_DIR}/cmake/debian/changelog.in
               ${PROJECT_BINARY_DIR}/debian/changelog @ONLY)
execute_process(
    COMMAND ${ZT_GZIP} -9nc ${PROJECT_BINARY_DIR}/debian/changelog
    OUTPUT_FILE ${PROJECT_BINARY_DIR}/debian/changelog.gz COMMAND_ERROR_IS_FATAL ANY)

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} upper)
    set(package ${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
    install(
        FILES ${PROJECT_BINARY_DIR}/debian/changelog.gz ${PROJECT_SOURCE_DIR}/cmake/debian/copyright
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package}
        COMPONENT ${component})
endforeach()

install(
    FILES ${PROJECT_SOURCE_DIR}/cmake/debian/${ZT_RUNTIME_PACKAGE}.lintian-overrides
    DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides
    RENAME ${ZT_RUNTIME_PACKAGE}
    COMPONENT runtime)

include(CPack)
