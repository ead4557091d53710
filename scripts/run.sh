#!/usr/bin/env bash
# Sets up, builds, and plays audio files through the module: the samples, or the files given.
set -euo pipefail
files=()
for file in "$@"; do files+=("$(realpath "$file")"); done
cd "$(dirname "$0")/.."
source scripts/setup.sh
vantor_setup build

cmake --preset native -DVANTOR_TESTS=OFF >/dev/null
cmake --build --preset native >&2
[ ${#files[@]} -gt 0 ] || files=("$PWD"/samples/*.*)

out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
status=0
for file in "${files[@]}"; do
    case "$file" in *.md | *.txt | *.vwpeaks) continue ;; esac
    echo
    echo "=== $file"
    build/native/wavehost info "$file" || { status=1; continue; }
    build/native/wavehost markers "$file" || status=1
    build/native/wavehost render "$file" -o "$out/rendered.wav" --stats 2>&1 || status=1
done
exit $status
