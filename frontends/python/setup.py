"""Builds the om1 package with the C library inside it.

`pip install --no-build-isolation ./frontends/python` copies libom1c and the om1
libraries it needs into om1/_lib/. They are taken from the file named by
OM1_LIBRARY, else from the build tree beside this folder
(build/default/lib/libom1c.so); when neither exists, the library is built
first with `cmake --preset default` and `cmake --build --preset default
--target om1c` in the repository (no network needed: everything comes from
the Debian packages scripts/install-deps installs).
"""

import os
import shutil
import subprocess
from pathlib import Path

from setuptools import Distribution, setup
from setuptools.command.build_py import build_py

HERE = Path(__file__).resolve().parent
REPO = HERE.parent.parent
DEPENDENCIES = ("libom1platform.so", "libKVCT64u.so", "libom1.so.0")


def find_library() -> Path:
    env = os.environ.get("OM1_LIBRARY")
    if env:
        path = Path(env)
        if not path.is_file():
            raise SystemExit("OM1_LIBRARY names no file: %s" % env)
        return path
    built = REPO / "build" / "default" / "lib" / "libom1c.so"
    if not built.is_file() and (REPO / "CMakePresets.json").is_file():
        subprocess.check_call(["cmake", "--preset", "default"], cwd=REPO)
        subprocess.check_call(["cmake", "--build", "--preset", "default", "--target", "om1c"],
                              cwd=REPO)
    if not built.is_file():
        raise SystemExit("cannot find libom1c.so: build it or set OM1_LIBRARY")
    return built


class BuildWithLibrary(build_py):
    def run(self) -> None:
        super().run()
        library = find_library()
        target = Path(self.build_lib) / "om1" / "_lib"
        target.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(library.resolve(), target / "libom1c.so.0")
        for dep in DEPENDENCIES:
            for folder in (library.parent, library.parent.parent):
                if (folder / dep).exists():
                    shutil.copyfile((folder / dep).resolve(), target / dep)
                    break


class BinaryDistribution(Distribution):
    """The wheel holds native libraries, so it is tagged for this platform."""

    def has_ext_modules(self) -> bool:
        return True


setup(cmdclass={"build_py": BuildWithLibrary}, distclass=BinaryDistribution)
