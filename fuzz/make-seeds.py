#!/usr/bin/env python3
"""Writes small seed corpora for the fuzz targets into DIR/<target>/.

fuzz_trace: header bytes (size, flags, palette size, parameters in the
FuzzInput::parameter encoding), a palette and one palette index a pixel;
fuzz_curves: parameters, a start and closed walks (four codes a byte);
fuzz_input: small PNG, BMP (bottom-up and top-down), GIF and JPEG files;
fuzz_pipeline: pictures from a palette with alpha, presets and options,
and the fuzz_input files.
"""
import ctypes
import os
import struct
import sys
import zlib


def param(mode, value):
    """The FuzzInput::parameter encoding: a mode byte, then its value byte(s)."""
    if mode == 5:
        return bytes([mode]) + struct.pack("<i", value)
    return bytes([mode, value & 0xFF])


def trace_seeds():
    seeds = {}
    palette = bytes([255, 255, 255, 200, 30, 30, 30, 30, 200, 20, 160, 20])

    def picture(w, h, f):
        return bytes(f(x, y) for y in range(h) for x in range(w))

    pics = {
        "squares": (24, 16, lambda x, y: 1 if 3 <= x < 10 and 3 <= y < 9 else
                    2 if 14 <= x < 21 and 5 <= y < 13 else 0),
        "rings": (31, 31, lambda x, y: max(abs(x - 15), abs(y - 15)) % 3),
        "checker": (8, 8, lambda x, y: (x + y) % 2),
        "stripes": (40, 6, lambda x, y: (x // 3) % 4),
    }
    for name, (w, h, f) in pics.items():
        for flags, params, tag in [
            (0, param(1, 10) + param(1, 4) + param(1, 200) + param(1, 1), "usual"),
            (1, param(1, 10) + param(0, 5) + param(1, 200) + param(1, 1), "lefttop-min0"),
            (5, param(2, 0) + param(3, 0) + param(2, 0) + param(4, 7), "extremes"),
            (0, param(1, 0) + param(4, 3) + param(0, 6) + param(5, 1 << 30), "negative"),
        ]:
            head = bytes([w - 1, h - 1, flags, 3]) + params
            seeds[f"{name}-{tag}"] = head + palette + picture(w, h, f)
    return seeds


def curves_seeds():
    def walk(codes):
        codes = codes + [0] * (-len(codes) % 4)
        out = bytearray()
        for i in range(0, len(codes), 4):
            out.append(codes[i] | codes[i + 1] << 2 | codes[i + 2] << 4 | codes[i + 3] << 6)
        return bytes(out)

    square = [0] * 10 + [1] * 10 + [2] * 10 + [3] * 10
    stairs = [0, 1] * 12 + [2] * 12 + [3] * 12
    zigzag = ([0, 0, 1, 0, 3] * 8) + [1] * 8 + [2] * 24 + [3] * 8
    seeds = {}
    for name, codes in {"square": square, "stairs": stairs, "zigzag": zigzag}.items():
        for tag, params in {"usual": param(1, 1) + param(1, 5),
                            "wild": param(4, 9) + param(2, 0)}.items():
            seeds[f"{name}-{tag}"] = params + bytes([5, 7]) + walk(codes)
    return seeds


def png(w, h, rgb):
    raw = b"".join(b"\0" + bytes(rgb[(y * w) * 3:(y * w + w) * 3]) for y in range(h))

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(
            ">I", zlib.crc32(kind + data) & 0xFFFFFFFF)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", w, h, 8, 2, 0, 0, 0))
            + chunk(b"IDAT", zlib.compress(raw)) + chunk(b"IEND", b""))


def bmp(w, h, rgb, top_down):
    stride = (w * 3 + 3) & ~3
    rows = []
    for y in range(h):
        src = y if top_down else h - 1 - y
        row = bytearray()
        for x in range(w):
            r, g, b = rgb[(src * w + x) * 3:(src * w + x) * 3 + 3]
            row += bytes([b, g, r])
        rows.append(bytes(row) + b"\0" * (stride - w * 3))
    data = b"".join(rows)
    return (b"BM" + struct.pack("<IHHI", 54 + len(data), 0, 0, 54) +
            struct.pack("<IiiHHIIiiII", 40, w, -h if top_down else h, 1, 24, 0, len(data),
                        2835, 2835, 0, 0) + data)


def gif(w, h, index, table):
    """Uncompressed LZW: 8-bit codes, a clear code after every 126 pixels."""
    codes = [128]
    for i, c in enumerate(index):
        if i and i % 126 == 0:
            codes.append(128)
        codes.append(c)
    codes.append(129)
    blocks = b"".join(bytes([len(codes[i:i + 255])]) + bytes(codes[i:i + 255])
                      for i in range(0, len(codes), 255))
    table = (table + b"\0" * 384)[:384]
    return (b"GIF89a" + struct.pack("<HH", w, h) + b"\xf6\0\0" + table + b"\x2c" +
            struct.pack("<HHHH", 0, 0, w, h) + b"\0\x07" + blocks + b"\0\x3b")


def input_seeds(tmp):
    w, h = 12, 9
    index = [1 if 2 <= x < 7 and 2 <= y < 6 else 2 if x > 8 else 0
             for y in range(h) for x in range(w)]
    colours = [(255, 255, 255), (200, 30, 30), (30, 30, 200)]
    rgb = [v for i in index for v in colours[i]]
    seeds = {"a.png": png(w, h, rgb), "up.bmp": bmp(w, h, rgb, False),
             "down.bmp": bmp(w, h, rgb, True),
             "a.gif": gif(w, h, index, b"".join(bytes(c) for c in colours))}
    try:  # JPEG through stb_image_write (libstb), when it is there
        stb = ctypes.CDLL("libstb.so")
        path = os.path.join(tmp, "seed.jpg").encode()
        buf = (ctypes.c_ubyte * len(rgb))(*rgb)
        if stb.stbi_write_jpg(path, w, h, 3, buf, 80):
            with open(path, "rb") as f:
                seeds["a.jpg"] = f.read()
            os.remove(path)
    except OSError:
        pass
    return seeds


def pipeline_seeds(files):
    """fuzz_pipeline: source, size, preset, options (row, mode, value bytes),
    alpha mode, palette (RGBA) and one index a pixel; or a picture file."""
    seeds = {}
    palette = bytes([255, 255, 255, 255, 200, 30, 30, 255, 30, 30, 200, 128, 20, 160, 20, 0])
    squares = bytes(1 if 3 <= x < 10 and 3 <= y < 9 else 2 if 14 <= x < 21 and 5 <= y < 13 else
                    3 if y > 13 else 0 for y in range(16) for x in range(24))
    for preset in range(6):
        for name, options in {"none": b"", "cutout-polygon": bytes([2, 0, 1, 3, 1]),
                              "colors-transparent": bytes([2, 15, 2, 128, 9, 0]),
                              "beyond": bytes([1, 2, 3])}.items():
            head = bytes([0, 24, 16, preset, len(options) // 2 if name != "beyond" else 1])
            seeds[f"p{preset}-{name}"] = head + options + bytes([1, 4]) + palette + squares
    for name, data in files.items():
        seeds["file-" + name] = bytes([1, 0, 0, 0, 0]) + data
    return seeds


def main():
    out = sys.argv[1] if len(sys.argv) > 1 else "build/fuzz/corpus"
    files = input_seeds(out)
    for target, seeds in {"fuzz_trace": trace_seeds(), "fuzz_curves": curves_seeds(),
                          "fuzz_input": files, "fuzz_pipeline": pipeline_seeds(files)}.items():
        folder = os.path.join(out, target)
        os.makedirs(folder, exist_ok=True)
        for name, data in seeds.items():
            with open(os.path.join(folder, "seed-" + name), "wb") as f:
                f.write(data)
        print(f"{target}: {len(seeds)} seeds in {folder}")


if __name__ == "__main__":
    os.makedirs(sys.argv[1] if len(sys.argv) > 1 else "build/fuzz/corpus", exist_ok=True)
    main()
