#!/usr/bin/env bash
# Runs clang-tidy (.clang-tidy says which checks) over src/ and tools/, or over the files given, and clang's analysis of
# what each lock guards. Usage: scripts/tidy.sh [FILE...]
#   --last N              clang-tidy alone, over the N files that were changed last
#   --includes [FILE...]  instead: headers of this project that a file includes and does not use
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/setup.sh
vantor_setup tidy
cmake --preset tidy >/dev/null

files() {  # of the files named, those that this system compiles; a header stands for the file it belongs to
    sed 's/\.h$/.cpp/' | awk '!seen[$0]++' | grep '\.cpp$' | grep -v '_windows\.cpp$\|_sinc\.cpp$' |
        while read -r file; do [ ! -f "$file" ] || echo "$file"; done
}

tidy() {
    xargs -P "$(nproc)" -n 2 bash -c '
        printf "%s\n" "$@"
        clang-tidy -p build/tidy --quiet "$@" 2> >(grep -v "warnings generated" >&2)' tidy
}

case "${1:-}" in
    --last)
        git log --format= --name-only -- src tools | files | awk -v most="$2" 'NR <= most' | tidy
        ;;
    --includes)
        shift
        vantor_setup includes
        # The headers that hosts include bring others with them; of the standard library's it knows too little.
        printf '%s\n' "${@:-$(git ls-files src tools)}" | files |
            xargs -P "$(nproc)" -n 8 bash -c 'iwyu_tool -p build/tidy "$@" -- -Xiwyu --no_fwd_decls' iwyu |
            awk '/ should remove these lines:$/ {file = $1} /^- #include "/ {sub(ENVIRON["PWD"] "/", "", file); print file ": " $3}' |
            { grep -v '"vantor_wave/\|"host/host_services.h"' || true; } | sort -u
        ;;
    *)
        cmake --build --preset tidy
        printf '%s\n' "${@:-$(git ls-files src tools)}" | files | tidy
        ;;
esac
