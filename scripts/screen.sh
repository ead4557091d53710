#!/usr/bin/env bash
# Gives programs that open windows a screen: the one there is, else a virtual one.
# Usage: source scripts/screen.sh; vantor_screen; ... vantor_screen_end

vantor_screen() {
    [ -n "${DISPLAY:-}" ] && return 0
    local number tries=0
    number=$(mktemp)
    Xvfb -displayfd 3 -screen 0 1920x1200x24 -nolisten tcp 3>"$number" >/dev/null 2>&1 &
    vantor_screen_process=$!
    until [ -s "$number" ]; do
        [ $((tries += 1)) -le 300 ] || { echo "no virtual screen" >&2; return 1; }
        sleep 0.1
    done
    DISPLAY=":$(cat "$number")"
    export DISPLAY
    rm -f "$number"
}

vantor_screen_end() {
    [ -z "${vantor_screen_process:-}" ] || kill "$vantor_screen_process" 2>/dev/null || true
}
