#!/usr/bin/env python3
"""Writes poster.tif, the example job's CMYK image: 8 bits a sample, PackBits strips.

Run once from examples/ (python3 make_poster.py); the result is committed beside it.
"""
import math
import struct

WIDTH, HEIGHT, ROWS_PER_STRIP = 240, 150, 16


def ink(x, y):
    """Cyan, magenta, yellow and black amounts of one pixel (0 is no ink)."""
    c = m = yl = k = 0
    if y < 30:  # a cyan ramp, in steps so rows compress
        c = (x * 255 // (WIDTH - 1)) // 16 * 16
    if (x - 85) ** 2 + (y - 85) ** 2 < 40 ** 2:
        m = 200
    if (x - 145) ** 2 + (y - 85) ** 2 < 40 ** 2:
        yl = 220
    if 128 <= y < 135 and 15 <= x < 225:
        k = 255
    if y >= 139:  # a black wave along the foot
        k = 160 if y - 139 < 5 + 4 * math.sin(x / 9) else 0
    return bytes((c, m, yl, k))


def packbits(row):
    out = bytearray()
    i = 0
    while i < len(row):
        run = 1
        while i + run < len(row) and run < 128 and row[i + run] == row[i]:
            run += 1
        if run >= 3:
            out += bytes((257 - run, row[i]))
            i += run
            continue
        start = i
        while i < len(row) and i - start < 128:
            if i + 2 < len(row) and row[i] == row[i + 1] == row[i + 2]:
                break
            i += 1
        out += bytes((i - start - 1,)) + row[start:i]
    return bytes(out)


def main():
    strips = []
    for top in range(0, HEIGHT, ROWS_PER_STRIP):
        strip = b""
        for y in range(top, min(top + ROWS_PER_STRIP, HEIGHT)):
            strip += packbits(b"".join(ink(x, y) for x in range(WIDTH)))
        strips.append(strip)

    data = bytearray(b"II*\x00\x00\x00\x00\x00")
    offsets = []
    for strip in strips:
        offsets.append(len(data))
        data += strip
        if len(data) % 2:
            data += b"\x00"
    bits_at = len(data)
    data += struct.pack("<4H", 8, 8, 8, 8)
    offsets_at = len(data)
    data += struct.pack("<%dI" % len(strips), *offsets)
    counts_at = len(data)
    data += struct.pack("<%dI" % len(strips), *(len(s) for s in strips))

    short, long_ = 3, 4
    entries = [
        (256, short, 1, WIDTH),
        (257, short, 1, HEIGHT),
        (258, short, 4, bits_at),
        (259, short, 1, 32773),  # PackBits
        (262, short, 1, 5),  # separated (CMYK)
        (273, long_, len(strips), offsets_at),
        (277, short, 1, 4),
        (278, short, 1, ROWS_PER_STRIP),
        (279, long_, len(strips), counts_at),
        (284, short, 1, 1),
        (332, short, 1, 1),  # ink set CMYK
    ]
    struct.pack_into("<I", data, 4, len(data))
    data += struct.pack("<H", len(entries))
    for tag, kind, count, value in entries:
        if kind == short and count == 1:
            data += struct.pack("<HHIHH", tag, kind, count, value, 0)
        else:
            data += struct.pack("<HHII", tag, kind, count, value)
    data += struct.pack("<I", 0)
    with open("poster.tif", "wb") as f:
        f.write(data)


if __name__ == "__main__":
    main()
