#!/usr/bin/env bash
# with-module.sh MODULE WINDOW [MODULE-OPTION...]: inside of the test bed, runs the window until it
# closes, with the module behind /dev/ttyUSB0. The exit code is the window's. On a terminal the
# module draws its screen meanwhile, so the window's messages are kept back.
set -euo pipefail

module=$1 window=$2
shift 2
node=$UMOCKDEV_DIR/dev/ttyUSB0
logs=$(mktemp -d "${TMPDIR:-/tmp}/packetbrask-demo.XXXXXX")
module_id=
finish() {
    if [[ -n $module_id ]]; then
        kill "$module_id" 2>/dev/null || true
        wait "$module_id" 2>/dev/null || true
    fi
    rm -rf "$logs"
}
trap finish EXIT
trap 'exit 130' INT
trap 'exit 143' TERM HUP

module_output=$logs/module
[[ -t 1 ]] && module_output=/dev/stdout
rm -f "$node" # the test bed's own, which nobody answers
# Outside of the test bed the module gets a real pseudo-terminal.
env -u LD_PRELOAD "$module" --link "$node" "$@" >"$module_output" 2>"$logs/module-errors" &
module_id=$!
until [[ -e $node ]]; do
    if ! kill -0 "$module_id" 2>/dev/null; then
        echo "The simulated module did not start:" >&2
        cat "$logs/"module* >&2
        exit 1
    fi
    sleep 0.05
done

"$window" >"$logs/window" 2>&1 || {
    code=$?
    echo "The window ended with $code:" >&2
    tail -n 60 "$logs/window" >&2
    exit "$code"
}
