#!/usr/bin/env python3
"""Writes a small logo picture (PNG, 160x48, two-tone with a stripe) without any library."""
import struct
import sys
import zlib

W, H = 160, 48
rows = []
for y in range(H):
    row = bytearray([0])
    for x in range(W):
        if 8 <= y < 40 and 8 <= x < 40:
            row += bytes((0x1F, 0x4E, 0x79))
        elif y in (20, 21, 22, 23) and x >= 48:
            row += bytes((0xC0, 0x00, 0x00))
        else:
            row += bytes((0xFF, 0xFF, 0xFF))
    rows.append(bytes(row))
raw = b"".join(rows)


def chunk(kind, data):
    c = struct.pack(">I", len(data)) + kind + data
    return c + struct.pack(">I", zlib.crc32(kind + data) & 0xFFFFFFFF)


png = b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", W, H, 8, 2, 0, 0, 0))
png += chunk(b"pHYs", struct.pack(">IIB", 3780, 3780, 1))
png += chunk(b"IDAT", zlib.compress(raw, 9)) + chunk(b"IEND", b"")
open(sys.argv[1], "wb").write(png)
