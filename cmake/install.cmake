# What `cmake --install` lays down. All of it may be moved to another prefix as a whole.
# Components: runtime (the library), development (headers, pkg-config file, CMake package) and
# tool (what tools/ installs).

include(CMakePackageConfigHelpers)

set(ZT_SUMMARY "exact, fast conversion of uncompressed audio")
set(ZT_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/${PROJECT_NAME})

install(
    TARGETS zt_trans_audio_converter
    EXPORT ${PROJECT_NAME}-targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime)
install(
    FILES ${PROJECT_SOURCE_DIR}/include/zt_trans_audio_converter.h
          ${PROJECT_SOURCE_DIR}/include/zt_trans_audio_converter.hpp
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
    COMPONENT development)

install(
    EXPORT ${PROJECT_NAME}-targets
    NAMESPACE zt::
    DESTINATION ${ZT_PACKAGE_DIR}
    COMPONENT development)
configure_package_config_file(
    ${PROJECT_SOURCE_DIR}/cmake/${PROJECT_NAME}-config.cmake.in
    ${PROJECT_BINARY_DIR}/${PROJECT_NAME}-config.cmake
    INSTALL_DESTINATION ${ZT_PACKAGE_DIR}
    NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(
    ${PROJECT_BINARY_DIR}/${PROJECT_NAME}-config-version.cmake COMPATIBILITY SameMajorVersion)
install(
    FILES ${PROJECT_BINARY_DIR}/${PROJECT_NAME}-config.cmake
          ${PROJECT_BINARY_DIR}/${PROJECT_NAME}-config-version.cmake
    DESTINATION ${ZT_PACKAGE_DIR}
    COMPONENT development)

# The pkg-config file finds the prefix from its own place.
file(RELATIVE_PATH ZT_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" ZT_PC_PREFIX "${ZT_PC_PREFIX}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/${PROJECT_NAME}.pc.in
               ${PROJECT_BINARY_DIR}/${PROJECT_NAME}.pc @ONLY)
install(
    FILES ${PROJECT_BINARY_DIR}/${PROJECT_NAME}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
    COMPONENT development)

# The tool finds the library from its own place; under /usr the dynamic linker finds it anyway.
if(TARGET zt-audio-convert AND NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    file(RELATIVE_PATH ZT_TOOL_TO_LIBRARY /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
    set_target_properties(zt-audio-convert PROPERTIES INSTALL_RPATH $ORIGIN/${ZT_TOOL_TO_LIBRARY})
endif()

include(${CMAKE_CURRENT_LIST_DIR}/packages.cmake)
