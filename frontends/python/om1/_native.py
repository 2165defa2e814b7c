"""Loading of the C library om1c and the prototypes of its functions.

The library is looked for, in this order:

1. the file named by the environment variable ``OM1_LIBRARY``;
2. ``_lib/`` inside this package (where ``pip install ./python`` copies it
   together with the om1 libraries it needs);
3. the build tree this package sits in (``build/default/lib/libom1c.so``
   beside ``python/``), so the package works from a checkout after
   ``cmake --build --preset default``;
4. the system's library path (``libom1c.so.0``), for an installed library.
"""

from __future__ import annotations

import ctypes
import ctypes.util
import os
from pathlib import Path
from typing import List, Optional

# The om1 libraries libom1c needs, in the order they are loaded when they lie
# beside it (each needs the ones before it).
_DEPENDENCIES = ("libom1platform.so", "libKVCT64u.so", "libom1.so.0")
_NAMES = ("libom1c.so.0", "libom1c.so")

OK = 0
NO_OUTLINES = 1
LIMIT_EXCEEDED = 2
NULL_ARGUMENT = 3
BAD_SIZE = 4
TOO_SMALL = 5
BAD_STRIDE = 6
BAD_OPTION = 7
UNKNOWN_OPTION = 8
UNKNOWN_FORMAT = 9
BAD_INDEX = 10
OUT_OF_MEMORY = 11
INTERNAL_ERROR = 12
TOO_MANY_COLORS = 13
WRITE_FAILED = 14
CANCELLED = 15

ROLE_OUTLINE = 0
ROLE_HOLE = 1
ROLE_FRAME = 2


class Stats(ctypes.Structure):
    """``om1_stats``."""

    _fields_ = [
        ("width", ctypes.c_int),
        ("height", ctypes.c_int),
        ("regions", ctypes.c_int),
        ("holes", ctypes.c_int),
        ("frames", ctypes.c_int),
        ("paths", ctypes.c_int),
        ("segments", ctypes.c_longlong),
        ("loops", ctypes.c_longlong),
        ("curved_loops", ctypes.c_longlong),
        ("corrected_pixels", ctypes.c_longlong),
    ]


class Region(ctypes.Structure):
    """``om1_region``."""

    _fields_ = [
        ("role", ctypes.c_int),
        ("parent", ctypes.c_int),
        ("depth", ctypes.c_int),
        ("color", ctypes.c_uint32),
        ("pixels", ctypes.c_longlong),
        ("loop_count", ctypes.c_int),
        ("hole_count", ctypes.c_int),
        ("hidden", ctypes.c_int),
        ("alpha", ctypes.c_int),
    ]


class OptionInfo(ctypes.Structure):
    """``om1_option_info``."""

    _fields_ = [
        ("name", ctypes.c_char_p),
        ("kind", ctypes.c_char_p),
        ("min", ctypes.c_double),
        ("max", ctypes.c_double),
        ("choices", ctypes.c_char_p),
        ("value_name", ctypes.c_char_p),
        ("help", ctypes.c_char_p),
        ("takes", ctypes.c_char_p),
    ]


def _candidates() -> List[Path]:
    found: List[Path] = []
    env = os.environ.get("OM1_LIBRARY")
    if env:
        return [Path(env)]
    here = Path(__file__).resolve().parent
    for name in _NAMES:
        found.append(here / "_lib" / name)
    repo = here.parent.parent.parent
    for preset in ("default", "asan"):
        for name in _NAMES:
            found.append(repo / "build" / preset / "lib" / name)
    return found


def _load() -> ctypes.CDLL:
    tried: List[str] = []
    for path in _candidates():
        tried.append(str(path))
        if not path.is_file():
            continue
        # Dependencies lying beside the library are loaded first, so a copy
        # of the libraries in one folder works whatever its run path says.
        for dep in _DEPENDENCIES:
            beside = path.parent / dep
            if beside.is_file():
                ctypes.CDLL(str(beside), mode=ctypes.RTLD_GLOBAL)
        return ctypes.CDLL(str(path))
    if not os.environ.get("OM1_LIBRARY"):
        system: Optional[str] = ctypes.util.find_library("om1c")
        for name in ([system] if system else []) + list(_NAMES):
            try:
                return ctypes.CDLL(name)
            except OSError:
                tried.append(name)
    raise ImportError(
        "om1: cannot find the C library libom1c (tried: " + ", ".join(tried) + "). "
        "Build it with 'cmake --preset default && cmake --build --preset default', "
        "install the package with 'pip install ./python', or set OM1_LIBRARY."
    )


