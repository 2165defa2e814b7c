"""Measures of a traced SVG against its picture, for scripts/quality-report.

Rendering goes through rsvg-convert; the geometry measures (overlap, paths,
segments) read the SVG's own <path> elements. Needs numpy and Pillow.
"""

import io
import math
import os
import re
import subprocess
import sys
import xml.etree.ElementTree as ET

import numpy as np
from PIL import Image

# ---------------------------------------------------------------- rendering


def load_rgb(path):
    """The picture as an H x W x 3 uint8 array."""
    return np.asarray(Image.open(path).convert("RGB"))


def render(svg_bytes, width, height, crisp=False):
    """Renders SVG bytes at width x height on a transparent background.

    Returns an H x W x 4 uint8 array (straight alpha). With crisp=True the
    renderer draws without anti-aliasing (shape-rendering="crispEdges" on the
    root element), so a pixel is painted exactly when a shape covers its centre.
    """
    if crisp:
        svg_bytes = re.sub(rb"<svg\b", b'<svg shape-rendering="crispEdges"', svg_bytes, count=1)
    r = subprocess.run(["rsvg-convert", "-w", str(width), "-h", str(height), "-f", "png"],
                       input=svg_bytes, capture_output=True)
    if r.returncode != 0:
        raise RuntimeError("rsvg-convert failed: " + r.stderr.decode(errors="replace").strip())
    return np.asarray(Image.open(io.BytesIO(r.stdout)).convert("RGBA"))


def absent_colour(rgb):
    """A colour that no pixel of the picture has (searched from magenta on)."""
    packed = (rgb[..., 0].astype(np.uint32) << 16) | (rgb[..., 1].astype(np.uint32) << 8) | rgb[..., 2]
    used = np.zeros(1 << 24, dtype=bool)
    used[packed.ravel()] = True
    for c in (0xFF00FF, 0x00FF00, 0x00FFFF, 0xFF0080, 0x0000FF):
        if not used[c]:
            return ((c >> 16) & 255, (c >> 8) & 255, c & 255)
    c = int(np.flatnonzero(~used)[0])
    return ((c >> 16) & 255, (c >> 8) & 255, c & 255)


def composite(rgba, colour):
    """RGBA render over a solid background colour, as an H x W x 3 uint8 array."""
    a = rgba[..., 3:4].astype(np.float64) / 255.0
    bg = np.array(colour, dtype=np.float64)
    out = rgba[..., :3].astype(np.float64) * a + bg * (1.0 - a)
    return np.clip(np.rint(out), 0, 255).astype(np.uint8)


def psnr(a, b):
    """Peak signal-to-noise ratio over RGB in dB; inf for identical images."""
    d = a.astype(np.float64) - b.astype(np.float64)
    mse = float(np.mean(d * d))
    return math.inf if mse == 0 else 10.0 * math.log10(255.0 * 255.0 / mse)


def wrong_share(a, b, threshold=32):
    """Share of pixels off by more than threshold in any channel."""
    d = np.abs(a.astype(np.int16) - b.astype(np.int16)).max(axis=-1)
    return float(np.mean(d > threshold))


# Two anti-aliased shapes that share an edge exactly still let up to a quarter
# of the background through where the edge halves a pixel (alpha 191.25);
# more than that is a gap.
SEAM_AA_MAX_ALPHA = 187


def seam_pixels(rgba, max_alpha=254):
    """Pixels where the background shows through: alpha at most max_alpha."""
    return int(np.count_nonzero(rgba[..., 3] <= max_alpha))


# ---------------------------------------------------------------- geometry

_TOKEN = re.compile(r"[MmLlHhVvCcSsQqTtAaZz]|[-+]?(?:\d+\.?\d*|\.\d+)(?:[eE][-+]?\d+)?")
FLATNESS = 0.01  # pixels
_ARGS = {"M": 2, "L": 2, "H": 1, "V": 1, "C": 6, "S": 4, "Q": 4, "T": 2, "A": 7, "Z": 0}


def _flatten_cubic(p0, p1, p2, p3):
    # Chords within FLATNESS of the curve (the usual second-difference bound).
    dd = max(math.dist(p0 - p1, p1 - p2), math.dist(p1 - p2, p2 - p3))
    n = int(min(256, max(1, math.ceil(math.sqrt(0.75 * dd / FLATNESS)))))
    t = np.linspace(0.0, 1.0, n + 1)[1:, None]
    u = 1.0 - t
    pts = (u ** 3) * p0 + 3 * (u * u * t) * p1 + 3 * (u * t * t) * p2 + (t ** 3) * p3
    return [tuple(p) for p in pts]


