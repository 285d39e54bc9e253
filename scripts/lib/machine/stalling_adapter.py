#!/usr/bin/python3
"""stalling_adapter.py BYTES: plugs in an FTDI adapter that takes so many bytes and then no more.

It is a device of the kernel's virtual host controller, which hands every USB request over in the
USB/IP protocol; the real driver is on top. Nothing is ever received from it. Runs as root until it
is ended, which pulls the adapter out.
"""

import pathlib
import socket
import struct
import sys

UNLINK, SUBMIT_DONE, UNLINK_DONE = 2, 3, 4
REQUEST = struct.Struct(">5I 2I 3i 8s")
SUBMITTED = struct.Struct(">5I 5i 8x")
UNLINKED = struct.Struct(">5I i 24x")
NO_SUCH_REQUEST, TAKEN_BACK = -32, -104  # EPIPE, ECONNRESET
DEVICE, FULL_SPEED = 1, 2

DEVICE_DESCRIPTOR = struct.pack("<BBHBBBBHHHBBBB", 18, 1, 0x200, 0, 0, 0, 64,
                                0x0403, 0x6001, 0x0400, 0, 1, 0, 1)
CONFIGURATION = (struct.pack("<BBHBBBBB", 9, 2, 32, 1, 1, 0, 0x80, 50)
                 + struct.pack("<BBBBBBBBB", 9, 4, 0, 0, 2, 0xFF, 0xFF, 0xFF, 0)
                 + struct.pack("<BBBBHB", 7, 5, 0x81, 2, 64, 0)
                 + struct.pack("<BBBBHB", 7, 5, 0x02, 2, 64, 0))
LANGUAGES = b"\x04\x03\x09\x04"
PRODUCT = "Stalling adapter".encode("utf-16le")
DESCRIPTORS = {0x100: DEVICE_DESCRIPTOR, 0x200: CONFIGURATION, 0x300: LANGUAGES,
               0x301: bytes((len(PRODUCT) + 2, 3)) + PRODUCT}


class StallingAdapter:
    def __init__(self, line, room):
        self.line = line
        self.room = room

    def serve(self):
        while header := self.line.recv(REQUEST.size, socket.MSG_WAITALL):
            kind, number, _, to_host, endpoint, _, length, *_, setup = REQUEST.unpack(header)
            if kind == UNLINK:
                self.line.sendall(UNLINKED.pack(UNLINK_DONE, number, 0, 0, 0, TAKEN_BACK))
                continue
            data = b"" if to_host or not length else self.line.recv(length, socket.MSG_WAITALL)
            if endpoint == 0:
                self.control(number, to_host, length, setup)
            elif not to_host and length <= self.room:  # else left unanswered, as all reading is
                self.room -= len(data)
                self.done(number, 0, len(data))

    def control(self, number, to_host, length, setup):
        kind, request, value = struct.unpack("<BBH4x", setup)
        if not to_host:
            self.done(number, 0, length)
        elif (kind, request) == (0x80, 6) and value in DESCRIPTORS:
            self.answer(number, DESCRIPTORS[value][:length])
        elif (kind, request) == (0xC0, 5):  # lines, and whether everything has been sent
            self.answer(number, b"\xb0\x00" if self.room < 64 else b"\xb0\x60")
        elif (kind, request) == (0xC0, 10):  # latency timer
            self.answer(number, b"\x10")
        else:
            self.done(number, NO_SUCH_REQUEST, 0)

    def answer(self, number, data):
        self.done(number, 0, len(data), data)

    def done(self, number, status, length, data=b""):
        header = SUBMITTED.pack(SUBMIT_DONE, number, 0, 0, 0, status, length, 0, 0, 0)
        self.line.sendall(header + data)


def main():
    ours, kernels = socket.socketpair()
    pathlib.Path("/sys/devices/platform/vhci_hcd.0/attach").write_text(
        f"0 {kernels.fileno()} {DEVICE} {FULL_SPEED}")
    kernels.close()
    StallingAdapter(ours, int(sys.argv[1])).serve()


if __name__ == "__main__":
    main()
