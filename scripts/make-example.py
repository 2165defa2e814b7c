#!/usr/bin/env python3
"""Draws the bundled example picture examples/shapes.png (400 x 300): flat
shapes, nested rings, stroke-like bars, a disc touching a square, shapes on
the border and a soft gradient band. Standard library only."""
import math
import struct
import sys
import zlib

W, H = 400, 300


def colour_at(x, y):
    # Soft vertical gradient band at the bottom.
    if y >= 250:
        t = (x / (W - 1))
        return (int(40 + 180 * t), int(90 + 60 * t), int(160 - 100 * t))
    # Nested rings on the left.
    d = math.hypot(x - 90, y - 100)
    if d < 70:
        ring = int(d // 14)
        return [(20, 40, 120), (240, 200, 40), (200, 40, 40), (250, 250, 250), (30, 140, 60)][ring]
    # A square with a disc touching it.
    if 180 <= x < 260 and 40 <= y < 120:
        return (40, 110, 200)
    if math.hypot(x - 300, y - 80) < 40:
        return (230, 120, 30)
    # Stroke-like bars (like letters).
    for i, bx in enumerate(range(170, 380, 30)):
        if bx <= x < bx + 8 and 150 <= y < 230:
            return (60, 60, 60)
        if i % 2 == 0 and bx <= x < bx + 30 and 150 <= y < 158:
            return (60, 60, 60)
    # Shapes on the border.
    if x < 30 and 200 <= y < 250:
        return (150, 50, 150)
    if y < 12 and 300 <= x:
        return (50, 150, 150)
    return (245, 240, 225)


def main(path):
    rows = bytearray()
    for y in range(H):
        rows.append(0)
        for x in range(W):
            rows.extend(colour_at(x, y))

    def chunk(kind, data):
        return (struct.pack(">I", len(data)) + kind + data +
                struct.pack(">I", zlib.crc32(kind + data) & 0xFFFFFFFF))

    png = (b"\x89PNG\r\n\x1a\n" +
           chunk(b"IHDR", struct.pack(">IIBBBBB", W, H, 8, 2, 0, 0, 0)) +
           chunk(b"IDAT", zlib.compress(bytes(rows), 9)) + chunk(b"IEND", b""))
    with open(path, "wb") as f:
        f.write(png)


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else "examples/shapes.png")