def _flatten_quad(p0, p1, p2):
    n = int(min(256, max(1, math.ceil(math.sqrt(0.25 * math.dist(p0 - p1, p1 - p2) / FLATNESS)))))
    t = np.linspace(0.0, 1.0, n + 1)[1:, None]
    u = 1.0 - t
    pts = (u * u) * p0 + 2 * (u * t) * p1 + (t * t) * p2
    return [tuple(p) for p in pts]


def parse_path(d):
    """Parses path data into (subpaths, segments).

    subpaths: lists of (x, y) points, curves flattened; every subpath counts
    as closed for filling. segments: the number of drawing commands (lines
    and curves; moves and closes not counted). Arcs are taken as lines to
    their end point.
    """
    tokens = _TOKEN.findall(d)
    subpaths, cur = [], []
    x = y = sx = sy = 0.0
    last_ctrl = None  # (command kind, control point) for S and T
    segments = 0
    i, cmd = 0, None
    while i < len(tokens):
        t = tokens[i]
        if t.isalpha():
            cmd = t
            i += 1
            if cmd in "Zz":
                if cur:
                    subpaths.append(cur)
                cur = []
                x, y = sx, sy
                last_ctrl = None
                continue
        elif cmd is None:
            raise ValueError("path data starts with a number")
        up = cmd.upper()
        n = _ARGS[up]
        if i + n > len(tokens):
            break
        try:
            v = [float(tokens[i + k]) for k in range(n)]
        except ValueError:
            raise ValueError("bad path data near token %d" % i)
        i += n
        rel = cmd.islower()
        ox, oy = (x, y) if rel else (0.0, 0.0)
        p0 = np.array([x, y])
        if up == "M":
            if cur:
                subpaths.append(cur)
            x, y = v[0] + ox, v[1] + oy
            sx, sy = x, y
            cur = [(x, y)]
            cmd = "l" if rel else "L"  # further pairs are lines
            last_ctrl = None
            continue
        segments += 1
        if not cur:
            cur = [(x, y)]
        if up == "L":
            x, y = v[0] + ox, v[1] + oy
            cur.append((x, y))
            last_ctrl = None
        elif up == "H":
            x = v[0] + ox
            cur.append((x, y))
            last_ctrl = None
        elif up == "V":
            y = v[0] + (oy if rel else 0.0)
            cur.append((x, y))
            last_ctrl = None
        elif up in "CS":
            if up == "C":
                c1 = np.array([v[0] + ox, v[1] + oy])
                c2 = np.array([v[2] + ox, v[3] + oy])
                e = np.array([v[4] + ox, v[5] + oy])
            else:
                c1 = 2 * p0 - last_ctrl[1] if last_ctrl and last_ctrl[0] == "C" else p0
                c2 = np.array([v[0] + ox, v[1] + oy])
                e = np.array([v[2] + ox, v[3] + oy])
            cur.extend(_flatten_cubic(p0, c1, c2, e))
            x, y = e
            last_ctrl = ("C", c2)
        elif up in "QT":
            if up == "Q":
                c = np.array([v[0] + ox, v[1] + oy])
                e = np.array([v[2] + ox, v[3] + oy])
            else:
                c = 2 * p0 - last_ctrl[1] if last_ctrl and last_ctrl[0] == "Q" else p0
                e = np.array([v[0] + ox, v[1] + oy])
            cur.extend(_flatten_quad(p0, c, e))
            x, y = e
            last_ctrl = ("Q", c)
        elif up == "A":
            x, y = v[5] + ox, v[6] + oy
            cur.append((x, y))
            last_ctrl = None
        x, y = float(x), float(y)
    if cur:
        subpaths.append(cur)
    return subpaths, segments


def _parse_transform(text):
    """A 2 x 3 affine matrix from an SVG transform list (translate, scale, matrix, rotate)."""
    m = np.array([[1.0, 0, 0], [0, 1.0, 0]])
    for name, args in re.findall(r"(\w+)\s*\(([^)]*)\)", text or ""):
        a = [float(s) for s in re.findall(r"[-+]?(?:\d+\.?\d*|\.\d+)(?:[eE][-+]?\d+)?", args)]
        if name == "translate":
            t = np.array([[1.0, 0, a[0]], [0, 1.0, a[1] if len(a) > 1 else 0.0]])
        elif name == "scale":
            t = np.array([[a[0], 0, 0], [0, a[1] if len(a) > 1 else a[0], 0]])
        elif name == "matrix":
            t = np.array([[a[0], a[2], a[4]], [a[1], a[3], a[5]]])
        elif name == "rotate":
            r = math.radians(a[0])
            t = np.array([[math.cos(r), -math.sin(r), 0], [math.sin(r), math.cos(r), 0]])
        else:
            continue
        m = np.vstack([m, [0, 0, 1]]) @ np.vstack([t, [0, 0, 1]])
        m = m[:2]
    return m


