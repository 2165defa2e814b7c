"""``python3 -m om1 INPUT... [-o OUTPUT | -d DIR] [options]``: the command
line of om1trace over the Python package (the same options and outputs;
messages and --stats summaries on standard error, ``-o -`` writes to
standard output). Several inputs are traced on a thread pool. Exit codes: 0 done, 1 no outlines, 2 outline limit exceeded,
3 more colours than --max-colors, 64 bad usage, 65 unreadable or unsupported input, 74 output cannot be
written (a batch exits with the largest code of its inputs)."""

from __future__ import annotations

import argparse
import os
import sys
import time
from concurrent.futures import ThreadPoolExecutor
from typing import Any, Dict, List, Optional, Sequence, Tuple

from . import FORMAT_EXTENSIONS, FORMAT_NAMES, PRESET_NAMES, TraceError, __version__, _options, trace
from . import _native

DONE, NO_OUTLINES, LIMIT_EXCEEDED, TOO_MANY_COLORS = 0, 1, 2, 3
BAD_USAGE, BAD_INPUT, CANNOT_WRITE = 64, 65, 74


class _Parser(argparse.ArgumentParser):
    def error(self, message: str) -> None:  # type: ignore[override]
        self.print_usage(sys.stderr)
        self.exit(BAD_USAGE, "%s: error: %s\n" % (self.prog, message))


def _parser() -> argparse.ArgumentParser:
    p = _Parser(prog="python3 -m om1",
                description="Traces pictures into vector outlines (.svg, or another format "
                            "by the output's extension: %s)." % ", ".join(FORMAT_EXTENSIONS))
    p.add_argument("inputs", nargs="+", metavar="INPUT")
    p.add_argument("-o", dest="output",
                   help="output file (one input only; - for standard output)")
    p.add_argument("-d", dest="dir",
                   help="write NAME.svg (or the --format's extension) for every input into DIR")
    p.add_argument("--format", choices=FORMAT_NAMES,
                   help="the writer, whatever the output's extension (default: by extension, "
                        "else svg)")
    p.add_argument("--tolerance", type=int, help="colour tolerance, 0..100 (default 10)")
    p.add_argument("--min-length", type=int, help="drop outlines shorter than this (default 4)")
    p.add_argument("--max-outlines", type=int, help="outline limit of one trace (default 1000000)")
    p.add_argument("--curve-tolerance", type=int, help="straight-line tolerance in pixels (default 1)")
    p.add_argument("--max-pixels", type=int, help="refuse larger pictures (default 100000000)")
    p.add_argument("--background", help="colour under transparent pixels, RRGGBB (default ffffff)")
    p.add_argument("--transparent", action="store_true",
                   help="leave out regions that were fully transparent")
    p.add_argument("--polygon", action="store_true",
                   help="exact pixel-edge polygons, no curves (tolerance and min length 0)")
    p.add_argument("--cutout", action="store_true",
                   help="every region once as its own area, no stacking")
    p.add_argument("--preset", choices=PRESET_NAMES,
                   help="graphic (default), photo, bw, pixel or plain")
    stages = p.add_argument_group("stages (each preset has its own defaults; these override them)")
    stages.add_argument("--filter", choices=["none", "quadrant", "adaptive"],
                        help="edge-preserving pre-filter")
    stages.add_argument("--filter-radius", type=int, help="filter quadrant side K + 1, 1..8")
    stages.add_argument("--colors", type=int, help="quantise to N colours, 2..256 (0 off)")
    stages.add_argument("--palette", help="snap every pixel to the nearest of #rrggbb,... (or a file)")
    stages.add_argument("--antialias", choices=["on", "off"],
                        help="absorb thin bands of in-between colours")
    stages.add_argument("--speckle", type=int, help="regions below PX pixels join their surroundings")
    stages.add_argument("--max-paths", type=int, help="raise the speckle area until at most N paths")
    stages.add_argument("--max-colors", type=int,
                        help="refuse pictures of more colours after the colour stages "
                             "(0, the default: no limit)")
    stages.add_argument("--threshold", help="luminance below L (0..255) is black, else white; auto: "
                                            "chosen from the picture")
    stages.add_argument("--restitute", choices=["on", "off"],
                        help="regions take the mean colour of the pixels they cover")
    stages.add_argument("--merge", type=float,
                        help="merge neighbouring regions while a union costs at most C")
    stages.add_argument("--merge-psnr", type=float,
                        help="... or while the regions' means stay DB from the input")
    stages.add_argument("--spots", type=int,
                        help="trace twice: spots up to PX pixels absorbed, regions repainted")
    p.add_argument("--stats", action="store_true", help="print counts and times per input")
    p.add_argument("--quiet", action="store_true", help="print nothing but errors")
    p.add_argument("--version", action="version", version="om1 " + __version__)
    return p


