"""om1: colour raster pictures into vector outlines.

    >>> import numpy as np, om1
    >>> picture = np.zeros((8, 8, 3), np.uint8)
    >>> t = om1.trace(picture)
    >>> t.svg()[:5]
    '<?xml'

:func:`trace` takes a NumPy array, a Pillow image, a file path or the bytes
of a PNG/JPEG/BMP/GIF file and returns a :class:`Trace`. The work happens in
the C library ``libom1c`` without the interpreter lock, so a thread pool
traces several pictures at once.
"""

from __future__ import annotations

import ctypes
import difflib
import io
import os
from dataclasses import dataclass
from typing import Any, Dict, Iterator, List, Optional, Tuple, Union

import numpy as np

from . import _native
from ._native import FORMAT_EXTENSIONS, FORMAT_NAMES, OPTION_NAMES, PRESET_NAMES

__all__ = [
    "trace",
    "Trace",
    "Region",
    "Stats",
    "TraceError",
    "Cancelled",
    "batch",
    "BatchItem",
    "OPTION_NAMES",
    "PRESET_NAMES",
    "FORMAT_NAMES",
    "__version__",
]

__version__: str = _native.VERSION

ImageLike = Union[np.ndarray, "os.PathLike[str]", str, bytes, bytearray, memoryview, Any]


class TraceError(RuntimeError):
    """The picture was read but the trace gave nothing: no outlines, more
    outlines than ``max_outlines`` allows, or more colours than ``max_colors``
    (when set). ``code`` is the C library's code."""

    def __init__(self, code: int, text: str) -> None:
        super().__init__(text)
        self.code = code


class Cancelled(Exception):
    """The ``progress`` callable returned False: the work stopped and
    everything it had made was released."""


class _Progress:
    """A Python callable as the C library's progress callback. It runs on the
    calling thread; an exception it raises stops the work and is raised again
    after the call."""

    def __init__(self, progress: Any) -> None:
        if not callable(progress):
            raise TypeError("om1: progress must be a callable taking a fraction")
        self.error: Optional[BaseException] = None

        def call(share: float, _user: Any) -> int:
            try:
                return 0 if progress(share) is False else 1
            except BaseException as e:  # noqa: BLE001 - raised again after the call
                self.error = e
                return 0

        self.fn = _native.ProgressFn(call)

    def check(self, code: int) -> None:
        if self.error is not None:
            raise self.error
        if code == _native.CANCELLED:
            raise Cancelled("om1: cancelled by the progress callback")


def _raise(code: int, context: str = "") -> None:
    """Raises the Python exception for a C error code (nothing for OK)."""
    if code == _native.OK:
        return
    text = "om1: " + (context + ": " if context else "") + _native.message(code)
    if code in (_native.NO_OUTLINES, _native.LIMIT_EXCEEDED, _native.TOO_MANY_COLORS):
        raise TraceError(code, text)
    if code == _native.OUT_OF_MEMORY:
        raise MemoryError(text)
    if code == _native.INTERNAL_ERROR:
        raise RuntimeError(text)
    raise ValueError(text)


def _is_rgb(value: Any) -> bool:
    return (isinstance(value, (tuple, list)) and len(value) == 3 and
            all(isinstance(c, (int, np.integer)) and not isinstance(c, bool) and 0 <= c <= 255
                for c in value))


def _option_text(name: str, value: Any) -> str:
    if value is None and name == "background":
        return "none"
    if isinstance(value, (bool, np.bool_)):
        return "true" if value else "false"
    if isinstance(value, (int, np.integer)):
        if name == "background":
            return "%06x" % int(value) if 0 <= int(value) <= 0xFFFFFF else "-"
        return str(int(value))
    if isinstance(value, (float, np.floating)):
        return repr(float(value))
    if isinstance(value, str):
        return value
    if name == "background" and _is_rgb(value):
        return "%02x%02x%02x" % tuple(int(c) for c in value)
    if name == "palette" and isinstance(value, (tuple, list)) and value:
        entries = []
        for c in value:
            if _is_rgb(c):
                entries.append("#%02x%02x%02x" % tuple(int(v) for v in c))
            elif isinstance(c, str) and c.startswith("#"):
                entries.append(c)
            else:
                raise ValueError("om1: palette entry %r is neither (r, g, b) nor '#rrggbb'" % (c,))
        return ",".join(entries)
    raise ValueError("om1: option %s: cannot use a value of type %s" % (name, type(value).__name__))