class SvgShapes:
    """The filled <path> elements of an SVG: outlines, fill rules, counts."""

    def __init__(self, svg_bytes):
        root = ET.fromstring(svg_bytes)
        self.paths = 0
        self.segments = 0
        self.shapes = []  # (list of N x 2 point arrays, evenodd)
        stack = [(root, np.array([[1.0, 0, 0], [0, 1.0, 0]]), "nonzero", "black")]
        while stack:
            el, m, rule, fill = stack.pop()
            m = np.vstack([m, [0, 0, 1]]) @ np.vstack([_parse_transform(el.get("transform")), [0, 0, 1]])
            m = m[:2]
            style = dict(kv.split(":", 1) for kv in el.get("style", "").split(";") if ":" in kv)
            style = {k.strip(): v.strip() for k, v in style.items()}
            rule = style.get("fill-rule", el.get("fill-rule", rule))
            fill = style.get("fill", el.get("fill", fill))
            tag = el.tag.split("}")[-1]
            if tag == "path":
                self.paths += 1
                subpaths, segs = parse_path(el.get("d", ""))
                self.segments += segs
                if fill != "none":
                    pts = [np.asarray(s, dtype=np.float64) @ m[:, :2].T + m[:, 2] for s in subpaths if len(s) > 1]
                    self.shapes.append((pts, rule == "evenodd"))
            for child in el:
                stack.append((child, m, rule, fill))

    def coverage(self, width, height):
        """For every pixel centre, the number of shapes that cover it (H x W int array)."""
        x0s, y0s, x1s, y1s, ids, odd = [], [], [], [], [], []
        for k, (subs, evenodd) in enumerate(self.shapes):
            for p in subs:
                q = np.roll(p, -1, axis=0)  # closing edge included
                x0s.append(p[:, 0]); y0s.append(p[:, 1]); x1s.append(q[:, 0]); y1s.append(q[:, 1])
                ids.append(np.full(len(p), k)); odd.append(np.full(len(p), evenodd))
        count = np.zeros((height, width), dtype=np.int32)
        if not x0s:
            return count
        x0, y0, x1, y1 = (np.concatenate(a) for a in (x0s, y0s, x1s, y1s))
        ids, odd = np.concatenate(ids), np.concatenate(odd)
        keep = y0 != y1
        x0, y0, x1, y1, ids, odd = x0[keep], y0[keep], x1[keep], y1[keep], ids[keep], odd[keep]
        direction = np.where(y1 > y0, 1, -1)
        ylo, yhi = np.minimum(y0, y1), np.maximum(y0, y1)
        # Rows whose centre r + 0.5 lies in [ylo, yhi).
        r0 = np.clip(np.ceil(ylo - 0.5), 0, height).astype(np.int64)
        r1 = np.clip(np.ceil(yhi - 0.5), 0, height).astype(np.int64)
        n = np.maximum(r1 - r0, 0)
        e = np.repeat(np.arange(len(n)), n)
        if len(e) == 0:
            return count
        start = np.repeat(np.cumsum(n) - n, n)
        row = r0[e] + (np.arange(len(e)) - start)
        yc = row + 0.5
        xc = x0[e] + (yc - y0[e]) * (x1[e] - x0[e]) / (y1[e] - y0[e])
        sid = ids[e]
        order = np.lexsort((xc, row, sid))
        xc, row, sid, dr, eo = xc[order], row[order], sid[order], direction[e][order], odd[e][order]
        same = (sid[1:] == sid[:-1]) & (row[1:] == row[:-1])
        group_start = np.concatenate([[True], ~same])
        # Winding number (or crossing count) after each crossing, within its group.
        wind = np.cumsum(dr)
        base = np.maximum.accumulate(np.where(group_start, np.arange(len(wind)), 0))
        wind_in = wind - np.where(base > 0, wind[base - 1], 0)
        crossings = np.arange(len(wind)) - base + 1
        inside = np.where(eo[:-1], crossings[:-1] % 2 == 1, wind_in[:-1] != 0) & same
        c0 = np.clip(np.ceil(xc[:-1][inside] - 0.5), 0, width).astype(np.int64)
        c1 = np.clip(np.ceil(xc[1:][inside] - 0.5), 0, width).astype(np.int64)
        rr = row[:-1][inside]
        ok = c1 > c0
        diff = np.zeros((height, width + 1), dtype=np.int32)
        np.add.at(diff, (rr[ok], c0[ok]), 1)
        np.add.at(diff, (rr[ok], c1[ok]), -1)
        return np.cumsum(diff, axis=1)[:, :width]

    def overlap(self, width, height):
        """Pixel centres covered by two or more shapes."""
        return int(np.count_nonzero(self.coverage(width, height) >= 2))


