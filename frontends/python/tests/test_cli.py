"""python3 -m om1: outputs, formats by extension, batches and exit codes."""

import contextlib
import io
import json
import os
import subprocess
import sys

import pytest
from PIL import Image

from conftest import red_block
from om1.__main__ import main

PYTHON_DIR = os.path.abspath(os.path.join(os.path.dirname(__file__), os.pardir))


class Ran:
    def __init__(self, returncode, stdout, stderr):
        self.returncode, self.stdout, self.stderr = returncode, stdout, stderr


def run(*args):
    """main() in this process, with its exit code and printed text."""
    out, err = io.StringIO(), io.StringIO()
    with contextlib.redirect_stdout(out), contextlib.redirect_stderr(err):
        try:
            code = main([str(a) for a in args])
        except SystemExit as e:
            code = e.code
    return Ran(code, out.getvalue(), err.getvalue())


def test_module_entry(tmp_path):
    src = tmp_path / "block.png"
    Image.fromarray(red_block()).save(src)
    env = dict(os.environ, PYTHONPATH=PYTHON_DIR)
    r = subprocess.run([sys.executable, "-m", "om1", str(src), "-o", str(tmp_path / "o.svg"),
                        "--stats"], capture_output=True, text=True, env=env)
    assert r.returncode == 0 and "block.png" in r.stderr and (tmp_path / "o.svg").exists()
    # -o - writes to standard output, --format chooses the writer.
    r = subprocess.run([sys.executable, "-m", "om1", str(src), "-o", "-", "--format", "pdf"],
                       capture_output=True, env=env)
    assert r.returncode == 0 and r.stdout.startswith(b"%PDF")


def test_outputs_and_options(tmp_path):
    src = tmp_path / "block.png"
    Image.fromarray(red_block()).save(src)
    r = run(src, "-o", tmp_path / "out.svg", "--polygon", "--stats")
    assert r.returncode == 0, r.stderr
    assert "2 regions" in r.stderr and "8 segments" in r.stderr and r.stdout == ""
    assert 'd="M2 3H12V10H2Z"' in (tmp_path / "out.svg").read_text()
    r = run(src, "-o", tmp_path / "out.json", "--cutout", "--tolerance", "0", "--quiet")
    assert r.returncode == 0 and r.stdout == ""
    assert json.loads((tmp_path / "out.json").read_text())["layout"] == "cutout"
    # Several inputs into a folder, on a thread pool.
    other = tmp_path / "other.png"
    Image.fromarray(red_block()[::-1]).save(other)
    (tmp_path / "d").mkdir()
    assert run(src, other, "-d", tmp_path / "d").returncode == 0
    assert sorted(os.listdir(tmp_path / "d")) == ["block.svg", "other.svg"]
    assert run(src, other, "-d", tmp_path / "d", "--format", "geojson").returncode == 0
    assert json.loads((tmp_path / "d" / "other.geojson").read_text())["type"] == "FeatureCollection"
    assert run(src, "-o", tmp_path / "odd.name", "--format", "eps").returncode == 0
    assert (tmp_path / "odd.name").read_bytes().startswith(b"%!PS")
    # Beside the input when no output is named.
    assert run(src).returncode == 0 and (tmp_path / "block.svg").exists()


def test_exit_codes(tmp_path):
    src = tmp_path / "block.png"
    Image.fromarray(red_block()).save(src)
    r = run()
    assert r.returncode == 64 and "--help for the options" in r.stderr
    assert run(src, "--tolerance", "101").returncode == 64
    assert run(src, "--tolerance", "x").returncode == 64
    assert run(src, "--no-such-flag").returncode == 64
    assert run(src, src, "-o", tmp_path / "x.svg").returncode == 64
    r = run(tmp_path / "missing.png", "-o", tmp_path / "x.svg")
    assert r.returncode == 65 and "missing.png" in r.stderr
    r = run(src, "-o", tmp_path / "no" / "x.svg")
    assert r.returncode == 74 and "cannot write" in r.stderr
    assert run(src, "-o", tmp_path / "x.svg", "--max-outlines", "1").returncode == 2
    assert run(src, "-o", tmp_path / "x.svg", "--min-length", "1000").returncode == 1
    assert run(src, "-o", tmp_path / "x.svg", "--preset", "pixel", "--max-colors", "1").returncode == 3
    # A batch exits with its largest code; the good input is still written.
    r = run(src, tmp_path / "missing.png", "-d", tmp_path)
    assert r.returncode == 65 and (tmp_path / "block.svg").exists()
    assert run("--version").returncode == 0


TOOL = os.path.join(PYTHON_DIR, os.pardir, os.pardir, "build", "default", "bin", "om1trace")


@pytest.mark.skipif(not os.path.exists(TOOL), reason="om1trace not built")
@pytest.mark.parametrize("flags", [[], ["--polygon"], ["--cutout", "--tolerance", "5"],
                                   ["--preset", "photo"], ["--preset", "bw", "--speckle", "20"],
                                   ["--preset", "pixel", "--cutout", "--max-colors", "0"]])
def test_same_output_as_om1trace(tmp_path, flags):
    src = os.path.join(PYTHON_DIR, os.pardir, os.pardir, "examples", "shapes.png")
    for ext in ("svg", "json", "dxf"):
        ours, theirs = tmp_path / ("ours." + ext), tmp_path / ("theirs." + ext)
        assert run(src, "-o", ours, *flags).returncode == 0
        subprocess.run([TOOL, src, "-o", str(theirs), "--quiet", *flags], check=True)
        assert ours.read_bytes() == theirs.read_bytes(), (flags, ext)
