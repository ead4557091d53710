#!/usr/bin/env bash
# Installs what is missing of the packages for a job, with apt-get (through sudo when not root).
# Usage: source scripts/setup.sh; vantor_setup build, test, package, bench, coverage, mutate, tidy, includes or fuzz

vantor_packages_build="g++ cmake ninja-build ccache pkg-config libsamplerate0-dev libcairo2-dev libcsv-dev libcli11-dev
    nlohmann-json3-dev libssl-dev"
vantor_packages_test="$vantor_packages_build git clang clang-format clang-tidy googletest libgtest-dev libgmock-dev
    g++-mingw-w64-x86-64-posix wine wine64 xvfb
    libsndfile1-dev sndfile-programs sox libsox-fmt-all ffmpeg libimage-exiftool-perl libtag1-dev python3-mutagen mediainfo
    libxml2-utils lintian man-db unzip chromium"
vantor_packages_package="$vantor_packages_build git g++-mingw-w64-x86-64-posix dpkg-dev binutils xz-utils zip"
vantor_packages_bench="$vantor_packages_build libbenchmark-dev libsndfile1-dev"
vantor_packages_coverage="$vantor_packages_test gcovr"
vantor_packages_mutate="$vantor_packages_test python3-clang-14"
vantor_packages_tidy="$vantor_packages_build git clang clang-tidy"
vantor_packages_includes="$vantor_packages_tidy iwyu"
vantor_packages_fuzz="$vantor_packages_build clang llvm"

vantor_setup() {
    local list="vantor_packages_$1" missing=() package
    for package in ${!list}; do
        dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q '^install ok installed' ||
            missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    local sudo=""
    [ "$(id -u)" -eq 0 ] || sudo=sudo
    echo "Installing: ${missing[*]}" >&2
    $sudo apt-get update -q >&2
    $sudo env DEBIAN_FRONTEND=noninteractive apt-get install -qy --no-install-recommends "${missing[@]}" >&2
}