# ---------------------------------------------------------------- at 4x

def render_source(svg_path, width, height):
    """A source SVG rendered at width x height on white (as make-corpus rasterises it), H x W x 3."""
    r = subprocess.run(["rsvg-convert", "-w", str(width), "-h", str(height), "-b", "white",
                        "-f", "png", svg_path], capture_output=True)
    if r.returncode != 0:
        raise RuntimeError("rsvg-convert failed: " + r.stderr.decode(errors="replace").strip())
    return np.asarray(Image.open(io.BytesIO(r.stdout)).convert("RGB"))


def _blur(a, sigma):
    """Separable Gaussian blur of a 2-D float array (edges repeated)."""
    radius = max(1, int(math.ceil(3 * sigma)))
    x = np.arange(-radius, radius + 1, dtype=np.float64)
    k = np.exp(-0.5 * (x / sigma) ** 2)
    k /= k.sum()
    out = a
    for axis in (0, 1):
        pad = [(0, 0), (0, 0)]
        pad[axis] = (radius, radius)
        p = np.pad(out, pad, mode="edge")
        acc = np.zeros_like(out)
        n = out.shape[axis]
        for i, w in enumerate(k):
            acc += w * (p[i:i + n, :] if axis == 0 else p[:, i:i + n])
        out = acc
    return out


def _sobel(a):
    p = np.pad(a, 1, mode="edge")
    gx = (p[:-2, 2:] + 2 * p[1:-1, 2:] + p[2:, 2:]) - (p[:-2, :-2] + 2 * p[1:-1, :-2] + p[2:, :-2])
    gy = (p[2:, :-2] + 2 * p[2:, 1:-1] + p[2:, 2:]) - (p[:-2, :-2] + 2 * p[:-2, 1:-1] + p[:-2, 2:])
    return gx, gy


def edge_direction_map(source, trace, sigma=1.0):
    """Per pixel of two renders of one size: the angle (degrees) between their
    edge directions and its weight, as edge_direction_error counts them.

    Returns (angle, weight), two H x W float arrays; the weight is the
    source's gradient where both renders have an edge, else 0. None when
    either render has no edge at all.
    """
    def grad(rgb):
        lum = rgb[..., :3].astype(np.float64) @ np.array([0.299, 0.587, 0.114])
        return _sobel(_blur(lum, sigma))
    sx, sy = grad(source)
    tx, ty = grad(trace)
    ms, mt = np.hypot(sx, sy), np.hypot(tx, ty)
    if ms.max() <= 0 or mt.max() <= 0:
        return None
    sel = (ms > 0.25 * ms.max()) & (mt > 0.25 * mt.max())
    angle = np.zeros_like(ms)
    cos = np.abs(sx[sel] * tx[sel] + sy[sel] * ty[sel]) / (ms[sel] * mt[sel])
    angle[sel] = np.degrees(np.arccos(np.clip(cos, 0.0, 1.0)))
    return angle, np.where(sel, ms, 0.0)


def edge_direction_error(source, trace, sigma=1.0):
    """Gradient-weighted mean angle (degrees) between the edge directions of two renders.

    Both are turned into luminance, blurred lightly (sigma in pixels of the
    render) and differentiated with Sobel. Over the source's edge pixels
    (gradient above a quarter of its largest) where the trace also has an edge
    (above a quarter of the trace's largest), the angle between the two
    gradients (0 to 90 degrees: an edge is a line, its side does not count) is
    averaged, weighted by the source's gradient. 0 is a perfect match.
    """
    m = edge_direction_map(source, trace, sigma)
    if m is None:
        return math.nan
    angle, weight = m
    if not weight.any():
        return math.nan
    return float(np.sum(angle * weight) / np.sum(weight))


# ---------------------------------------------------------------- the corpus


def read_manifest(corpus):
    """The corpus's pictures (scripts/make-corpus): one dict a row of manifest.tsv."""
    path = os.path.join(corpus, "manifest.tsv")
    if not os.path.exists(path):
        sys.exit(f"no corpus in {corpus}: run scripts/make-corpus first")
    with open(path) as f:
        header = f.readline().rstrip("\n").split("\t")
        return [dict(zip(header, line.rstrip("\n").split("\t"))) for line in f if line.strip()]


def source_of(corpus, row):
    """The source SVG of a picture rasterised from SVG (kind art-aa), or None."""
    if row.get("kind") != "art-aa" or not row.get("package") or not row.get("source"):
        return None
    path = os.path.join(corpus, ".cache", row["package"], row["source"])
    return path if os.path.exists(path) else None
