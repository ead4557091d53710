#!/usr/bin/env bash
# Sets up, builds the module and its benchmarks for speed, runs them and prints the table of ratios.
# Usage: scripts/bench.sh [--quick] [FILTER]   FILTER: a regular expression on the names of the rows
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/setup.sh
vantor_setup bench

arguments=()
for argument in "$@"; do
    case "$argument" in
        --*) arguments+=("$argument") ;;
        *) arguments+=("--benchmark_filter=$argument") ;;
    esac
done

cmake --preset release >/dev/null
cmake --build --preset release --target vantor_bench >&2
lscpu | grep -E '^(Model name|CPU\(s\)|L[123]d? cache)' | sed 's/  */ /g'
uname -sr
echo
build/release/vantor_bench "${arguments[@]}"
