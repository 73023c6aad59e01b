# Tool, tests and benchmarks come with their packages; one status line says so when they do not.

find_package(PkgConfig QUIET)
find_package(GTest QUIET)
find_package(CLI11 QUIET)
find_package(benchmark QUIET)
if(PkgConfig_FOUND)
    pkg_check_modules(SNDFILE QUIET IMPORTED_TARGET sndfile)
endif()

if(CLI11_FOUND AND SNDFILE_FOUND)
    set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME tool)
    add_subdirectory(tools)
else()
    message(STATUS "zt-audio-convert is left out: it needs libcli11-dev, libsndfile1-dev, pkg-config")
endif()

if(BUILD_TESTING AND GTest_FOUND)
    add_subdirectory(tests)
elseif(BUILD_TESTING)
    message(STATUS "The tests are left out: they need libgtest-dev")
endif()

if(benchmark_FOUND)
    add_subdirectory(bench)
else()
    message(STATUS "The benchmarks are left out: they need libbenchmark-dev")
endif()

if(ZT_FUZZ)
    add_subdirectory(fuzz)
endif()

add_subdirectory(examples)

if(BUILD_TESTING)
    include(tests/packaging.cmake)
endif()
