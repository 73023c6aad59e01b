# shellcheck shell=bash
# Sourced by the scripts of this folder: installs missing Debian packages.

# needPackages NAME...: returns when all are installed. Installs the missing ones with apt-get where
# that is allowed without a question; otherwise prints the line to type and exits with status 1.
needPackages() {
    local package missing=()
    for package in "$@"; do
        if ! dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q '^install ok installed$'; then
            missing+=("$package")
        fi
    done
    if [ ${#missing[@]} -eq 0 ]; then
        return
    fi

    local as_root=() line="apt-get update && apt-get install ${missing[*]}"
    if [ "$(id -u)" -ne 0 ]; then
        as_root=(sudo -n)
        if command -v sudo >/dev/null; then
            line="sudo apt-get update && sudo apt-get install ${missing[*]}"
        else
            line="su -c \"$line\""
        fi
    fi
    echo "Installing ${missing[*]}" >&2
    if ! { "${as_root[@]}" true 2>/dev/null &&
        "${as_root[@]}" apt-get -qq update &&
        DEBIAN_FRONTEND=noninteractive "${as_root[@]}" apt-get -qq -y --no-install-recommends \
            install "${missing[@]}"; } >&2; then
        echo "These packages are missing. Please type:" >&2
        echo "    $line" >&2
        exit 1
    fi
}

# What the whole tree, its tests and its packages are built with.
needTestPackages() {
    needPackages cmake g++ clang make pkg-config binutils python3 libgtest-dev libbenchmark-dev \
        libcli11-dev libsndfile1-dev alsa-utils abigail-tools help2man lintian doxygen \
        dpkg-dev file parallel
}