def _options(preset: Optional[str], options: Dict[str, Any]) -> ctypes.Array:
    record = _native.new_options()
    if preset is not None:
        if not isinstance(preset, str) or _native.lib.om1_options_preset(
            record, preset.encode()
        ) != _native.OK:
            raise ValueError(
                "om1: unknown preset %r (presets: %s)" % (preset, ", ".join(PRESET_NAMES))
            )
    for name in options:
        if name not in OPTION_NAMES:
            near = difflib.get_close_matches(name, OPTION_NAMES, n=1)
            raise ValueError(
                "om1: unknown option %r%s (options: %s)"
                % (name, "; did you mean %r?" % near[0] if near else "", ", ".join(OPTION_NAMES))
            )
    # In the table's order: an option that implies others comes first, so an
    # explicit value wins (polygon sets tolerance and min_length to 0).
    for name, value in sorted(options.items(), key=lambda kv: OPTION_NAMES.index(kv[0])):
        text = _option_text(name, value)
        code = _native.lib.om1_options_set(record, name.encode(), text.encode())
        if code != _native.OK:
            raise ValueError("om1: option %s=%r is out of its range or not of its kind" % (name, value))
    return record


def _decode(data: Union[str, "os.PathLike[str]", bytes], what: str) -> np.ndarray:
    try:
        from PIL import Image  # noqa: PLC0415
    except ImportError as e:  # pragma: no cover - Pillow is a dependency
        raise OSError("om1: reading %s needs Pillow (Debian: python3-pil)" % what) from e
    source: Any = io.BytesIO(bytes(data)) if isinstance(data, (bytes, bytearray, memoryview)) else data
    try:
        with Image.open(source) as im:
            return _from_pillow(im)
    except OSError as e:
        if isinstance(e, FileNotFoundError) or e.filename:
            raise
        raise OSError("om1: cannot read %s: %s" % (what, e)) from e
    except (ValueError, Image.DecompressionBombError) as e:
        raise OSError("om1: cannot read %s: %s" % (what, e)) from e


def _from_pillow(im: Any) -> np.ndarray:
    if im.mode not in ("RGBA", "RGB", "L"):
        im = im.convert("RGBA")
    return np.asarray(im)


def _rgba(image: ImageLike, max_pixels: int) -> np.ndarray:
    """The picture as a H x W x 4 uint8 array with packed pixels; its size is
    checked before anything is copied."""
    if isinstance(image, (str, os.PathLike)):
        array = _decode(image, "file %s" % os.fspath(image))
    elif isinstance(image, (bytes, bytearray, memoryview)):
        array = _decode(image, "the given bytes")
    elif isinstance(image, np.ndarray):
        array = image
    elif hasattr(image, "mode") and hasattr(image, "convert"):
        array = _from_pillow(image)
    else:
        raise TypeError(
            "om1: trace takes a NumPy array, a Pillow image, a path or bytes, not %s"
            % type(image).__name__
        )
    if not isinstance(array, np.ndarray) or array.dtype != np.uint8:
        raise ValueError("om1: the array must be of dtype uint8, not %s" % array.dtype)
    if array.ndim == 2:
        array = np.repeat(array[:, :, None], 3, axis=2)
    if array.ndim != 3 or array.shape[2] not in (3, 4):
        raise ValueError(
            "om1: the array must be H x W (grey), H x W x 3 (RGB) or H x W x 4 (RGBA), not %s"
            % " x ".join(str(n) for n in array.shape)
        )
    height, width = int(array.shape[0]), int(array.shape[1])
    if width < 1 or height < 1 or width * height > max_pixels or width > 0x1FFFFFFF:
        _raise(_native.BAD_SIZE, "%d x %d picture" % (width, height))
    if width < 3 or height < 3:
        _raise(_native.TOO_SMALL, "%d x %d picture" % (width, height))
    if array.shape[2] == 3:
        rgba = np.empty(array.shape[:2] + (4,), np.uint8)
        rgba[:, :, :3] = array
        rgba[:, :, 3] = 255
        return rgba
    if array.strides[1] != 4 or array.strides[2] != 1 or array.strides[0] < 0:
        array = np.ascontiguousarray(array)
    return array


