"""Progress and cancel from Python: the fractions a callable hears, False
stopping with om1.Cancelled, an exception in the callable raised again."""

import numpy as np
import pytest

import om1
from conftest import disc


def test_fractions_rise_to_one_and_the_output_is_unchanged():
    heard = []
    t = om1.trace(disc(), progress=heard.append)
    assert heard[0] == 0 and heard[-1] == 1
    assert heard == sorted(heard)
    written = []
    assert t.export("svg", progress=written.append) == om1.trace(disc()).export("svg")
    assert written[0] == 0 and written[-1] == 1


@pytest.mark.parametrize("stop_after", [0, 1])
def test_false_stops_with_cancelled(stop_after):
    calls = []

    def progress(fraction):
        calls.append(fraction)
        return len(calls) <= stop_after

    with pytest.raises(om1.Cancelled):
        om1.trace(disc(), progress=progress)
    t = om1.trace(disc())
    with pytest.raises(om1.Cancelled):
        t.export("svg", progress=lambda fraction: False)
    # The trace is still whole after a stopped write.
    assert t.svg().startswith("<?xml")


def test_an_exception_in_the_callable_stops_and_is_raised():
    def progress(fraction):
        raise KeyError("from the callable")

    with pytest.raises(KeyError, match="from the callable"):
        om1.trace(disc(), progress=progress)
    with pytest.raises(TypeError):
        om1.trace(disc(), progress=3)
