"""om1.batch: on a thread pool, and on a Dask LocalCluster of two worker
processes (on 127.0.0.1 only) with one of them killed mid-batch: every
output is written whole, a file that cannot be read is reported and the
rest go on, and a batch run again skips what is done."""

import os
import signal
import sys

import numpy as np
import pytest
from PIL import Image

import om1

HERE = os.path.dirname(os.path.abspath(__file__))


def pictures(folder, count, size=160):
    """`count` PNG files of discs and bands (each a little different) and one
    file that is no picture."""
    paths = []
    y, x = np.mgrid[0:size, 0:size]
    for i in range(count):
        a = np.full((size, size, 3), 255, np.uint8)
        a[(x - size // 2 - i) ** 2 + (y - size // 2) ** 2 < (size // 3) ** 2] = (20 * i % 256, 0, 200)
        a[(x + 2 * y + 7 * i) % 40 < 6] = (0, 150, 60)
        path = os.path.join(folder, "p%02d.png" % i)
        Image.fromarray(a).save(path)
        paths.append(path)
    broken = os.path.join(folder, "broken.png")
    with open(broken, "wb") as f:
        f.write(b"\x89PNG\r\n\x1a\n not a picture")
    return paths + [broken]


def check(items, inputs, out_dir):
    by_input = {i.input: i for i in items}
    assert sorted(by_input) == sorted(inputs)
    for path in inputs:
        item = by_input[path]
        if path.endswith("broken.png"):
            assert item.status == "refused" and "broken.png" in item.reason
            assert not os.path.exists(item.output)
            continue
        assert item.status == "done", item
        with open(item.output, "rb") as f:
            text = f.read()
        assert text.startswith(b"<?xml") and text.rstrip().endswith(b"</svg>")
    # No temporary file is left behind.
    assert sorted(os.listdir(out_dir)) == sorted(
        os.path.basename(by_input[p].output) for p in inputs if not p.endswith("broken.png"))


def test_thread_pool_batch_and_resume(tmp_path):
    inputs = pictures(str(tmp_path), 5)
    out_dir = tmp_path / "out"
    check(list(om1.batch(inputs, out_dir, preset="graphic", workers=2)), inputs, str(out_dir))
    again = list(om1.batch(inputs, out_dir))
    assert sorted(i.status for i in again) == ["refused"] + ["skipped"] * 5
    with pytest.raises(ValueError, match="unknown option"):
        list(om1.batch(inputs, out_dir, colours=4))
    with pytest.raises(ValueError, match="both be written"):
        list(om1.batch([inputs[0], inputs[0]], out_dir))


def test_dask_batch_survives_a_killed_worker(tmp_path, monkeypatch):
    distributed = pytest.importorskip("distributed")
    # The workers import om1 from this checkout and find the same library.
    package = os.path.dirname(HERE)
    monkeypatch.setenv("PYTHONPATH", os.pathsep.join([package, os.environ.get("PYTHONPATH", "")]))
    library = os.environ.get("OM1_LIBRARY")
    if library:
        monkeypatch.setenv("OM1_LIBRARY", library)
    inputs = pictures(str(tmp_path), 16, size=240)
    out_dir = tmp_path / "out"
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True,
                                  host="127.0.0.1", dashboard_address=None,
                                  silence_logs=50) as cluster, \
            distributed.Client(cluster) as client:
        items = []
        for item in om1.batch(inputs, out_dir, client=client, preset="photo"):
            items.append(item)
            if len(items) == 2:
                # One worker dies while it traces; its tasks run again.
                pids = client.run(os.getpid)
                os.kill(sorted(pids.values())[0], signal.SIGKILL)
    check(items, inputs, str(out_dir))
