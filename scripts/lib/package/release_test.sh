#!/usr/bin/env bash
# release_test.sh SYSTEM: runs the promised commands in the Debian system, as a new ordinary user
# with a copy of the sources. Is run by root, in namespaces of its own for mounts and processes. Exit
# status: 1 when a command failed, 2 when none could be run.
set -eEuo pipefail
trap 'exit 2' ERR

project=$(cd "$(dirname "${BASH_SOURCE[0]}")/../../.." && pwd)
system=$1 user=tester

mount --bind "$system" "$system"
mount -t proc proc "$system/proc"
mount --rbind /sys "$system/sys"
mount --rbind /dev "$system/dev"
mount -t tmpfs -o mode=1777 shm "$system/dev/shm"
cp -L /etc/resolv.conf /etc/hosts /etc/hostname "$system/etc"
# Nothing is to start a service here; packages ask.
printf '#!/bin/sh\nexit 101\n' | install -m 755 /dev/stdin "$system/usr/sbin/policy-rc.d"
chroot "$system" useradd --create-home --shell /bin/bash "$user"
echo "$user ALL=(ALL) NOPASSWD: ALL" >"$system/etc/sudoers.d/$user"
mkdir "$system/home/$user/packetbrask"
tar -C "$project" --exclude=./build --exclude=./.git -c . | tar -C "$system/home/$user/packetbrask" -x
chroot "$system" chown -R "$user:" "/home/$user"

cat >"$system/run-commands" <<'SCRIPT'
set -euo pipefail
cd packetbrask
release="Debian $(cat /etc/debian_version)"
for command in 'demo --screenshot demo.png' test 'package --test'; do
    echo "== $release, $(date +%T): scripts/$command"
    # shellcheck disable=SC2086  # words
    scripts/$command || { echo "FAILED on $release: scripts/$command" >&2 && exit 1; }
done
echo "== $release, $(date +%T): all passed"
SCRIPT
# Not chroot: in such a place the kernel gives ordinary users no namespaces, which tests need.
cd "$system"
pivot_root . .
umount -l .
cd /
status=0
# The environment of a login, which names no language.
su --login "$user" --command 'bash /run-commands' || status=$?
exit "$((status > 0))"