@dataclass(frozen=True)
class Stats:
    """Counts over a trace."""

    width: int
    height: int
    regions: int  #: regions with a colour (outlines and holes)
    holes: int  #: of which holes
    frames: int  #: containers without colour
    paths: int  #: regions drawn by the writers
    segments: int  #: curve segments and polygon edges drawn
    loops: int  #: boundary loops
    curved_loops: int  #: loops kept as fitted curves
    corrected_pixels: int  #: pixels moved to match the picture


class Region:
    """One region of a trace: a node of the tree of regions and their holes.

    ``boundary`` holds the exact corner polygons (one ``n x 2`` int32 array
    per loop; outer loops clockwise on the picture, loops of holes the other
    way), ``curves`` the fitted closed Bezier curves (one ``(3k + 1) x 2``
    float64 array per loop, empty where the exact polygon stands in).
    """

    __slots__ = ("_trace", "index", "role", "parent_index", "depth", "pixels", "hidden", "alpha",
                 "_color", "_loops", "_holes", "_boundary", "_curves")

    _ROLES = {_native.ROLE_OUTLINE: "outline", _native.ROLE_HOLE: "hole",
              _native.ROLE_FRAME: "frame"}

    def __init__(self, trace: "Trace", index: int, info: _native.Region) -> None:
        self._trace = trace
        self.index: int = index
        self.role: str = self._ROLES.get(info.role, "outline")
        self.parent_index: int = info.parent
        self.depth: int = info.depth
        self.pixels: int = info.pixels
        self.hidden: bool = bool(info.hidden)
        #: opacity 0..255: 255 opaque, 0 the empty region of a transparent picture (not drawn)
        self.alpha: int = int(info.alpha)
        self._color = int(info.color)
        self._loops = int(info.loop_count)
        self._holes: List[Region] = []
        self._boundary: Optional[List[np.ndarray]] = None
        self._curves: Optional[List[np.ndarray]] = None

    @property
    def is_hole(self) -> bool:
        """True for a hole in the region around it."""
        return self.role == "hole"

    @property
    def is_frame(self) -> bool:
        """True for a container without colour of its own (not drawn)."""
        return self.role == "frame"

    @property
    def color(self) -> Optional[Tuple[int, int, int]]:
        """(red, green, blue), or None for a frame."""
        if self.is_frame:
            return None
        c = self._color
        return ((c >> 16) & 0xFF, (c >> 8) & 0xFF, c & 0xFF)

    @property
    def hex(self) -> Optional[str]:
        """The colour as ``#rrggbb``, or None for a frame."""
        return None if self.is_frame else "#%06x" % self._color

    @property
    def holes(self) -> List["Region"]:
        """The regions directly inside this one."""
        return self._holes

    @property
    def parent(self) -> Optional["Region"]:
        """The enclosing region, None for the root."""
        return None if self.parent_index < 0 else self._trace._regions[self.parent_index]

    def _points(self, fn: Any, ctype: Any, dtype: Any) -> List[np.ndarray]:
        loops = []
        result = self._trace._handle()
        for k in range(self._loops):
            count = ctypes.c_size_t(0)
            _raise(fn(result, self.index, k, None, 0, ctypes.byref(count)))
            out = np.empty((count.value, 2), dtype)
            if count.value:
                got = ctypes.c_size_t(0)
                _raise(fn(result, self.index, k, out.ctypes.data_as(ctypes.c_void_p),
                          count.value, ctypes.byref(got)))
            loops.append(out)
        return loops

    @property
    def boundary(self) -> List[np.ndarray]:
        """The exact corner polygon of every loop (n x 2, int32, not closed)."""
        if self._boundary is None:
            self._boundary = self._points(_native.lib.om1_result_boundary, ctypes.c_int32, np.int32)
        return self._boundary

    @property
    def curves(self) -> List[np.ndarray]:
        """The fitted curve of every loop: start, then two control points and the
        end of each cubic segment ((3k + 1) x 2, float64; 0 x 2 where the
        exact polygon stands in)."""
        if self._curves is None:
            self._curves = self._points(_native.lib.om1_result_curve, ctypes.c_double, np.float64)
        return self._curves

    def walk(self) -> Iterator["Region"]:
        """This region and everything inside it, in drawing order."""
        stack = [self]
        while stack:
            r = stack.pop()
            yield r
            stack.extend(reversed(r._holes))

    def __repr__(self) -> str:
        return "<om1.Region %d %s %s, %d pixels, %d holes>" % (
            self.index, self.role, self.hex or "", self.pixels, len(self._holes))


