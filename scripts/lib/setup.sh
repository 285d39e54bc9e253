# shellcheck shell=bash
# Debian packages of this project, and the function that installs the missing ones. Sourced.

# To build the programs, and to run the window with a simulated module.
# shellcheck disable=SC2034  # read by the scripts that source this file
run_packages=(g++ cmake ninja-build pkg-config qt6-base-dev libudev-dev libboost-dev libjs-chart.js
    umockdev fonts-dejavu-core)

# To drive the window on a virtual screen and to take its picture.
# shellcheck disable=SC2034  # read by the scripts that source this file
gui_packages=(xvfb xdotool dbus at-spi2-core python3 python3-gi gir1.2-atspi-2.0 imagemagick)

# To look at the pages of reports in a browser, and to hold reports against their schema.
# shellcheck disable=SC2034  # read by the scripts that source this file
browser_packages=(chromium chromium-driver python3-selenium python3-jsonschema)

# To build the benchmarks and to run them on a virtual screen.
# shellcheck disable=SC2034  # read by the scripts that source this file
bench_packages=(libbenchmark-dev libxcb1-dev xvfb python3)

# To build the fuzzers, to name the lines of what they find and to tell what they reach.
# shellcheck disable=SC2034  # read by the scripts that source this file
fuzz_packages=(clang libclang-rt-dev llvm)

# To check the sources, and to draw which room includes which.
# shellcheck disable=SC2034  # read by the scripts that source this file
lint_packages=(clang-format clang-tidy clazy cppcheck shellcheck graphviz)

# To make the Debian package, to check it, and to install it into a system of its own.
# shellcheck disable=SC2034  # read by the scripts that source this file
package_packages=(help2man librsvg2-bin dpkg-dev file lintian desktop-file-utils appstream)
# shellcheck disable=SC2034  # read by the scripts that source this file
package_test_packages=(mmdebstrap uidmap x11-utils systemd udev man-db strace)

# To make a system of another Debian release.
# shellcheck disable=SC2034  # read by the scripts that source this file
release_packages=(mmdebstrap)

# To try the programs on the drivers of a kernel of its own, in an emulated machine.
# shellcheck disable=SC2034  # read by the scripts that source this file
machine_packages=(qemu-system-x86 busybox-static kmod cpio udev python3)

# To try a rack of stations on this machine. The daemon's package is installed by install_daemon.
# shellcheck disable=SC2034  # read by the scripts that source this file
station_packages=(parallel openssh-client umockdev python3)

is_installed() {
    [[ $(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null) == installed ]]
}

# install_missing PACKAGE...: asks neither apt nor sudo for anything when all of them are there.
install_missing() {
    local package missing=() as_root=()
    for package in "$@"; do
        is_installed "$package" || missing+=("$package")
    done
    ((${#missing[@]})) || return 0

    local plea="Please install these Debian packages first: ${missing[*]}"
    if ((EUID != 0)); then
        if ! command -v sudo >/dev/null; then
            echo "$plea" >&2
            return 1
        fi
        as_root=(sudo)
    fi
    local apt=(env DEBIAN_FRONTEND=noninteractive apt-get -qq -o DPkg::Lock::Timeout=300)
    echo "Installing ${missing[*]}" >&2
    # A package list that could not be refreshed may still be good enough to install from.
    "${as_root[@]}" "${apt[@]}" update >&2 </dev/null || true
    if ! "${as_root[@]}" "${apt[@]}" install -y --no-install-recommends "${missing[@]}" \
        >&2 </dev/null; then
        echo "$plea" >&2
        return 1
    fi
}

# install_daemon PACKAGE SERVICE: the program alone; its service is neither started nor will it be.
install_daemon() (
    package=$1 service=$2 policy=/usr/sbin/policy-rc.d as_root=()
    ! is_installed "$package" || exit 0
    if ((EUID != 0)) && command -v sudo >/dev/null; then as_root=(sudo); fi
    # Debian's own means: it is asked before a package starts a service.
    if [[ ! -e $policy ]] && printf '#!/bin/sh\nexit 101\n' |
        "${as_root[@]}" install -m 755 /dev/stdin "$policy" 2>/dev/null; then
        trap '"${as_root[@]}" rm -f "$policy"' EXIT
    fi
    install_missing "$package" || exit
    ! command -v systemctl >/dev/null || "${as_root[@]}" systemctl --quiet disable "$service" >&2
)
