#!/usr/bin/env bash
# Makes the Debian packages of the library and, when TOOL_BUILD is given, of the tool, and lets
# lintian judge them. Usage: packaging_debian_test.sh LIBRARY_BUILD [TOOL_BUILD]
set -euo pipefail
library_build=$1
tool_build=${2:-}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# makePackages BUILD COMPONENT...: packages appear in $work.
makePackages() {
    local build=$1 components
    shift
    components=$(IFS=';' && echo "$*")
    (cd "$build" && cpack -G DEB -B "$work" -D CPACK_COMPONENTS_ALL="$components") >"$work/log" ||
        { cat "$work/log" && return 1; }
    rm -rf "$work/_CPack_Packages"
}

# expectFile PACKAGE PATH: the package holds a file whose whole path matches.
expectFile() {
    dpkg-deb --fsys-tarfile "$work/$1"_*.deb | tar -t | grep -x "\./usr/$2" >/dev/null ||
        { echo "$1 lacks $2" && return 1; }
}

library=libzt-trans-audio-converter
makePackages "$library_build" runtime development
expectFile $library 'lib/[^/]*/libzt_trans_audio_converter\.so'
expectFile $library-dev include/zt_trans_audio_converter.h
expectFile $library-dev include/zt_trans_audio_converter.hpp
expectFile $library-dev 'lib/[^/]*/pkgconfig/zt_trans_audio_converter\.pc'
lintian --allow-root --fail-on error,warning "$work"/*.deb

if [ -n "$tool_build" ]; then
    makePackages "$tool_build" tool
    expectFile zt-audio-convert bin/zt-audio-convert
    expectFile zt-audio-convert 'share/man/man1/zt-audio-convert\.1\.gz'
    lintian --allow-root --fail-on error "$work"/zt-audio-convert_*.deb
fi
