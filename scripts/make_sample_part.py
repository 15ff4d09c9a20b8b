#!/usr/bin/env python3
"""Renders the sample image samples/part.png: a bright machined part (a plate with rounded
corners, two bores and a slot, lit from the upper left) lying on a dark woven conveyor belt,
with sensor noise. 8-bit grey, 480 x 360, deterministic. Python 3 standard library only.

usage: python3 scripts/make_sample_part.py [OUTPUT.png]   (default: samples/part.png)
"""
import math
import os
import random
import struct
import sys
import zlib

WIDTH, HEIGHT = 480, 360


def inside_part(x, y):
    """Distance-like test: True on the plate, False in holes and outside."""
    # Plate: rounded rectangle from (110, 80) to (380, 280), corner radius 30.
    left, top, right, bottom, radius = 110, 80, 380, 280, 30
    cx = min(max(x, left + radius), right - radius)
    cy = min(max(y, top + radius), bottom - radius)
    if (x - cx) ** 2 + (y - cy) ** 2 > radius ** 2:
        return False
    # Two bores and a slot.
    for bx, by, br in ((175, 145, 28), (315, 215, 22)):
        if (x - bx) ** 2 + (y - by) ** 2 < br ** 2:
            return False
    sx = min(max(x, 220), 300)
    if (x - sx) ** 2 + (y - 130) ** 2 < 12 ** 2:
        return False
    return True


def render(rng):
    rows = []
    for y in range(HEIGHT):
        row = bytearray(WIDTH)
        for x in range(WIDTH):
            # Woven belt: two crossing thread patterns and a slow brightness drift.
            weave = 10 * math.sin(x * 0.9) * math.sin(y * 0.35) + 6 * math.sin((x + y) * 0.21)
            value = 62 + weave + 8 * math.sin(y / 57.0) + rng.gauss(0, 5)
            # Soft shadow of the part, offset to the lower right.
            if inside_part(x - 7, y - 7):
                value *= 0.62
            if inside_part(x, y):
                # Machined face: lit from the upper left, faint turning marks.
                value = 150 + 45 * (1 - (x + y) / (WIDTH + HEIGHT)) + 4 * math.sin(math.hypot(x - 245, y - 180) * 0.8)
                value += rng.gauss(0, 4)
            row[x] = max(0, min(255, int(round(value))))
        rows.append(bytes(row))
    return rows


def write_png(path, rows):
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data) & 0xFFFFFFFF)

    raw = b"".join(b"\x01" + bytes(r[i] - (r[i - 1] if i else 0) & 0xFF for i in range(len(r))) for r in rows)
    png = b"\x89PNG\r\n\x1a\n"
    png += chunk(b"IHDR", struct.pack(">IIBBBBB", WIDTH, HEIGHT, 8, 0, 0, 0, 0))  # 8-bit grey
    png += chunk(b"IDAT", zlib.compress(raw, 9))
    png += chunk(b"IEND", b"")
    with open(path, "wb") as f:
        f.write(png)


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    out = sys.argv[1] if len(sys.argv) > 1 else os.path.join(here, "..", "samples", "part.png")
    write_png(out, render(random.Random(20261122)))
    print("wrote %s (%d x %d, 8-bit grey, %d bytes)" % (out, WIDTH, HEIGHT, os.path.getsize(out)))


if __name__ == "__main__":
    main()
