# The tool comes with its packages, the tests with BUILD_TESTING, the benchmarks with ZT_BENCH; one
# status line says so when packages are missing.

find_package(PkgConfig QUIET)
find_package(CLI11 QUIET)
if(PkgConfig_FOUND)
    pkg_check_modules(SNDFILE QUIET IMPORTED_TARGET sndfile)
endif()

if(CLI11_FOUND AND SNDFILE_FOUND)
    set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME tool)
    add_subdirectory(tools)
else()
    message(STATUS "zt-audio-convert is left out: it needs libcli11-dev, libsndfile1-dev, pkg-config")
endif()

if(BUILD_TESTING)
    find_package(GTest QUIET)
    if(GTest_FOUND)
        add_subdirectory(tests)
    else()
        message(STATUS "The tests are left out: they need libgtest-dev")
    endif()
endif()

if(ZT_BENCH)
    find_package(benchmark REQUIRED)
    add_subdirectory(bench)
endif()

if(ZT_FUZZ)
    add_subdirectory(fuzz)
endif()

if(BUILD_TESTING)
    add_subdirectory(examples)
    include(tests/packaging.cmake)
endif()
