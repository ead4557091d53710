#!/usr/bin/env bash
# Runs clang-tidy (.clang-tidy says which checks) over src/ and tools/, or over the files given, and clang's analysis of
# what each lock guards. Usage: scripts/tidy.sh [FILE...]
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/setup.sh
vantor_setup tidy

cmake --preset tidy >/dev/null
cmake --build --preset tidy
files=("$@")
[ ${#files[@]} -gt 0 ] || mapfile -t files < <(git ls-files 'src/*.cpp' 'tools/*.cpp' | grep -v '_windows\.cpp$\|_sinc\.cpp$')
printf '%s\n' "${files[@]}" | xargs -P "$(nproc)" -n 4 clang-tidy -p build/tidy --quiet
