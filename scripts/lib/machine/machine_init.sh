#!/bin/busybox sh
# shellcheck shell=dash
# First program of the machine test's guest, in its initial file system: puts a writable layer over
# the host's files and goes on there. The kernel hands over two variables of its command line: GUEST,
# the program to go on with, and MODULES, the directory with the kernel's modules.
set -e
/bin/busybox --install -s /bin
mkdir -p /proc /host /layer /system
mount -t proc proc /proc
for module in virtio_pci 9pnet_virtio 9p overlay; do modprobe "$module"; done
mount -t 9p -o ro,trans=virtio,version=9p2000.L,msize=262144,cache=loose host /host
mount -t tmpfs layer /layer
mkdir /layer/upper /layer/work
mount -t overlay -o lowerdir=/host,upperdir=/layer/upper,workdir=/layer/work overlay /system
umount /proc
mkdir -p /system/usr/lib/modules
# shellcheck disable=SC2153  # the kernel's command line has it
ln -s "$MODULES" /system/usr/lib/modules/
exec switch_root /system "$GUEST"
