#!/usr/bin/env bash
# Makes the packages twice, wants the same bytes, and uses them from empty places: the .deb installed, the archives
# unpacked; example hosts built from each alone, the ones of the .zip for Windows and under Wine.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/setup.sh
vantor_setup test
vantor_setup package
tree=$PWD
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
export LC_ALL=C.UTF-8 WINEDEBUG=-all WINEPREFIX="${WINEPREFIX:-$PWD/build/wine}"
fail() {
    echo "test_packages: $*" >&2
    exit 1
}
same() {  # what, expected, found
    [ "$2" = "$3" ] || fail "$1: expected $2, found $3"
}

echo "-- twice the same bytes"
scripts/package.sh "$place/once" >/dev/null
(umask 077 && scripts/package.sh "$place/again" >/dev/null)
diff -r "$place/once" "$place/again" || fail "the packages differ"
cd "$place/once"
sha256sum --check --quiet SHA256SUMS
same "packages" 3 "$(wc -l <SHA256SUMS)"

echo "-- the .deb"
lintian --fail-on error ./*.deb >"$place/lintian" 2>&1 || fail "$(cat "$place/lintian")"
if [ "$(id -u)" -eq 0 ]; then
    mkdir -p "$place"/deb/var/lib/dpkg/{info,updates}
    touch "$place"/deb/var/lib/dpkg/{status,available}
    dpkg --root="$place/deb" --force-depends --force-script-chrootless --install ./*.deb >/dev/null 2>&1
    same "state of the package" "install ok installed" \
        "$(dpkg-query --admindir="$place/deb/var/lib/dpkg" -W -f '${Status}' vantor-wave)"
else
    dpkg-deb -x ./*.deb "$place/deb" # only root may install
fi

echo "-- the archives"
mkdir "$place/tar" "$place/zip"
tar -C "$place/tar" --strip-components=1 -xzf ./*.tar.gz
unzip -q ./*.zip -d "$place/unzipped"
mv "$place"/unzipped/*/* "$place/zip"
cd "$place"

echo "-- imports and exports"
# Symbols are hidden but for the entry; libraries are the compiler's run time and the system's.
same "exports of the module" VantorPluginEntry \
    "$(nm -D --defined-only tar/lib/vantor_wave/vantor_wave.so | awk '$2 == "T" {print $3}' | sed 's/@.*//')"
needed=$(readelf -d tar/lib/vantor_wave/vantor_wave.so | sed -n 's/.*NEEDED.*\[\(.*\)\]/\1/p' |
    grep -vE '^(libstdc\+\+|libm|libgcc_s|libc|ld-linux-x86-64)\.so\.[0-9]+$' || true)
same "libraries of the module" "" "$needed"
dll=zip/lib/vantor_wave/vantor_wave.dll
objdump -p "$dll" >dll
same "exports of the DLL" VantorPluginEntry \
    "$(sed -n '/^\[Ordinal\/Name Pointer\]/,/^$/p' dll | sed -n 's/.*\] //p' | awk '{print $NF}' | grep -v Table)"
for file in "$dll" zip/bin/wavehost.exe; do
    imported=$(objdump -p "$file" | sed -n 's/.*DLL Name: //p' | tr '[:upper:]' '[:lower:]' | sort -u)
    [ -n "$imported" ] || fail "$file: no imports were read"
    foreign=$(grep -vE '^(kernel32|msvcrt|user32|gdi32|comctl32|comdlg32|advapi32|shell32|ole32|oleaut32|bcrypt|gdiplus|uxtheme|ws2_32)\.dll$' \
        <<<"$imported" || true)
    same "foreign libraries of $file" "" "$foreign"
done

echo "-- one version"
version=$(sed -n 's/^project(vantor_wave VERSION \([0-9.]*\).*/\1/p' "$tree/CMakeLists.txt")
same "wavehost --version" "wavehost $version" "$(tar/bin/wavehost --version)"
grep -q "vantor_wave $version" tar/share/man/man1/wavehost.1 || fail "the manual page has another version"
grep -q "^## $version" tar/share/doc/vantor_wave/CHANGELOG.md || fail "the changelog does not know $version"
same "pkg-config" "$version" "$(PKG_CONFIG_PATH=tar/lib/pkgconfig pkg-config --modversion vantor_wave)"
for file in "$dll" zip/bin/wavehost.exe; do
    same "version of $file" "$version" "$(exiftool -s3 -ProductVersion "$file")"