lib = _load()

_c = ctypes
Options = _c.c_void_p  # an om1_options record, allocated with new_options()
# om1_progress_fn: (share, user) -> nonzero to go on.
ProgressFn = ctypes.CFUNCTYPE(_c.c_int, _c.c_double, _c.c_void_p)
_P = ctypes.POINTER
_prototypes = {
    "om1_options_init": (None, [Options]),
    "om1_options_preset": (_c.c_int, [Options, _c.c_char_p]),
    "om1_options_set": (_c.c_int, [Options, _c.c_char_p, _c.c_char_p]),
    "om1_options_check": (_c.c_int, [Options]),
    "om1_option_name": (_c.c_char_p, [_c.c_int]),
    "om1_option_info_at": (_c.c_int, [_c.c_int, _P(OptionInfo)]),
    "om1_preset_name": (_c.c_char_p, [_c.c_int]),
    "om1_preset_help": (_c.c_char_p, [_c.c_int]),
    "om1_trace_rgba": (
        _c.c_int,
        [_c.c_void_p, _c.c_int, _c.c_int, _c.c_int, Options, _P(_c.c_void_p)],
    ),
    "om1_trace_rgba_progress": (
        _c.c_int,
        [_c.c_void_p, _c.c_int, _c.c_int, _c.c_int, Options, ProgressFn, _c.c_void_p,
         _P(_c.c_void_p)],
    ),
    "om1_result_write_progress": (
        _c.c_int,
        [_c.c_void_p, _c.c_char_p, ProgressFn, _c.c_void_p, _P(_c.c_void_p), _P(_c.c_size_t)],
    ),
    "om1_result_free": (None, [_c.c_void_p]),
    "om1_result_stats": (_c.c_int, [_c.c_void_p, _P(Stats)]),
    "om1_result_region_count": (_c.c_int, [_c.c_void_p, _P(_c.c_int)]),
    "om1_result_region": (_c.c_int, [_c.c_void_p, _c.c_int, _P(Region)]),
    "om1_result_hole": (_c.c_int, [_c.c_void_p, _c.c_int, _c.c_int, _P(_c.c_int)]),
    "om1_result_boundary": (
        _c.c_int,
        [_c.c_void_p, _c.c_int, _c.c_int, _c.c_void_p, _c.c_size_t, _P(_c.c_size_t)],
    ),
    "om1_result_curve": (
        _c.c_int,
        [_c.c_void_p, _c.c_int, _c.c_int, _c.c_void_p, _c.c_size_t, _P(_c.c_size_t)],
    ),
    "om1_result_write": (
        _c.c_int,
        [_c.c_void_p, _c.c_char_p, _P(_c.c_void_p), _P(_c.c_size_t)],
    ),
    "om1_buffer_free": (None, [_c.c_void_p]),
    "om1_format_name": (_c.c_char_p, [_c.c_int]),
    "om1_format_extension": (_c.c_char_p, [_c.c_int]),
    "om1_error_message": (_c.c_char_p, [_c.c_int]),
    "om1_version": (_c.c_char_p, []),
    "om1_options_size": (_c.c_size_t, []),
}
for _name, (_restype, _argtypes) in _prototypes.items():
    _fn = getattr(lib, _name)
    _fn.restype = _restype
    _fn.argtypes = _argtypes


def _names(fn) -> List[str]:
    out: List[str] = []
    while True:
        name = fn(len(out))
        if name is None:
            return out
        out.append(name.decode())


OPTION_NAMES: List[str] = _names(lib.om1_option_name)
PRESET_NAMES: List[str] = _names(lib.om1_preset_name)
FORMAT_NAMES: List[str] = _names(lib.om1_format_name)
FORMAT_EXTENSIONS: List[str] = _names(lib.om1_format_extension)
VERSION: str = lib.om1_version().decode()
PRESET_HELP: List[str] = _names(lib.om1_preset_help)


def option_infos() -> List[OptionInfo]:
    """Every option's name, kind, range and help, in the table's order."""
    out: List[OptionInfo] = []
    while True:
        info = OptionInfo()
        if lib.om1_option_info_at(len(out), ctypes.byref(info)) != OK:
            return out
        out.append(info)


def new_options() -> ctypes.Array:
    """A fresh om1_options record with the defaults."""
    record = ctypes.create_string_buffer(lib.om1_options_size())
    lib.om1_options_init(record)
    return record


def message(code: int) -> str:
    """The C library's sentence for an error code."""
    return lib.om1_error_message(code).decode()
