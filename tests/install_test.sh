#!/usr/bin/env bash
# Installs a build, moves the tree elsewhere and builds a plain C11 host against it, once by
# pkg-config and once by the CMake package, and a C++17 one; then starts what it installed of the
# programs PROGRAM. Usage: install_test.sh SOURCE_DIR BUILD_DIR WORK_DIR CC CXX [PROGRAM]...
set -euo pipefail
source_dir=$1
build_dir=$2
work=$3
cc=$4
cxx=$5
programs=("${@:6}")
name=zt_trans_audio_converter
host=$source_dir/examples/convert_in_memory.c
expected=$source_dir/examples/expected/convert_in_memory.txt

rm -rf "$work"
mkdir -p "$work/host"
cmake --install "$build_dir" --prefix "$work/first" >/dev/null
DESTDIR=$work/stage cmake --install "$build_dir" --prefix /opt/zt >/dev/null
diff -r "$work/first" "$work/stage/opt/zt"
mv "$work/first" "$work/moved"
root=$work/moved
if grep -rIlF -e "$work" -e "$build_dir" -e "$source_dir" "$root"; then
    echo "these installed files name the folder they came from" >&2
    exit 1
fi
library=$(find "$root" -name lib$name.so)
library_dir=$(dirname "$library")
readelf -d "$library" | grep -F "soname: [lib$name.so]" >/dev/null

# loadsMovedLibrary PROGRAM
loadsMovedLibrary() {
    local loaded
    loaded=$(ldd "$1" | awk -v name="lib$name.so" '$1 == name { print $3 }')
    [ "$loaded" -ef "$library" ] || { echo "$1 loads '$loaded'" && return 1; }
}

# runHost PROGRAM: it must print what the example prints.
runHost() {
    LD_LIBRARY_PATH=$library_dir loadsMovedLibrary "$1"
    LD_LIBRARY_PATH=$library_dir "$1" | diff -u "$expected" -
}

export PKG_CONFIG_PATH=$library_dir/pkgconfig
read -ra flags < <(pkg-config --cflags --libs $name)
"$cc" -std=c11 -Wall -Wextra -Wpedantic -Werror "$host" -o "$work/host/by_pkg_config" "${flags[@]}"
runHost "$work/host/by_pkg_config"
"$cxx" -std=c++17 -Wall -Wextra -Wpedantic -Werror "$source_dir/examples/convert.cpp" \
    -o "$work/host/in_cpp" "${flags[@]}"
LD_LIBRARY_PATH=$library_dir loadsMovedLibrary "$work/host/in_cpp"

cat >"$work/host/CMakeLists.txt" <<END
cmake_minimum_required(VERSION 3.25)
project(host LANGUAGES C)
find_package($name $(pkg-config --modversion $name) REQUIRED)
add_executable(by_cmake $host)
target_link_libraries(by_cmake PRIVATE zt::$name)
END
cmake -S "$work/host" -B "$work/host/build" -DCMAKE_C_COMPILER="$cc" \
    -DCMAKE_PREFIX_PATH="$root" >/dev/null
cmake --build "$work/host/build" >/dev/null
runHost "$work/host/build/by_cmake"

# Installed programs find the moved library by themselves.
for program in "${programs[@]}"; do
    "$root/bin/$program" --version
    loadsMovedLibrary "$root/bin/$program"
done
