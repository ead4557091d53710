#!/usr/bin/env bash
# Builds with coverage counters, runs every test natively and shows which lines of src/ no test reaches.
# Usage: scripts/coverage.sh [FILE...]   with files: their lines that were not reached
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/setup.sh
vantor_setup coverage

cmake --preset coverage >/dev/null
cmake --build --preset coverage
find build/coverage -name '*.gcda' -delete
ctest --test-dir build/coverage --output-on-failure -j "$(nproc)"

if [ $# -gt 0 ]; then
    for file in "$@"; do
        gcovr -r . --object-directory build/coverage --filter "$file" --txt-metric line
    done
else
    gcovr -r . --object-directory build/coverage --filter src/ --sort-uncovered
fi
