"""Checks of the quality report's measures on hand-made SVG."""

import math
import os
import sys

import numpy as np
import pytest

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "..", "scripts"))
import quality_metrics as qm  # noqa: E402


def svg(body, w=10, h=10):
    return (f'<svg xmlns="http://www.w3.org/2000/svg" width="{w}" height="{h}" '
            f'viewBox="0 0 {w} {h}">{body}</svg>').encode()


@pytest.mark.parametrize("body, overlap, covered", [
    # Two squares sharing the edge x = 5, written in different command styles.
    ('<path d="M0 0H5V10H0Z"/><path d="m5 0 l5 0 0 10 -5 0z"/>', 0, 100),
    # Overlapping by one pixel column.
    ('<path d="M0 0L6 0L6 10L0 10Z"/><path d="M5 0L10 0L10 10L5 10Z"/>', 10, 100),
    # A ring (even-odd hole) and the disc-free square in its hole.
    ('<path fill-rule="evenodd" d="M0 0H10V10H0ZM2 2H8V8H2Z"/><path d="M2 2H8V8H2Z"/>', 0, 100),
    # Without even-odd the same ring covers its hole (same direction subpaths).
    ('<path d="M0 0H10V10H0ZM2 2H8V8H2Z"/><path d="M2 2H8V8H2Z"/>', 36, 100),
    # A translated square over a curve-bounded shape: covers centres, not corners.
    ('<path d="M0 0Q5 0 5 5T10 10V0Z" transform="translate(0,0)"/>', 0, None),
])
def test_overlap(body, overlap, covered):
    shapes = qm.SvgShapes(svg(body))
    cov = shapes.coverage(10, 10)
    assert shapes.overlap(10, 10) == overlap
    if covered is not None:
        assert np.count_nonzero(cov) == covered


def test_path_and_segment_counts():
    shapes = qm.SvgShapes(svg('<g transform="translate(1 2)"><path d="M0 0C1 0 2 1 2 2S3 4 4 4L0 4Z"/>'
                              '<path fill="none" d="M0 0h3v3"/></g>'))
    assert shapes.paths == 2
    assert shapes.segments == 5
    assert len(shapes.shapes) == 1
    assert shapes.shapes[0][0][0][0].tolist() == [1.0, 2.0]


def test_identical_images_and_wrong_share():
    a = np.zeros((4, 4, 3), dtype=np.uint8)
    assert qm.psnr(a, a) == math.inf
    b = a.copy()
    b[0, 0, 2] = 33
    b[1, 1, 0] = 32
    assert qm.wrong_share(a, b) == pytest.approx(1 / 16)
    assert qm.psnr(a, b) < 60


def test_seam_shows_in_render():
    # Two squares with a one-pixel gap between them, and two sharing an edge.
    gap = qm.render(svg('<path d="M0 0H4V10H0Z"/><path d="M5 0H10V10H5Z"/>'), 10, 10)
    shared = qm.render(svg('<path d="M0 0H5V10H0Z"/><path d="M5 0H10V10H5Z"/>'), 10, 10, crisp=True)
    assert qm.seam_pixels(gap) == 10
    assert qm.seam_pixels(shared) == 0


def test_absent_colour_avoids_picture_colours():
    rgb = np.array([[[255, 0, 255], [0, 255, 0]]], dtype=np.uint8)
    assert qm.absent_colour(rgb) == (0, 255, 255)


def test_exact_cutout_of_a_picture_measures_perfect():
    # Every colour of a random 4-colour picture as one even-odd path of its
    # row runs: a seam-free, overlap-free cutout that renders back exactly.
    rng = np.random.default_rng(7)
    palette = np.array([[255, 0, 0], [0, 128, 0], [0, 0, 255], [250, 250, 250]], dtype=np.uint8)
    labels = rng.integers(0, 4, size=(9, 12))
    rgb = palette[labels]
    body = ""
    for k, (r, g, b) in enumerate(palette):
        d = ""
        for y in range(labels.shape[0]):
            x = 0
            while x < labels.shape[1]:
                if labels[y, x] != k:
                    x += 1
                    continue
                x1 = x
                while x1 < labels.shape[1] and labels[y, x1] == k:
                    x1 += 1
                d += f"M{x} {y}H{x1}V{y + 1}H{x}Z"
                x = x1
        body += f'<path fill="#{r:02x}{g:02x}{b:02x}" fill-rule="evenodd" d="{d}"/>'
    data = svg(body, 12, 9)
    shapes = qm.SvgShapes(data)
    assert shapes.overlap(12, 9) == 0
    assert np.all(shapes.coverage(12, 9) == 1)
    render = qm.render(data, 12, 9)
    assert qm.seam_pixels(qm.render(data, 12, 9, crisp=True)) == 0
    assert qm.psnr(rgb, qm.composite(render, qm.absent_colour(rgb))) == math.inf


def test_regions_sharing_a_reversed_curve_neither_overlap_nor_leave_a_seam():
    # Left and right of one wavy cubic boundary, the right side drawing it backwards.
    left = '<path fill="red" d="M0 0H20C40 10 5 30 30 40H0Z"/>'
    right = '<path fill="blue" d="M40 0V40H30C5 30 40 10 20 0Z"/>'
    data = svg(left + right, 40, 40)
    shapes = qm.SvgShapes(data)
    assert shapes.overlap(40, 40) == 0
    assert np.all(shapes.coverage(40, 40) == 1)
    assert qm.seam_pixels(qm.render(data, 40, 40, crisp=True)) == 0
    assert qm.seam_pixels(qm.render(data, 40, 40), max_alpha=qm.SEAM_AA_MAX_ALPHA) == 0


def test_edge_direction_error_reads_the_angle_between_two_edges():
    # A straight edge through the middle of a 64 x 64 picture, upright and
    # turned by 10 degrees: the error is that angle (the edge's ends, where
    # the blur meets the border, aside); the same picture against itself is 0.
    yy, xx = np.mgrid[0:64, 0:64] + 0.5

    def edge(degrees):
        t = np.radians(degrees)
        dark = (xx - 32) * np.cos(t) + (yy - 32) * np.sin(t) < 0
        return np.where(dark[..., None], 0, 255).astype(np.uint8).repeat(3, axis=2)

    assert qm.edge_direction_error(edge(0), edge(0)) == 0
    angle, weight = qm.edge_direction_map(edge(0), edge(10))
    inner = (slice(8, 56), slice(8, 56))
    both = weight[inner] > 0
    assert both.sum() > 40
    mean = (angle[inner] * weight[inner]).sum() / weight[inner].sum()
    assert abs(mean - 10) < 1.5
    assert qm.edge_direction_map(edge(0), np.full((64, 64, 3), 255, np.uint8)) is None
