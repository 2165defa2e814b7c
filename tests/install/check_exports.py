#!/usr/bin/env python3
"""Lists the names each om1 shared library exports (nm -D) and checks that
they are the intended ones: libom1c exactly the functions om1c.h declares;
libom1, libKVCT64u and libom1platform only the classes and functions their
headers mark for export (OM1_API, KVCT_API, PLATFORM_API), and nothing of the
standard library.

    check_exports.py SOURCE_DIR BUILD_DIR
"""

import re
import subprocess
import sys
from pathlib import Path

PREFIXES = ("vtable for ", "typeinfo for ", "typeinfo name for ")


def marked(folder: Path, macro: str) -> set:
    """Classes, structs and functions declared with `macro` under folder."""
    names = set()
    for header in folder.rglob("*.h"):
        text = header.read_text()
        names.update(re.findall(r"\b(?:class|struct)\s+%s\s+(\w+)" % macro, text))
        for decl in re.findall(r"^%s\s+([^;{]*?)\(" % macro, text, re.M):
            names.add(re.findall(r"(\w+)\s*$", decl)[0])
    return names


def exported(library: Path) -> list:
    out = subprocess.run(["nm", "-D", "--defined-only", "-C", str(library)], check=True,
                         capture_output=True, text=True).stdout
    return sorted(line.split(" ", 2)[2] for line in out.splitlines() if line.count(" ") >= 2)


def owner(symbol: str) -> str:
    """The class or function a demangled symbol belongs to."""
    for p in PREFIXES:
        if symbol.startswith(p):
            symbol = symbol[len(p):]
    head = symbol.split("(", 1)[0].split(" ")[-1]
    return re.sub(r"<.*", "", head).split("::")[0]


def main() -> int:
    source, build = Path(sys.argv[1]), Path(sys.argv[2])
    core = source / "core"
    om1c = set(re.findall(r"\bOM1C_API\s+[^;]*?\b(om1_\w+)\s*\(",
                          (source / "frontends/c/om1c.h").read_text()))
    platform = marked(core / "platform", "PLATFORM_API")
    libraries = {
        "lib/libom1c.so": om1c,
        # With the type information (and, in unoptimised builds, the vtables
        # emitted with it) of the platform classes it derives from.
        "libom1.so": marked(core, "OM1_API") | platform,
        "libKVCT64u.so": marked(core / "companion", "KVCT_API"),
        "libom1platform.so": platform,
    }
    failures = 0
    for name, allowed in libraries.items():
        symbols = exported(build / name)
        owners = {owner(s) for s in symbols}
        stray = [s for s in symbols if owner(s) not in allowed or
                 (owner(s) in platform and name == "libom1.so" and
                  not s.startswith(("typeinfo", "vtable")))]
        print("%s: %d names from %d classes and functions" % (name, len(symbols), len(owners)))
        for s in symbols:
            print("    " + s)
        for s in stray:
            print("FAIL %s exports %s" % (name, s))
        failures += len(stray)
        if name.endswith("om1c.so"):
            for f in sorted(allowed - owners):
                print("FAIL %s does not export %s, declared in om1c.h" % (name, f))
                failures += 1
    print("exports as intended" if not failures else "%d names not as intended" % failures)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
