#!/usr/bin/env python3
"""Draws examples/shapes.bmp for the Windows host example: the bundled example
picture (scripts/make-example.py) sampled every third pixel, 133 x 100, as a
24-bit bottom-up BMP whose rows are padded to 4 bytes. Standard library only."""
import importlib.util
import os
import struct
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
loader_info = importlib.util.spec_from_file_location("make_example", os.path.join(HERE, "make-example.py"))
example = importlib.util.module_from_spec(loader_info)
loader_info.loader.exec_module(example)

W, H, STEP = 133, 100, 3


def main(path):
    stride = (W * 3 + 3) // 4 * 4
    pixels = bytearray()
    for row in range(H):
        y = (H - 1 - row) * STEP  # bottom-up: the first stored row is the bottom one
        line = bytearray()
        for x in range(W):
            r, g, b = example.colour_at(x * STEP, y)
            line.extend((b, g, r))
        line.extend(b"\0" * (stride - len(line)))
        pixels.extend(line)
    header = struct.pack("<IiiHHIIiiII", 40, W, H, 1, 24, 0, len(pixels), 2835, 2835, 0, 0)
    offset = 14 + len(header)
    file_header = struct.pack("<2sIHHI", b"BM", offset + len(pixels), 0, 0, offset)
    with open(path, "wb") as f:
        f.write(file_header + header + pixels)


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else os.path.join(HERE, "..", "examples", "shapes.bmp"))
