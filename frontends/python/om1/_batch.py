"""Batches of picture files: on a Dask cluster when a ``distributed.Client``
is given, on a thread pool of this process otherwise.

Each input is traced where the work runs (it must be readable there: a
shared file system, or the same machine) and the output comes back to the
caller, which writes it whole or not at all (a temporary file beside it,
then a rename), so an output that exists is complete. A batch started again
skips the inputs whose output exists. A file that cannot be traced is
reported and the others go on; a worker that dies is replaced by the
cluster and its tasks run again elsewhere.
"""

from __future__ import annotations

import os
import time
from concurrent.futures import ThreadPoolExecutor, as_completed
from dataclasses import dataclass
from typing import Any, Dict, Iterable, Iterator, List, Optional, Tuple, Union

PathLike = Union[str, "os.PathLike[str]"]


@dataclass(frozen=True)
class BatchItem:
    """What became of one input: ``status`` is "done" (written), "skipped"
    (its output was there already), "refused" (the picture could not be read
    or traced; ``reason`` says why) or "failed" (the work itself failed, such
    as a worker that died more often than the cluster allows)."""

    input: str
    output: str
    status: str
    reason: str = ""
    seconds: float = 0.0  #: the trace and the writing, where it ran


def _trace_file(path: str, format: str, preset: Optional[str],
                options: Dict[str, Any]) -> Tuple[str, Union[bytes, str], float]:
    """Runs where the work runs: ("done", output bytes, seconds) or
    ("refused", reason, seconds)."""
    import om1  # noqa: PLC0415 - imported on the worker

    t0 = time.perf_counter()
    try:
        with om1.trace(path, preset, **options) as t:
            data = t.export(format)
    except (om1.TraceError, ValueError, OSError, MemoryError) as e:
        return "refused", str(e), time.perf_counter() - t0
    return "done", data, time.perf_counter() - t0


def _write_whole(path: str, data: bytes) -> None:
    tmp = "%s.part%d" % (path, os.getpid())
    try:
        with open(tmp, "wb") as f:
            f.write(data)
            f.flush()
            os.fsync(f.fileno())
        os.replace(tmp, path)
    except BaseException:
        if os.path.exists(tmp):
            os.remove(tmp)
        raise


def _outputs(inputs: List[str], out_dir: str, extension: str) -> List[str]:
    outputs = []
    seen: Dict[str, str] = {}
    for path in inputs:
        stem = os.path.splitext(os.path.basename(path))[0]
        out = os.path.join(out_dir, stem + "." + extension)
        if out in seen:
            raise ValueError("om1: %s and %s would both be written to %s" % (seen[out], path, out))
        seen[out] = path
        outputs.append(out)
    return outputs


def batch(inputs: Iterable[PathLike], out_dir: PathLike, client: Any = None, format: str = "svg",
          preset: Optional[str] = None, workers: Optional[int] = None,
          **options: Any) -> Iterator[BatchItem]:
    """Traces picture files into `out_dir` (made when missing), one output
    each, named after the input (``frog.png`` -> ``frog.svg``), and yields a
    :class:`BatchItem` for every input as it finishes (skipped ones first).

    `client`: a ``distributed.Client`` to run the traces on its cluster;
    None runs them on a thread pool of `workers` threads (the processor
    count by default). `format` is one of :data:`om1.FORMAT_NAMES`;
    `preset` and `options` are those of :func:`om1.trace` (checked before
    anything runs: ValueError).

    Outputs are written whole or not at all, by this process; an input whose
    output exists is skipped, so a batch that was stopped is resumed by
    running it again. Each trace runs on one thread unless `threads` is
    given: the batch itself spreads over the processors.
    """
    from . import FORMAT_EXTENSIONS, FORMAT_NAMES, _options  # noqa: PLC0415

    if format not in FORMAT_NAMES:
        raise ValueError("om1: unknown format %r (formats: %s)" % (format, ", ".join(FORMAT_NAMES)))
    options.setdefault("threads", 1)
    _options(preset, options)  # bad options fail here, not on every worker
    paths = [os.fspath(p) for p in inputs]
    out_dir = os.fspath(out_dir)
    os.makedirs(out_dir, exist_ok=True)
    outputs = _outputs(paths, out_dir, FORMAT_EXTENSIONS[FORMAT_NAMES.index(format)])

    todo = []
    for path, out in zip(paths, outputs):
        if os.path.exists(out):
            yield BatchItem(path, out, "skipped")
        else:
            todo.append((path, out))
    if not todo:
        return

    def finished(path: str, out: str, outcome: Any = None, error: Any = None) -> BatchItem:
        if error is not None:
            return BatchItem(path, out, "failed", "%s: %s" % (type(error).__name__, error))
        status, payload, seconds = outcome
        if status != "done":
            return BatchItem(path, out, status, payload, seconds)
        try:
            _write_whole(out, payload)
        except OSError as e:
            return BatchItem(path, out, "failed", "cannot write: %s" % e, seconds)
        return BatchItem(path, out, "done", "", seconds)

    if client is None:
        with ThreadPoolExecutor(max_workers=workers or os.cpu_count() or 1) as pool:
            futures = {pool.submit(_trace_file, p, format, preset, options): (p, o)
                       for p, o in todo}
            for f in as_completed(futures):
                p, o = futures[f]
                error = f.exception()
                yield finished(p, o, None if error else f.result(), error)
        return

    from distributed import as_completed as completed  # noqa: PLC0415

    futures = {}
    for p, o in todo:
        # pure=False: a file's content may change between batches.
        f = client.submit(_trace_file, p, format, preset, options, pure=False, key="om1-" + p)
        futures[f] = (p, o)
    try:
        for f in completed(list(futures)):
            p, o = futures[f]
            try:
                outcome = f.result()
            except Exception as e:  # noqa: BLE001 - reported per file
                yield finished(p, o, error=e)
            else:
                yield finished(p, o, outcome)
            f.release()
    finally:
        for f in futures:
            f.release()
