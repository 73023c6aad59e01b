#!/usr/bin/env bash
# Builds the library from two copies of the tree, in folders of different names, and compares the
# two files byte by byte. Usage: packaging_build_test.sh SOURCE_DIR WORK_DIR. The first build stays
# in WORK_DIR/one/build, with debugging information, for the tests that need such a library.
set -euo pipefail
source_dir=$1
work_dir=$2

# Only debugging information may name the folder; whatever else does shows up as a difference.
buildIn() {
    local copy=$1
    rm -rf "$copy"
    mkdir -p "$copy"
    cp -r "$source_dir"/{CMakeLists.txt,LICENSE,cmake,include,src,examples} "$copy"
    cmake -S "$copy" -B "$copy/build" -DCMAKE_C_COMPILER=gcc -DCMAKE_CXX_COMPILER=g++ \
        -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr -DBUILD_TESTING=OFF \
        -DCMAKE_CXX_FLAGS="-g -fdebug-prefix-map=$copy=." \
        -DCMAKE_DISABLE_FIND_PACKAGE_CLI11=ON -DCMAKE_DISABLE_FIND_PACKAGE_benchmark=ON >/dev/null
    cmake --build "$copy/build" -j2 --target zt_trans_audio_converter >/dev/null
}

buildIn "$work_dir/one"
buildIn "$work_dir/another-folder/of-two"
cmp "$work_dir"/{one,another-folder/of-two}/build/libzt_trans_audio_converter.so
