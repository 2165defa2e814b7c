"""Traces on a thread pool give the same results as one after another, and
the interpreter lock is free while the C library works."""

import ctypes
import threading
from concurrent.futures import ThreadPoolExecutor

import numpy as np

import om1
from om1 import _native
from conftest import EXAMPLE


def pictures(n):
    rng = np.random.default_rng(7)
    out = []
    for i in range(n):
        a = np.full((60 + i, 80, 3), 255, np.uint8)
        for _ in range(12):
            x, y = rng.integers(0, 70), rng.integers(0, 50)
            a[y:y + rng.integers(3, 12), x:x + rng.integers(3, 12)] = rng.integers(0, 256, 3)
        out.append(a)
    return out


def test_thread_pool_matches_sequential():
    batch = pictures(12)
    want = [om1.trace(a).svg() for a in batch]
    with ThreadPoolExecutor(max_workers=4) as pool:
        got = list(pool.map(lambda a: om1.trace(a).svg(), batch))
    assert got == want


def test_lock_is_released_during_the_trace():
    # The library is loaded as a CDLL, whose calls release the lock ...
    assert isinstance(_native.lib, ctypes.CDLL) and not isinstance(_native.lib, ctypes.PyDLL)
    # ... so this thread keeps running Python while another traces.
    from PIL import Image
    big = np.tile(np.asarray(Image.open(EXAMPLE).convert("RGB")), (2, 2, 1))
    inside = threading.Event()
    done = threading.Event()

    def work():
        inside.set()
        try:
            om1.trace(big, preset="pixel", max_colors=0)
        finally:
            done.set()

    worker = threading.Thread(target=work)
    worker.start()
    inside.wait()
    spins = 0
    while not done.is_set():
        spins += 1
    worker.join()
    assert spins > 1000