done
man --warnings -E UTF-8 -l -Tutf8 -Z tar/share/man/man1/wavehost.1 2>&1 >/dev/null | grep . && fail "the manual page"
bash -n tar/share/bash-completion/completions/wavehost

echo "-- hosts"
wineboot -i >/dev/null 2>&1 || true
samples=(tagged.wav ms-adpcm.wav wave64.w64 aiff.aif caf-little.caf sliced-loop.wav)
mkdir -p "$place/sounds"
for file in "${samples[@]}"; do cp "$tree/samples/$file" "sounds/Tür $file"; done
tags() {  # a value of several lines is shown in one, or as it is
    tr -d '\r' | grep -vE '^(CART:TagText=.*)?$' || true
}
play() {  # name of the run, module, how to start a host..., -- ; the samples, and tags, of all files
    local run=$1 module=$2
    shift 2
    for file in sounds/*; do
        "$@" "$module" "$file" >"$run.raw" 2>"$run.tags" || fail "$run: $file: $(cat "$run.tags")"
        cmp "$run.raw" "expected/$(basename "$file").raw" || fail "$run plays $file otherwise"
        diff <(tags <"$run.tags") "expected/$(basename "$file").tags" || fail "$run tells other tags of $file"
    done
    "$@" "$module" "$tree/README.md" >/dev/null 2>"$run.tags" && fail "$run plays a text"
    grep -q "^play_file: Unknown file header" "$run.tags" || fail "$run says of a text: $(cat "$run.tags")"
    "$@" "$module" 2>/dev/null && fail "$run takes one argument"
    "$@" "$tree/README.md" "$file" 2>/dev/null && fail "$run loads a text"
    return 0
}
mkdir expected
for file in sounds/*; do
    tar/bin/wavehost render "$file" --raw --format f64 -o - 2>/dev/null >"expected/$(basename "$file").raw"
    tar/bin/wavehost meta list "$file" | tags >"expected/$(basename "$file").tags"
done
host() {  # prefix, folder of the examples, options: builds both hosts with what the prefix holds
    cmake -S "$2" -B "$1-build" -DCMAKE_PREFIX_PATH="$place/$1" -DCMAKE_BUILD_TYPE=Release "${@:3}" >/dev/null
    cmake --build "$1-build" >/dev/null
}
host deb/usr deb/usr/share/doc/vantor-wave/examples
host tar tar/share/doc/vantor_wave/examples
host zip zip/share/doc/vantor_wave/examples "-DCMAKE_TOOLCHAIN_FILE=$tree/cmake/mingw-w64.cmake" \
    "-DCMAKE_FIND_ROOT_PATH=$place/zip" -DCMAKE_EXE_LINKER_FLAGS=-static
read -ra flags <<<"$(PKG_CONFIG_PATH=tar/lib/pkgconfig pkg-config --cflags vantor_wave)"
cc -std=c99 -pedantic-errors -Wall -Wextra -Wno-unused-parameter -Werror "${flags[@]}" \
    tar/share/doc/vantor_wave/examples/play_file.c -o play_file_by_hand -ldl
play deb-c deb/usr/lib/vantor_wave/vantor_wave.so deb/usr-build/play_file_c
play deb-cpp deb/usr/lib/vantor_wave/vantor_wave.so deb/usr-build/play_file_cpp
play tar-c tar/lib/vantor_wave/vantor_wave.so ./play_file_by_hand
play tar-cpp tar/lib/vantor_wave/vantor_wave.so tar-build/play_file_cpp
play zip-c zip/lib/vantor_wave/vantor_wave.dll wine zip-build/play_file_c.exe
play zip-cpp zip/lib/vantor_wave/vantor_wave.dll wine zip-build/play_file_cpp.exe
deb/usr/bin/wavehost info "${samples[@]/#/sounds/Tür }" >/dev/null
wine zip/bin/wavehost.exe render "sounds/Tür tagged.wav" --raw --format f64 -o zip.raw 2>/dev/null
cmp zip.raw "expected/Tür tagged.wav.raw"
echo "packages: all right"
