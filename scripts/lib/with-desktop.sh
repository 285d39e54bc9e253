#!/usr/bin/env bash
# with-desktop.sh COMMAND...: runs it on a desktop of its own. That is a virtual screen, a session
# bus with accessibility, a home directory, and a /dev whose only serial port is ttyUSB0, unless
# PACKETBRASK_REAL_PORTS is set. Needs no privileges and leaves nothing behind; any number may run at
# once.
set -euo pipefail

library=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
private=$(mktemp -d "${TMPDIR:-/tmp}/packetbrask-desktop.XXXXXX")
screen=
finish() {
    if [[ -n $screen ]]; then
        kill "$screen" 2>/dev/null || true
        wait "$screen" 2>/dev/null || true
    fi
    rm -rf "$private"
}
trap finish EXIT
trap 'exit 130' INT
trap 'exit 143' TERM HUP

mkdir -m 700 "$private/home" "$private/run"
mkfifo "$private/display"
# The server picks a free display number by itself, so two of them never get the same one.
Xvfb -displayfd 3 -screen 0 "${PACKETBRASK_SCREEN:-1280x1024x24}" -nolisten tcp -noreset \
    3>"$private/display" >"$private/screen.log" 2>&1 &
screen=$!
if ! read -r -t 60 number <"$private/display"; then
    echo "The virtual screen did not start:" >&2
    cat "$private/screen.log" >&2
    exit 1
fi

# What the user's own desktop says about looks and languages must not change what the window does.
unset WAYLAND_DISPLAY XDG_SESSION_TYPE XDG_CURRENT_DESKTOP XAUTHORITY QT_STYLE_OVERRIDE
unset QT_QPA_PLATFORMTHEME QT_SCALE_FACTOR QT_FONT_DPI LANGUAGE NO_AT_BRIDGE
unset XDG_CONFIG_HOME XDG_CACHE_HOME XDG_DATA_HOME DBUS_SESSION_BUS_ADDRESS AT_SPI_BUS_ADDRESS
export DISPLAY=":$number" HOME="$private/home" XDG_RUNTIME_DIR="$private/run" LC_ALL=C.UTF-8
export QT_QPA_PLATFORM=xcb QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 PYTHONDONTWRITEBYTECODE=1

bed=(umockdev-run --device="$library/module.umockdev" --)
[[ -z ${PACKETBRASK_REAL_PORTS:-} ]] || bed=()
# The bus and what it starts have a lot to say; the command alone keeps the caller's outputs.
dbus-run-session -- bash -c 'exec "$@" >&3 2>&4 3>&- 4>&-' bash \
    "${bed[@]}" "$@" 3>&1 4>&2 >"$private/bus.log" 2>&1
