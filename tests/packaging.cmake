# Tests of what leaves this tree: the installed files, the Debian packages, the binary interface and
# the header's documentation. With sanitizers there is nothing to ship.

if(ZT_SANITIZE)
    return()
endif()

set(ZT_PACKAGING_DIR ${PROJECT_BINARY_DIR}/packaging)
set(ZT_PLAIN_BUILD ${ZT_PACKAGING_DIR}/one/build)

# zt_add_packaging_test(name script arguments...)
function(zt_add_packaging_test name script)
    add_test(NAME packaging.${name} COMMAND ${PROJECT_SOURCE_DIR}/tests/${script} ${ARGN})
    set_tests_properties(packaging.${name} PROPERTIES TIMEOUT 300)
endfunction()

set(ZT_TOOL_BUILD)
set(ZT_PROGRAMS)
if(TARGET zt-audio-convert)
    set(ZT_TOOL_BUILD ${PROJECT_BINARY_DIR})
    set(ZT_PROGRAMS zt-audio-convert)
endif()

zt_add_packaging_test(same_bytes packaging_build_test.sh ${PROJECT_SOURCE_DIR} ${ZT_PACKAGING_DIR})
zt_add_packaging_test(abi abi_test.sh ${ZT_PLAIN_BUILD}/libzt_trans_audio_converter.so)
zt_add_packaging_test(debian packaging_debian_test.sh ${ZT_PLAIN_BUILD} ${ZT_TOOL_BUILD})
zt_add_packaging_test(install install_test.sh ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR}
                      ${ZT_PACKAGING_DIR}/install ${CMAKE_C_COMPILER} ${CMAKE_CXX_COMPILER}
                      ${ZT_PROGRAMS})
zt_add_packaging_test(header_documentation packaging_doxygen_test.sh ${PROJECT_SOURCE_DIR}
                      ${ZT_PACKAGING_DIR}/doxygen)

set_tests_properties(packaging.same_bytes PROPERTIES FIXTURES_SETUP zt_plain_build)
set_tests_properties(packaging.abi packaging.debian PROPERTIES FIXTURES_REQUIRED zt_plain_build)
