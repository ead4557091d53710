#!/usr/bin/env bash
# Sets up, builds and runs every test: natively under AddressSanitizer and UndefinedBehaviorSanitizer, what threads share
# under ThreadSanitizer, and the Windows build under Wine.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/setup.sh
source scripts/screen.sh
vantor_setup test
out=$(mktemp -d)
trap 'rm -rf "$out"; vantor_screen_end' EXIT

build() {  # preset, further configure arguments
    local preset=$1
    shift
    cmake --preset "$preset" "$@" >/dev/null
    cmake --build --preset "$preset"
}

echo "== format"
git ls-files '*.c' '*.cpp' '*.h' | xargs clang-format --dry-run -Werror

echo "== what each lock guards"
printf '%s\n' src/source/*.cpp | xargs -P "$(nproc)" -n 4 \
    clang++ -std=c++20 -fsyntax-only -Wthread-safety -Werror=thread-safety -Isrc -Iinclude

echo "== what a compiler does not see, in the files changed last" # in all of them: scripts/tidy.sh, 8 minutes
scripts/tidy.sh --last 60

echo "== native"
build native -DVANTOR_TESTS=OFF

echo "== the guide for those who extend the module"
scripts/test_guide.py

echo "== address and undefined behaviour"
build asan
VANTOR_WAVEHOST="$PWD/build/native/wavehost" ctest --test-dir build/asan --output-on-failure --progress -j "$(nproc)"

echo "== threads"
cmake --preset tsan -DVANTOR_TEST_FOLDERS=source >/dev/null
cmake --build --preset tsan --target vantor_tests
build/tsan/vantor_tests --gtest_brief=1 --gtest_filter='-*Faults*:*Killed*' # those fail one operation after another

echo "== Windows, under Wine"
build windows
export WINEDEBUG=-all WINEPREFIX="${WINEPREFIX:-$PWD/build/wine}"
vantor_screen
wineboot -i >/dev/null 2>&1 || true
# No window manager runs there: Wine would wait two seconds for one whenever a window closes.
wine reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f >/dev/null
VANTOR_SCREEN=1 ctest --test-dir build/windows --output-on-failure -j "$(nproc)"

echo "== the same samples on both systems"
for file in samples/*.*; do
    case "$file" in *.md | *.txt | *.vwpeaks) continue ;; esac
    build/native/wavehost render "$file" -o "$out/native" --raw --format f64 2>/dev/null
    wine build/windows/wavehost.exe render "$file" -o "$out/windows" --raw --format f64 2>/dev/null
    cmp "$out/native" "$out/windows"
    echo "$file: $(stat -c %s "$out/native") bytes, the same"
done

echo "== packages, from empty places"
scripts/test_packages.sh
