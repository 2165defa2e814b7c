"""Bad input raises a clear Python exception and never crashes: arrays of the
wrong kind or size, bad options, missing or undecodable files."""

import numpy as np
import pytest

import om1
from conftest import red_block


@pytest.mark.parametrize("array, match", [
    (np.zeros((8, 8, 3), np.float32), "dtype uint8"),
    (np.zeros((8, 8, 3), np.uint16), "dtype uint8"),
    (np.zeros((8, 8), bool), "dtype uint8"),
    (np.zeros((8, 8, 2), np.uint8), "H x W x 3"),
    (np.zeros((8, 8, 5), np.uint8), "H x W x 3"),
    (np.zeros((2, 8, 8, 3), np.uint8), "H x W x 3"),
    (np.zeros(64, np.uint8), "H x W x 3"),
    (np.zeros((1, 1, 3), np.uint8), "at least 3 x 3"),
    (np.zeros((2, 9), np.uint8), "at least 3 x 3"),
    (np.zeros((0, 9, 3), np.uint8), "max_pixels"),
    # 10^10 pixels, a view of one pixel: refused before anything is copied.
    (np.broadcast_to(np.zeros((1, 1, 4), np.uint8), (100000, 100000, 4)), "max_pixels"),
    (np.broadcast_to(np.zeros((1, 1, 3), np.uint8), (1, 1 << 31, 3)), "max_pixels"),
])
def test_bad_arrays(array, match):
    with pytest.raises(ValueError, match=match):
        om1.trace(array)


def test_max_pixels_is_an_option():
    with pytest.raises(ValueError, match="max_pixels"):
        om1.trace(red_block(), max_pixels=100)
    assert len(om1.trace(red_block(), max_pixels=320)) == 2


# Every option's range is checked by test_every_table_option_with_its_range;
# these are the values Python itself must refuse or pass on as they are.
@pytest.mark.parametrize("options, match", [
    ({"tolerance": -1}, "tolerance"),
    ({"max_curve_error": -0.5}, "max_curve_error"),
    ({"max_curve_error": float("nan")}, "max_curve_error"),
    ({"tolerance": 2.5}, "tolerance"),
    ({"tolerance": "ten"}, "tolerance"),
    ({"tolerance": None}, "tolerance"),
    ({"background": "#12345"}, "background"),
    ({"background": (1, 2, 300)}, "background"),
    ({"background": -1}, "background"),
    ({"palette": ["#12345x"]}, "palette"),
    ({"palette": [(0, 0)]}, "palette"),
    ({"palette": []}, "palette"),
    ({"colour": 3}, "unknown option 'colour'"),
    ({"preset": "fast"}, "unknown preset 'fast'"),
])
def test_bad_options(options, match):
    with pytest.raises(ValueError, match=match):
        om1.trace(red_block(), **options)


def test_trace_errors():
    board = np.kron((np.indices((6, 6)).sum(axis=0) % 2) * 255, np.ones((6, 6))).astype(np.uint8)
    with pytest.raises(om1.TraceError, match="max_outlines") as e:
        om1.trace(board, preset="plain", max_outlines=1)
    assert e.value.code == 2
    with pytest.raises(om1.TraceError, match="no outlines"):
        om1.trace(board, preset="plain", min_length=100000)
    x = np.tile(np.arange(300), (10, 1))  # 300 columns of distinct colours
    ramp = np.stack([x % 256, x // 2, np.full_like(x, 7)], axis=2).astype(np.uint8)
    with pytest.raises(om1.TraceError, match="max_colors") as e:
        om1.trace(ramp, preset="pixel", max_colors=128)
    assert e.value.code == 13
    assert len(om1.trace(ramp, preset="pixel")) >= 300


def test_files(tmp_path):
    with pytest.raises(FileNotFoundError):
        om1.trace(tmp_path / "missing.png")
    with pytest.raises(OSError):
        om1.trace(str(tmp_path))  # a folder
    (tmp_path / "junk.png").write_bytes(b"not a picture")
    with pytest.raises(OSError, match="junk.png"):
        om1.trace(tmp_path / "junk.png")
    with pytest.raises(OSError, match="bytes"):
        om1.trace(b"\x89PNG\r\n\x1a\n truncated")
    with pytest.raises(OSError):
        om1.trace(b"")


def test_other_objects():
    for thing in (None, 3, [[0, 0, 0]] * 3, object()):
        with pytest.raises(TypeError, match="NumPy array"):
            om1.trace(thing)


def test_every_table_option_with_its_range():
    """Every option of the library's table is a keyword with the table's range,
    and an option of python3 -m om1: the largest value is taken, beyond it refused."""
    from om1 import _native
    from om1.__main__ import _parser

    flags = {f for a in _parser()._actions for f in a.option_strings}
    for info in _native.option_infos():
        name, kind = info.name.decode(), info.kind.decode()
        assert "--" + name.replace("_", "-") in flags, name
        good, bad = {
            "int": (int(info.max), int(info.max) + 1),
            "number": (float(info.max), float(info.max) * 1.01 + 1),
            "flag": (True, 2),
            "switch": ("off", "maybe"),
            "colour": ("#ffffff", "#fffffff"),
            "choice": ("adaptive", "median"),
            "palette": ("#000000", "#00000"),
        }[kind]
        om1._options(None, {name: good})
        with pytest.raises(ValueError, match=name):
            om1._options(None, {name: bad})
    with pytest.raises(ValueError, match="did you mean 'colors'"):
        om1._options(None, {"colours": 5})
