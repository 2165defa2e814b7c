"""Reads a DXF file with ezdxf and checks what om1's DxfWriter promises.

usage: check_dxf.py FILE ENTITIES LAYERS AREA [FILE ENTITIES LAYERS AREA ...]
  ENTITIES  expected number of closed polylines (one per loop)
  LAYERS    expected layer names, comma-separated (one per colour)
  AREA      expected sum of the polylines' signed areas (outer loops count
            positive once y points up, holes negative), within 1 %
Prints a summary line per file; exits 1 with the failures listed.
"""
import sys

import ezdxf


def check(path, entities, layers, area):
    want_layers = set(layers.split(",")) if layers else set()
    doc = ezdxf.readfile(path)
    failures = []
    auditor = doc.audit()
    if auditor.has_errors:
        failures.append("audit errors: %d" % len(auditor.errors))
    if doc.dxfversion != "AC1009":
        failures.append("version %s, not AC1009" % doc.dxfversion)
    msp = list(doc.modelspace())
    if len(msp) != entities:
        failures.append("%d entities, expected %d" % (len(msp), entities))
    total = 0.0
    open_count = 0
    for e in msp:
        if e.dxftype() != "POLYLINE":
            failures.append("entity %s" % e.dxftype())
            continue
        if not e.is_closed:
            open_count += 1
        pts = [(v.dxf.location.x, v.dxf.location.y) for v in e.vertices]
        if len(pts) < 3:
            failures.append("polyline of %d vertices" % len(pts))
        a = 0.0
        for i in range(len(pts)):
            x0, y0 = pts[i]
            x1, y1 = pts[(i + 1) % len(pts)]
            a += x0 * y1 - x1 * y0
        total += a / 2
        if e.dxf.layer not in want_layers:
            failures.append("entity on layer %s" % e.dxf.layer)
    if open_count:
        failures.append("%d polylines not closed" % open_count)
    have_layers = {layer.dxf.name for layer in doc.layers} - {"0", "Defpoints"}
    if have_layers != want_layers:
        failures.append("layers %s, expected %s" % (sorted(have_layers), sorted(want_layers)))
    if abs(total - area) > 0.01 * abs(area) + 1e-6:
        failures.append("signed area %.2f, expected %.2f" % (total, area))
    print("%s: %d polylines on %d layers, signed area %.2f (expected %.2f)"
          % (path, len(msp), len(have_layers), total, area))
    for f in failures[:20]:
        print("FAIL %s: %s" % (path, f))
    return not failures


def main():
    args = sys.argv[1:]
    ok = True
    for i in range(0, len(args) - 3, 4):
        ok = check(args[i], int(args[i + 1]), args[i + 2], float(args[i + 3])) and ok
    return 0 if ok else 1


if __name__ == "__main__":
    sys.exit(main())
