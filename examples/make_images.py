#!/usr/bin/env python3
"""Writes the small images of the example jobs in rgb/, pages/, custom-paper/ and raw-packets/.

Run once from examples/ (python3 make_images.py); the results are committed beside the jobs.
Only the standard library is used, so the bytes do not depend on an image tool's version.
"""
import math
import struct

from make_poster import packbits

SHORT, LONG = 3, 4


def tiff(path, width, height, samples, photometric, pixel, packed=True, big_endian=False,
         rows_per_strip=16):
    """A baseline TIFF of 8-bit samples; pixel(x, y) gives the bytes of one pixel."""
    order = ">" if big_endian else "<"
    strips = []
    for top in range(0, height, rows_per_strip):
        strip = b""
        for y in range(top, min(top + rows_per_strip, height)):
            row = b"".join(pixel(x, y) for x in range(width))
            strip += packbits(row) if packed else row
        strips.append(strip)

    data = bytearray((b"MM\x00*" if big_endian else b"II*\x00") + b"\x00" * 4)
    offsets = []
    for strip in strips:
        offsets.append(len(data))
        data += strip
        if len(data) % 2:
            data += b"\x00"
    bits_at = len(data)
    data += struct.pack(order + "%dH" % max(samples, 2), *([8] * max(samples, 2)))
    offsets_at = len(data)
    data += struct.pack(order + "%dI" % len(strips), *offsets)
    counts_at = len(data)
    data += struct.pack(order + "%dI" % len(strips), *(len(s) for s in strips))

    entries = [
        (256, SHORT, 1, width),
        (257, SHORT, 1, height),
        (258, SHORT, samples, 8 if samples == 1 else bits_at),
        (259, SHORT, 1, 32773 if packed else 1),
        (262, SHORT, 1, photometric),
        (273, LONG, len(strips), offsets_at),
        (277, SHORT, 1, samples),
        (278, SHORT, 1, rows_per_strip),
        (279, LONG, len(strips), counts_at),
        (284, SHORT, 1, 1),
    ]
    struct.pack_into(order + "I", data, 4, len(data))
    data += struct.pack(order + "H", len(entries))
    for tag, kind, count, value in entries:
        if kind == SHORT and count == 1:
            data += struct.pack(order + "HHIHH", tag, kind, count, value, 0)
        else:
            data += struct.pack(order + "HHII", tag, kind, count, value)
    data += struct.pack(order + "I", 0)
    with open(path, "wb") as f:
        f.write(data)


def bmp(path, width, height, bits, pixel):
    """An uncompressed bottom-up Windows bitmap of 1, 8 or 24 bits; pixel(x, y) gives a gray
    level (1 and 8 bits) or the (r, g, b) triple (24 bits)."""
    row_bytes = (bits * width + 31) // 32 * 4
    palette = b""
    if bits == 1:
        palette = b"\x00\x00\x00\x00\xff\xff\xff\x00"
    elif bits == 8:
        palette = b"".join(bytes((v, v, v, 0)) for v in range(256))
    rows = []
    for y in reversed(range(height)):
        row = bytearray(row_bytes)
        for x in range(width):
            if bits == 1:
                if pixel(x, y):
                    row[x // 8] |= 0x80 >> (x % 8)
            elif bits == 8:
                row[x] = pixel(x, y)
            else:
                r, g, b = pixel(x, y)
                row[3 * x:3 * x + 3] = bytes((b, g, r))
        rows.append(bytes(row))
    offset = 54 + len(palette)
    size = offset + row_bytes * height
    header = b"BM" + struct.pack("<IHHI", size, 0, 0, offset)
    info = struct.pack("<IiiHHIIiiII", 40, width, height, 1, bits, 0, row_bytes * height,
                       2835, 2835, len(palette) // 4, 0)
    with open(path, "wb") as f:
        f.write(header + info + palette + b"".join(rows))


def inside(x, y, cx, cy, r):
    return (x - cx) ** 2 + (y - cy) ** 2 < r * r


def photo(x, y):
    """RGB: a warm-to-cold ramp in steps, with a white disc."""
    if inside(x, y, 60, 40, 24):
        return b"\xff\xff\xff"
    t = (x // 8) * 8 / 119
    return bytes((int(255 * (1 - t)), 64 + int(64 * math.sin(y / 12)), int(255 * t)))


def logo(x, y):
    if inside(x, y, 24, 24, 18):
        return (200, 30, 40)
    return (255, 255, 255) if (x // 8 + y // 8) % 2 else (230, 230, 250)


def main():
    tiff("rgb/photo.tif", 120, 80, 3, 2, photo, big_endian=True, rows_per_strip=10)
    bmp("rgb/logo.bmp", 48, 48, 24, logo)
    tiff("pages/label.tif", 160, 40, 1, 1,
         lambda x, y: bytes((0 if 8 <= y < 32 and 8 <= x < 152 and (x // 16) % 2 else 255,)),
         packed=False, rows_per_strip=8)
    bmp("pages/mark.bmp", 64, 64, 1,
        lambda x, y: not (inside(x, y, 32, 32, 28) and not inside(x, y, 32, 32, 20)))
    tiff("custom-paper/art.tif", 120, 72, 4, 5,
         lambda x, y: bytes((x * 255 // 119 // 32 * 32, 180 if inside(x, y, 60, 36, 24) else 0,
                             y * 255 // 71 // 32 * 32, 255 if 32 <= y < 40 else 0)))
    bmp("raw-packets/gray.bmp", 96, 32, 8, lambda x, y: (x * 255 // 95) // 16 * 16)


if __name__ == "__main__":
    main()
