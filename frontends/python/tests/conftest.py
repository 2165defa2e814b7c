"""Shared pictures for the om1 tests; the package is imported from this
checkout (frontends/python/) and finds the library in the build tree, or where
OM1_LIBRARY says."""

import os
import sys

import numpy as np
import pytest

sys.path.insert(0, os.path.join(os.path.dirname(__file__), os.pardir))

REPO = os.path.abspath(os.path.join(os.path.dirname(__file__), os.pardir, os.pardir, os.pardir))
EXAMPLE = os.path.join(REPO, "examples", "shapes.png")


def red_block(width: int = 20, height: int = 16) -> np.ndarray:
    """White, with a red 10 x 7 block at (2, 3)."""
    a = np.full((height, width, 3), 255, np.uint8)
    a[3:10, 2:12] = (255, 0, 0)
    return a


def disc(size: int = 64, radius: int = 24) -> np.ndarray:
    """A blue disc on white, large enough for fitted curves."""
    y, x = np.mgrid[0:size, 0:size]
    a = np.full((size, size, 3), 255, np.uint8)
    a[(x - size // 2) ** 2 + (y - size // 2) ** 2 < radius * radius] = (0, 0, 255)
    return a


def soft_disc(size: int = 64, radius: float = 24.2) -> np.ndarray:
    """A blue disc on white as a renderer anti-aliases it (8 x 8 samples a pixel)."""
    k = 8
    y, x = (np.mgrid[0:size * k, 0:size * k] + 0.5) / k
    inside = ((x - size / 2 - 0.3) ** 2 + (y - size / 2 + 0.2) ** 2 < radius * radius)
    share = inside.reshape(size, k, size, k).mean(axis=(1, 3))
    a = np.full((size, size, 3), 255.0)
    a[..., 0] = a[..., 1] = 255 * (1 - share)
    return np.rint(a).astype(np.uint8)


@pytest.fixture
def block() -> np.ndarray:
    return red_block()
