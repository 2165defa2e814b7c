"""Whole traces through the Python package: exact geometry of worked
pictures, every kind of input giving the same result, the writers and the
region tree against the JSON the library writes."""

import io
import json

import numpy as np
import pytest
from PIL import Image

import om1
from conftest import EXAMPLE, red_block, soft_disc


def by_colour(t: om1.Trace, rgb):
    return [r for r in t if r.color == rgb]


@pytest.mark.parametrize("cutout", [False, True])
def test_red_block_exact(block, cutout):
    t = om1.trace(block, preset="pixel", cutout=cutout)
    (red,) = by_colour(t, (255, 0, 0))
    (white,) = by_colour(t, (255, 255, 255))
    assert red.pixels == 70 and red.hex == "#ff0000" and red.holes == []
    (loop,) = red.boundary
    assert loop.dtype == np.int32 and loop.shape == (4, 2)
    assert loop.min(axis=0).tolist() == [2, 3] and loop.max(axis=0).tolist() == [12, 10]
    x, y = loop[:, 0].astype(np.int64), loop[:, 1].astype(np.int64)
    assert (x * np.roll(y, -1) - np.roll(x, -1) * y).sum() == 140  # clockwise on the picture
    assert red.curves[0].shape == (0, 2)  # polygons only
    if cutout:
        assert white.pixels == 20 * 16 - 70 and len(white.boundary) == 2
    else:
        assert red.is_hole and red.parent is white and white.holes == [red]
        assert white.pixels == 20 * 16 and t.regions == [white]
    assert len(t) == 2 and t.paths == 2
    assert t.segments == 4 + (8 if cutout else 4)
    assert t.stats.curved_loops == 0 and (t.width, t.height) == (20, 16)


def test_disc_keeps_a_closed_curve():
    # Anti-aliased: a hard-edged disc keeps its exact staircase, truer to it.
    t = om1.trace(soft_disc())
    (blue,) = [r for r in t if max(abs(a - b) for a, b in zip(r.color, (0, 0, 255))) <= 16]
    (curve,) = blue.curves
    assert curve.dtype == np.float64 and len(curve) >= 4 and (len(curve) - 1) % 3 == 0
    assert (curve[0] == curve[-1]).all()
    assert curve[::3].min() >= 7 and curve[::3].max() <= 57  # the segments' ends
    assert t.stats.curved_loops >= 1 and t.segments == t.stats.segments >= 4


def test_every_input_kind_gives_the_same_trace(tmp_path):
    rgb = red_block()
    want = om1.trace(rgb).svg()
    rgba = np.concatenate([rgb, np.full(rgb.shape[:2] + (1,), 255, np.uint8)], axis=2)
    path = tmp_path / "block.png"
    Image.fromarray(rgb).save(path)
    data = path.read_bytes()
    padded = np.zeros((16, 24, 4), np.uint8)[:, 2:22]  # rows with a stride of 96 bytes
    padded[...] = rgba
    for image in (rgba, padded, rgb[:, ::-1][:, ::-1], Image.fromarray(rgb),
                  Image.fromarray(rgba), str(path), path, data, bytearray(data),
                  Image.fromarray(rgb).convert("P")):
        assert om1.trace(image).svg() == want, type(image)


def test_grey_and_alpha():
    grey = np.full((12, 12), 200, np.uint8)
    grey[4:8, 4:8] = 10
    t = om1.trace(grey, preset="pixel")
    assert sorted(r.color for r in t) == [(10, 10, 10), (200, 200, 200)]
    # RGBA arrays keep their alpha: fully transparent pixels are one empty
    # region (alpha 0, hidden, no boundary); a background colour composites
    # them; `transparent` keeps the alpha with a background colour too.
    rgba = np.zeros((12, 12, 4), np.uint8)
    rgba[4:8, 4:8] = (0, 255, 0, 255)
    rgba[2, 2:10] = (0, 0, 255, 128)
    for t in (om1.trace(rgba, preset="pixel"),
              om1.trace(rgba, preset="pixel", background=(16, 32, 48), transparent=True)):
        empty = [(r.hidden, r.boundary) for r in t if r.alpha == 0]
        assert empty and all(e == (True, []) for e in empty)
        assert [r.alpha for r in t if r.hex == "#0000ff"] == [128]
        assert "#102030" not in t.svg() and "fill-opacity=\"0.502\"" in t.svg()
        assert '"alpha": 128' in t.json()
    flat = om1.trace(rgba, preset="pixel", background="#102030")
    assert "#102030" in flat.svg() and "fill-opacity" not in flat.svg()
    assert all(r.alpha == 255 and not r.hidden for r in flat)