def _format_for(args: argparse.Namespace, out: str) -> str:
    if args.format:
        return args.format
    ext = os.path.splitext(out)[1].lower().lstrip(".")
    return ext if out != "-" and (ext in FORMAT_EXTENSIONS or ext in FORMAT_NAMES or ext == "ps") \
        else "svg"


def _output_for(args: argparse.Namespace, path: str) -> str:
    if args.output:
        return args.output
    ext = FORMAT_EXTENSIONS[FORMAT_NAMES.index(args.format)] if args.format else "svg"
    name = os.path.splitext(os.path.basename(path))[0] + "." + ext
    return os.path.join(args.dir if args.dir else os.path.dirname(path), name)


def _run(path: str, out: str, fmt: str, preset: Optional[str],
         options: Dict[str, Any]) -> Tuple[int, str]:
    t0 = time.perf_counter()
    try:
        result = trace(path, preset=preset, **options)
    except TraceError as e:
        code = {_native.LIMIT_EXCEEDED: LIMIT_EXCEEDED,
                _native.TOO_MANY_COLORS: TOO_MANY_COLORS}.get(e.code, NO_OUTLINES)
        return code, "%s: %s" % (path, e)
    except (OSError, ValueError) as e:
        return BAD_INPUT, "%s: %s" % (path, e)
    t1 = time.perf_counter()
    try:
        if out == "-":
            data = result.export(fmt)
            sys.stdout.buffer.write(data)
            sys.stdout.buffer.flush()
            size = len(data)
        else:
            result.save(out, format=fmt)
            size = os.path.getsize(out)
    except (OSError, ValueError) as e:
        return CANNOT_WRITE, "%s: cannot write: %s" % (out, e)
    t2 = time.perf_counter()
    s = result.stats
    text = ("%s -> %s: %d x %d, %d regions (%d holes, %d frames), %d paths, %d segments, "
            "%d of %d loops curved, %d pixels corrected, %d bytes, trace %.1f ms, write %.1f ms"
            % (path, out, s.width, s.height, s.regions, s.holes, s.frames, s.paths, s.segments,
               s.curved_loops, s.loops, s.corrected_pixels, size,
               1000 * (t1 - t0), 1000 * (t2 - t1)))
    return DONE, text


def main(argv: Optional[Sequence[str]] = None) -> int:
    """Runs the command line; returns the exit code."""
    p = _parser()
    args = p.parse_args(argv)
    if args.output and args.dir:
        p.error("-o and -d cannot be used together")
    if args.output and len(args.inputs) > 1:
        p.error("-o takes one input; use -d DIR for several")
    preset = args.preset
    options: Dict[str, Any] = {}
    for name in ("tolerance", "min_length", "max_outlines", "curve_tolerance", "max_pixels",
                 "background", "filter", "filter_radius", "colors", "palette", "antialias",
                 "speckle", "max_paths", "max_colors", "threshold", "restitute", "merge", "merge_psnr",
                 "spots"):
        value = getattr(args, name)
        if value is not None:
            options[name] = value
    if args.polygon:
        # As om1trace: exact polygons, and every region in its exact colour
        # unless a tolerance or minimum length is given.
        options["polygon"] = True
        options.setdefault("tolerance", 0)
        options.setdefault("min_length", 0)
    if args.cutout:
        options["cutout"] = True
    if args.transparent:
        options["transparent"] = True
    try:
        _options(preset, options)
    except ValueError as e:
        p.error(str(e))
    jobs: List[Tuple[str, str, str]] = []
    for i in args.inputs:
        out = _output_for(args, i)
        jobs.append((i, out, _format_for(args, out)))
    worst = DONE
    with ThreadPoolExecutor(max_workers=min(len(jobs), os.cpu_count() or 1)) as pool:
        for code, text in pool.map(lambda j: _run(j[0], j[1], j[2], preset, options), jobs):
            worst = max(worst, code)
            if code != DONE:
                print("om1: " + text, file=sys.stderr)
            elif args.stats and not args.quiet:
                print(text, file=sys.stderr)
    return worst


if __name__ == "__main__":
    sys.exit(main())