class Trace:
    """The result of :func:`trace`: the regions and their exact geometry,
    written as SVG, JSON or any format of :data:`FORMAT_NAMES`."""

    def __init__(self, handle: ctypes.c_void_p) -> None:
        self._result: Optional[ctypes.c_void_p] = handle
        stats = _native.Stats()
        _raise(_native.lib.om1_result_stats(handle, ctypes.byref(stats)))
        self.stats: Stats = Stats(**{name: getattr(stats, name) for name, _ in _native.Stats._fields_})
        self._region_list: Optional[List[Region]] = None

    @property
    def _regions(self) -> List[Region]:
        # Read on first use: a trace that is only written needs no regions.
        if self._region_list is None:
            handle = self._handle()
            count = ctypes.c_int(0)
            _raise(_native.lib.om1_result_region_count(handle, ctypes.byref(count)))
            regions: List[Region] = []
            info = _native.Region()
            for i in range(count.value):
                _raise(_native.lib.om1_result_region(handle, i, ctypes.byref(info)))
                regions.append(Region(self, i, info))
            for r in regions:
                if 0 <= r.parent_index < len(regions):
                    regions[r.parent_index]._holes.append(r)
            self._region_list = regions
        return self._region_list

    def _handle(self) -> ctypes.c_void_p:
        if self._result is None:
            raise ValueError("om1: the trace was closed")
        return self._result

    def close(self) -> None:
        """Releases the C result now (also done when the object is collected)."""
        if self._result is not None:
            _native.lib.om1_result_free(self._result)
            self._result = None

    def __del__(self) -> None:
        try:
            self.close()
        except Exception:  # pragma: no cover - interpreter shutdown
            pass

    def __enter__(self) -> "Trace":
        return self

    def __exit__(self, *exc: Any) -> None:
        self.close()

    @property
    def width(self) -> int:
        return self.stats.width

    @property
    def height(self) -> int:
        return self.stats.height

    @property
    def paths(self) -> int:
        """Regions drawn by the writers (one path each)."""
        return self.stats.paths

    @property
    def segments(self) -> int:
        """Curve segments and polygon edges drawn."""
        return self.stats.segments

    @property
    def regions(self) -> List[Region]:
        """The top of the region tree (usually one region, the picture's
        outermost); walk ``holes`` for the rest, or use :meth:`walk`."""
        return [r for r in self._regions if r.parent_index < 0]

    def walk(self) -> Iterator[Region]:
        """Every region (frames included) in drawing order: a region, then its
        holes, depth first."""
        return iter(list(self._regions))

    def __len__(self) -> int:
        """The number of regions with a colour."""
        return self.stats.regions

    def __iter__(self) -> Iterator[Region]:
        """The regions with a colour, in drawing order."""
        return (r for r in self._regions if not r.is_frame)

    def export(self, format: str, progress: Any = None) -> bytes:
        """The trace written in a format of :data:`FORMAT_NAMES` (or by its
        file extension), as bytes (PDF is binary; the others are UTF-8 text).
        `progress`, a callable, is told the fraction written (0 to 1);
        returning False stops with :class:`Cancelled`."""
        data = ctypes.c_void_p()
        size = ctypes.c_size_t(0)
        if progress is None:
            code = _native.lib.om1_result_write(self._handle(), format.encode(),
                                                ctypes.byref(data), ctypes.byref(size))
        else:
            listener = _Progress(progress)
            code = _native.lib.om1_result_write_progress(
                self._handle(), format.encode(), listener.fn, None, ctypes.byref(data),
                ctypes.byref(size))
            listener.check(code)
        if code == _native.UNKNOWN_FORMAT:
            raise ValueError("om1: unknown format %r (formats: %s)" % (format, ", ".join(FORMAT_NAMES)))
        _raise(code)
        try:
            return ctypes.string_at(data, size.value)
        finally:
            _native.lib.om1_buffer_free(data)

    def svg(self) -> str:
        """The trace as SVG text."""
        return self.export("svg").decode("utf-8")

    def json(self) -> str:
        """The trace as JSON text (the format is described in the README)."""
        return self.export("json").decode("utf-8")

    def save(self, path: Union[str, "os.PathLike[str]"], format: Optional[str] = None,
             progress: Any = None) -> None:
        """Writes the trace to a file, in `format` or the one its extension
        names (``.svg``, ``.json``, ``.pdf``, ``.eps``, ``.dxf``, ``.geojson``).
        The file is replaced whole or not at all. OSError when it cannot be
        written."""
        path = os.fspath(path)
        if format is None:
            ext = os.path.splitext(path)[1].lower().lstrip(".")
            if ext not in FORMAT_EXTENSIONS and ext not in FORMAT_NAMES and ext != "ps":
                raise ValueError("om1: cannot tell the format of %r (extensions: %s)"
                                 % (path, ", ".join("." + e for e in FORMAT_EXTENSIONS)))
            format = ext
        text = self.export(format, progress)
        tmp = "%s.tmp%d.%d" % (path, os.getpid(), id(text) & 0xFFFFFF)
        try:
            with open(tmp, "wb") as f:
                f.write(text)
            os.replace(tmp, path)
        except BaseException:
            if os.path.exists(tmp):
                os.remove(tmp)
            raise

    def __repr__(self) -> str:
        if self._result is None:
            return "<om1.Trace closed>"
        return "<om1.Trace %d x %d, %d regions, %d paths, %d segments>" % (
            self.width, self.height, len(self), self.paths, self.segments)


