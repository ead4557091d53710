#!/usr/bin/env bash
# Sets up, builds, and runs the fuzz targets, two at a time: scripts/fuzz.sh [SECONDS [TARGET...]]. New inputs stay in
# build/fuzz/corpus/TARGET; what breaks a target is put into fuzz/crashes/TARGET, where the tests find it again.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/setup.sh
vantor_setup fuzz

seconds=${1:-60}
shift || true
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz

targets=("$@")
[ ${#targets[@]} -gt 0 ] || mapfile -t targets < <(sed -n 's/.*Target{"\([a-z0-9_]*\)".*/\1/p' fuzz/targets.h)

# What the sanitizer keeps of freed memory counts as resident.
export ASAN_OPTIONS=quarantine_size_mb=16

run() {
    local target=$1 found=build/fuzz/corpus/$1 seeds=(fuzz/corpus/"$1") longest=4096
    case $target in
        check_repair) longest=16384 seeds+=(samples samples/broken) ;;
        play_* | metadata_source | edit_metadata) longest=16384 seeds+=(samples) ;;
    esac
    mkdir -p "$found" "fuzz/crashes/$target"
    echo "== $target"
    build/fuzz/fuzz_"$target" -max_total_time="$seconds" -max_len=$longest -timeout=1 -entropic=0 -rss_limit_mb=256 \
        -malloc_limit_mb=256 -dict=fuzz/chunks.dict -artifact_prefix="fuzz/crashes/$target/" -print_final_stats=1 \
        "$found" "${seeds[@]}" >"build/fuzz/$target.log" 2>&1 || {
        echo "== $target broke: build/fuzz/$target.log" >&2
        return 1
    }
    rmdir --ignore-fail-on-non-empty "fuzz/crashes/$target"
}
export -f run
export seconds
printf '%s\n' "${targets[@]}" | xargs -P 2 -I{} bash -c 'run {}'
