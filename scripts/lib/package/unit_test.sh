#!/usr/bin/env bash
# unit_test.sh DEB: checks the package's unit and udev rule as if it were installed here, has udev
# apply the rule to an adapter of a test bed, and runs the unit's command on a simulated module with
# as many of the unit's restrictions as go without systemd. Changes nothing outside of a temporary
# directory: it works in a namespace of its own, with the package laid over /usr.
set -euo pipefail

library=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
unit=packetbrask@ttyUSB0.service
rule=85-packetbrask.rules
device=/sys/devices/pci0000:00/usb1/1-1/1-1:1.0/ttyUSB0/tty/ttyUSB0
serial=FT1234AB
# Of 100, as "systemd-analyze security" counts.
most_exposure=15

fail() { echo "FAILED: $*" >&2 && exit 1; }

check_unit() {
    local found page
    found=$(systemd-analyze verify "$unit" 2>&1) || fail "verify: $found"
    [[ -z $found ]] || fail "verify: $found" # a key that it does not know, say
    for page in $(setting Documentation); do
        [[ $page != file://* || -e ${page#file://} ]] || fail "there is no ${page#file://}"
    done
    found=$(systemd-analyze security --no-pager --offline=true --threshold="$most_exposure" \
        "$unit") || fail "more exposed than $most_exposure of 100: $found"
    sed -n 's/^→ //p' <<<"$found"
}

# wants: what udev makes of an adapter that is plugged in, by all of this system's rules.
wants() {
    local told complaints=$work/complaints
    told=$(SYSTEMD_LOG_LEVEL=info udevadm test --action=add "$device" 2>"$complaints") ||
        fail "udevadm: $(cat "$complaints")"
    ! grep -F packetbrask "$complaints" >&2 || fail "udev finds fault with the rule"
    sed -n 's/^ *SYSTEMD_WANTS=//p' <<<"$told"
}

check_rule() {
    [[ -z $(wants) ]] || fail "the rule is switched on by the package alone"
    mkdir -p /run/udev/rules.d # stands before /usr/lib, as /etc does
    cp "/usr/share/doc/packetbrask/examples/$rule" /run/udev/rules.d
    [[ $(wants) == "$unit" ]] || fail "an adapter that is plugged in starts '$(wants)'"
    echo "udev starts $unit"
}

setting() { sed -n "s/^$1=//p" "/usr/lib/systemd/system/packetbrask@.service"; }

# permitted: the system calls that the unit's filters leave.
permitted() {
    local filters kept
    mapfile -t filters < <(setting SystemCallFilter)
    [[ ${#filters[@]} == 2 && ${filters[0]} != '~'* && ${filters[1]} == '~'* ]] ||
        fail "filters other than one that permits and one that forbids"
    kept=$(members "${filters[0]}")
    # shellcheck disable=SC2086  # names of groups
    comm -23 <(sort -u <<<"$kept") <(members ${filters[1]#'~'} | sort -u)
}

# members GROUP...: system calls, those of groups within included.
members() {
    local name
    systemd-analyze syscall-filter --no-pager "$@" | sed -n 's/^ \+\([-@a-z0-9_]\+\).*/\1/p' |
        while IFS= read -r name; do
            if [[ $name == @* ]]; then members "$name"; else echo "$name"; fi
        done
}

# The command as systemd would give it, with shorter options.
run_command() {
    local command
    command=$(setting ExecStart)
    command=${command//%I/ttyUSB0}
    # shellcheck disable=SC2016  # the unit's variable
    [[ $command == *' $OPTIONS' ]] || fail "the command is '$command'"
    export STATE_DIRECTORY=$work/state
    mkdir "$STATE_DIRECTORY" "$work/view"
    mount --rbind / "$work/view"
    mount -o remount,bind,ro "$work/view"
    mount --bind "$STATE_DIRECTORY" "$work/view$STATE_DIRECTORY"
    # PR_SET_MDWE; older kernels do not know it.
    # shellcheck disable=SC2016,SC2086  # the inner shell's variables; words of options
    chroot "$work/view" unshare -n setpriv --no-new-privs --bounding-set=-all --inh-caps=-all \
        strace -qq -f -o "$STATE_DIRECTORY/calls" /usr/bin/python3 -c '
import ctypes, os, sys
ctypes.CDLL(None).prctl(65, 1, 0, 0, 0)
os.execv(sys.argv[1], sys.argv[1:])' ${command%' $OPTIONS'} --rate 100 --duration 2 \
        --max-left-out 100 # strace makes it slow
}

check_report() {
    local reports=("$STATE_DIRECTORY/$serial"-*.json)
    [[ ${#reports[@]} == 1 && -s ${reports[0]} ]] || fail "no report: $(ls "$STATE_DIRECTORY")"
    /usr/bin/python3 - "${reports[0]}" "$serial" <<'SCRIPT' || fail "not the report of that run"
import json, sys
report = json.load(open(sys.argv[1], encoding="utf-8"))
print(report["packetsSent"], "pings sent,", report["packetsLost"], "lost, tags", report["tags"])
sys.exit(not (report["verdict"] == "passed" and report["packetsSent"] > 20
              and report["tags"] == {"adapter": sys.argv[2]}))
SCRIPT
    # Up to where Python becomes the command the calls are not the command's.
    local used forbidden
    used=$(sed -n '/execve(.*test-port"/,$p' "$STATE_DIRECTORY/calls" |
        sed -n 's/^[0-9]* \+\([a-z0-9_]\+\)(.*/\1/p' | sort -u)
    [[ $used == *write* ]] || fail "no system calls were seen"
    forbidden=$(comm -23 <(echo "$used") <(permitted))
    [[ -z $forbidden ]] || fail "the filter forbids $forbidden"
    echo "$(wc -l <<<"$used") system calls used, all of them permitted"
}

# In the namespace, and in a test bed with the adapter.
inside() {
    local node=$UMOCKDEV_DIR/dev/ttyUSB0 package=$work/package
    mount -t overlay overlay -o "lowerdir=$package/usr:/usr" /usr
    check_unit
    rm -f "$node"
    env -u LD_PRELOAD packetbrask-module --link "$node" >"$work/line" &
    local module=$!
    # shellcheck disable=SC2064  # now
    trap "kill $module; wait $module || true" EXIT
    until [[ -e $node ]]; do
        kill -0 "$module" || fail "the module did not start"
        sleep 0.05
    done
    mount -t tmpfs none /run
    check_rule
    run_command
    check_report
}

if [[ ${1:-} == --inside ]]; then
    work=$2
    inside
    exit
fi
work=$(mktemp -d "${TMPDIR:-/tmp}/packetbrask-unit.XXXXXX")
trap 'rm -rf "$work"' EXIT
trap 'exit 130' INT
trap 'exit 143' TERM HUP
dpkg-deb -x "$1" "$work/package"
# The test bed is made outside, so that it is removed from outside.
env TMPDIR="$work" timeout 120 umockdev-run --device="$library/adapter.umockdev" -- \
    unshare -rm bash "${BASH_SOURCE[0]}" --inside "$work"