def trace(image: ImageLike, preset: Optional[str] = None, progress: Any = None,
          **options: Any) -> Trace:
    """Traces a picture into a :class:`Trace`.

    `image` is a NumPy array of dtype uint8 (H x W grey, H x W x 3 RGB or
    H x W x 4 RGBA, row 0 at the top), a Pillow image, a file path or the
    bytes of an image file (decoded with Pillow).

    `preset` is one of :data:`PRESET_NAMES`: "graphic" (the default: flat
    colours with anti-aliased edges), "photo", "bw", "pixel" (hard-edged
    pixel art as exact polygons, lossless) or "plain" (as the library's
    entry points). `options` then override single settings, named as in
    :data:`OPTION_NAMES` (the fields of ``om1_options`` in ``om1c.h``):
    ``tolerance`` (percent, 0..100), ``min_length``, ``max_outlines``,
    ``curve_tolerance``, ``polygon``, ``cutout``, ``max_curve_error``,
    ``max_pixels``, ``background`` (``"#rrggbb"``, 0xRRGGBB or (r, g, b):
    composite over it; None, the default: RGBA arrays keep their alpha),
    ``transparent``, and the stages ``threshold``, ``filter`` ("none",
    "quadrant", "adaptive"), ``filter_radius``, ``colors``, ``palette`` (a
    list of (r, g, b) or "#rrggbb"), ``antialias``, ``speckle``,
    ``restitute``, ``merge``, ``merge_psnr``, ``spots``, ``max_paths`` and a
    few more.

    `progress`, a callable, is told the fraction done (0 to 1, over the
    stages, the tracer and the shapes) about every 10 ms on the calling
    thread; returning False stops the trace with :class:`Cancelled` (soon:
    tens of milliseconds on a 4096 x 4096 picture).

    Raises ValueError for bad options or arrays (wrong dtype or shape,
    smaller than 3 x 3, more pixels than ``max_pixels``), TypeError for
    other objects, OSError for files that cannot be read, TraceError when
    nothing was traced or the outline limit was exceeded, MemoryError when
    memory ran out.
    """
    record = _options(preset, options)
    max_pixels = int(options.get("max_pixels", 100000000))
    rgba = _rgba(image, max_pixels)
    height, width = int(rgba.shape[0]), int(rgba.shape[1])
    handle = ctypes.c_void_p()
    if progress is None:
        code = _native.lib.om1_trace_rgba(rgba.ctypes.data_as(ctypes.c_void_p), width, height,
                                          int(rgba.strides[0]), record, ctypes.byref(handle))
    else:
        listener = _Progress(progress)
        code = _native.lib.om1_trace_rgba_progress(
            rgba.ctypes.data_as(ctypes.c_void_p), width, height, int(rgba.strides[0]), record,
            listener.fn, None, ctypes.byref(handle))
        listener.check(code)
    _raise(code, "%d x %d picture" % (width, height))
    return Trace(handle)


from ._batch import BatchItem, batch  # noqa: E402 - uses the names above
