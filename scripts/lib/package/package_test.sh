#!/usr/bin/env bash
# package_test.sh DEB PICTURE: installs the package, with what it depends on and nothing else, into
# a small Debian system that is removed at the end, and starts the installed programs there. Runs
# under with-desktop.sh, whose screen can be reached from the small system too.
set -euo pipefail

package=$1 picture=$2
# What the package was made on.
suite=$(sed -n 's/^VERSION_CODENAME=//p' /etc/os-release)
work=$(mktemp -d "${TMPDIR:-/tmp}/packetbrask-package.XXXXXX")
trap 'rm -rf "$work"' EXIT
trap 'exit 130' INT
trap 'exit 143' TERM HUP
chmod 755 "$work" # mmdebstrap may look at it as another user
cp "$package" "$work/packetbrask.deb"

cat >"$work/in-system.sh" <<'SCRIPT'
set -euo pipefail
system=$1 result=$2
# An array, for a function in the background would be a process between this one and the program.
inside=(chroot "$system" env -i PATH=/usr/bin:/bin HOME=/tmp LC_ALL=C.UTF-8 DISPLAY="$DISPLAY")
fail() { echo "FAILED: $*" >&2 && exit 1; }

"${inside[@]}" packetbrask-run --version
"${inside[@]}" packetbrask-module --help >/dev/null
for program in packetbrask packetbrask-module packetbrask-run packetbrask-survey packetbrask-report; do
    "${inside[@]}" test -s "/usr/share/man/man1/$program.1.gz" || fail "no manual page of $program"
done
"${inside[@]}" packetbrask-report --version
"${inside[@]}" packetbrask-survey --version

"${inside[@]}" sh -c 'cd /tmp && exec packetbrask' >"$system/tmp/window.log" 2>&1 &
window=$!
trap 'kill "$window" 2>/dev/null; wait "$window" || true' EXIT # or mmdebstrap would wait for it
# Ends by itself when the window is there; --sync alone would outlive a program that has failed.
number=$(timeout 60 xdotool search --sync --onlyvisible --name 'Packet Brask' | head -n 1) || true
if [[ -z $number ]] || ! kill -0 "$window" 2>/dev/null; then
    cat "$system/tmp/window.log" >&2
    fail "the installed window did not come up"
fi
until xdotool search --onlyvisible --name 'Packet Brask' >/dev/null; do sleep 0.1; done
for _ in {1..100}; do
    import -window "$number" "png:$result"
    colours=$(identify -format %k "$result")
    ((colours < 20)) || break # nothing but a background has been drawn yet
    sleep 0.1
done
((colours >= 20)) || fail "the window stays empty"
class=$(xprop -id "$number" WM_CLASS | sed 's/.*"\(.*\)".*"\(.*\)".*/\1/')
"${inside[@]}" grep -qx "StartupWMClass=$class" /usr/share/applications/example.varnott.PacketBrask.desktop ||
    fail "no desktop entry is for windows of the class '$class'"
echo "The installed window came up with the class $class"
SCRIPT
touch "$work/result.png"
chmod 666 "$work/result.png"

# The description of devices is for programs outside.
# shellcheck disable=SC2016  # the hook's own shell knows where the small system is
timeout 500 env -u LD_PRELOAD -u UMOCKDEV_DIR mmdebstrap --variant=apt --format=null \
    --customize-hook="copy-in '$work/packetbrask.deb' /tmp" \
    --customize-hook='chroot "$1" apt-get install -y --no-install-recommends /tmp/packetbrask.deb' \
    --customize-hook="bash '$work/in-system.sh' \"\$1\" '$work/result.png'" \
    "$suite" - >"$work/log" 2>&1 || {
    tail -n 30 "$work/log" >&2
    exit 1
}
grep '^The installed window' "$work/log"
cp "$work/result.png" "$picture"
echo "Picture: $picture"