def test_every_format_by_name_and_extension(tmp_path, block):
    t = om1.trace(block, preset="pixel")
    assert om1.FORMAT_NAMES[:2] == ["svg", "json"] and "pdf" in om1.FORMAT_NAMES
    for name, ext in zip(om1.FORMAT_NAMES, om1._native.FORMAT_EXTENSIONS):
        data = t.export(name)
        assert isinstance(data, bytes) and len(data) > 20
        t.save(tmp_path / ("out." + ext))
        assert (tmp_path / ("out." + ext)).read_bytes() == data
    assert t.export("pdf").startswith(b"%PDF")
    assert json.loads(t.export("geojson"))["type"] == "FeatureCollection"
    t.save(str(tmp_path / "a.JSON"))
    t.save(tmp_path / "b.out", format="svg")
    assert (tmp_path / "b.out").read_text() == t.svg()
    assert json.loads((tmp_path / "a.JSON").read_text())["width"] == 20
    with pytest.raises(ValueError, match="extension"):
        t.save(tmp_path / "a.bmp")
    with pytest.raises(ValueError, match="format"):
        t.export("bmp")
    with pytest.raises(OSError):
        t.save(tmp_path / "missing" / "a.svg")
    assert not (tmp_path / "a.bmp").exists()


def test_stage_options():
    picture = np.asarray(Image.open(EXAMPLE).convert("RGB"))
    assert len({r.color for r in om1.trace(picture, colors=4)}) <= 4
    two = om1.trace(picture, palette=[(255, 0, 0), "#0000ff"], antialias=False, filter="none")
    assert {r.color for r in two} <= {(255, 0, 0), (0, 0, 255)}
    assert om1.trace(picture, max_paths=10).stats.paths <= 10


def test_region_tree_matches_the_json_on_the_example():
    t = om1.trace(EXAMPLE, cutout=True)
    tree = json.loads(t.json())["tree"]
    # Walk both trees together: roles, colours, pixels and boundaries agree.
    pairs = [(tree, t.regions[0])]
    seen = 0
    while pairs:
        node, region = pairs.pop()
        seen += 1
        assert node["role"] == region.role and node["pixels"] == region.pixels
        if not region.is_frame:
            assert node["color"] == region.hex
        assert [np.asarray(b).tolist() for b in node["boundary"]] == \
               [b.tolist() for b in region.boundary]
        assert len(node["holes"]) == len(region.holes)
        pairs.extend(zip(node["holes"], region.holes))
    assert seen == len(list(t.walk())) and len(t) > 10
    assert t.stats.regions == sum(1 for r in t.walk() if not r.is_frame)


def test_closed_trace(block):
    with om1.trace(block) as t:
        region = list(t)[0]
    with pytest.raises(ValueError, match="closed"):
        t.svg()
    with pytest.raises(ValueError, match="closed"):
        region.boundary
    assert "closed" in repr(t)


@pytest.mark.parametrize("preset", [None, "graphic", "photo", "bw"])
def test_polygon_keeps_exact_colours_whatever_the_preset(preset):
    # Exact polygons are lossless on a hard-edged picture only in its own
    # colours: the colour stages of the preset are off.
    rng = np.random.default_rng(3)
    colours = np.array([[255, 255, 255], [208, 32, 32], [32, 64, 192], [32, 160, 64]], np.uint8)
    picture = colours[rng.integers(0, 4, (40, 56))]
    picture[10:20, 10:30] = colours[1]
    t = om1.trace(picture, preset=preset, polygon=True, cutout=True)  # own pixels
    counts = {}
    for r in t:
        if r.role != "frame":
            counts[r.color] = counts.get(r.color, 0) + r.pixels
    want = {tuple(int(v) for v in c): int((picture == c).all(axis=2).sum()) for c in colours}
    assert counts == want
