"""Validates a GeoJSON file written by om1's GeoJsonWriter.

usage: check_geojson.py FILE TOLERANCE [FILE TOLERANCE ...]
Checks: a FeatureCollection of Features with Polygon or MultiPolygon
geometry; every ring closed with at least four positions; outer rings
counter-clockwise and holes clockwise in the coordinates' plane (RFC 7946);
every hole inside or on its outer ring. Each feature's area (outer rings
minus holes) must equal its "pixels" property within TOLERANCE square
pixels per pixel of ring length, plus 0.01 (0 for exact polygons). Prints
one summary line per file; exits 1 with the failures listed.
"""
import json
import sys


def signed_area(ring):
    a = 0.0
    for (x0, y0), (x1, y1) in zip(ring, ring[1:]):
        a += x0 * y1 - x1 * y0
    return a / 2


def on_segment(p, a, b):
    cross = (b[0] - a[0]) * (p[1] - a[1]) - (b[1] - a[1]) * (p[0] - a[0])
    if abs(cross) > 1e-9:
        return False
    return (min(a[0], b[0]) - 1e-9 <= p[0] <= max(a[0], b[0]) + 1e-9
            and min(a[1], b[1]) - 1e-9 <= p[1] <= max(a[1], b[1]) + 1e-9)


def inside_or_on(p, ring):
    inside = False
    for a, b in zip(ring, ring[1:]):
        if on_segment(p, a, b):
            return True
        if (a[1] > p[1]) != (b[1] > p[1]):
            x = a[0] + (b[0] - a[0]) * (p[1] - a[1]) / (b[1] - a[1])
            if p[0] < x:
                inside = not inside
    return inside


def check(path, tolerance):
    with open(path) as f:
        doc = json.load(f)
    failures = []
    if doc.get("type") != "FeatureCollection":
        failures.append("not a FeatureCollection")
    rings = holes = multi = 0
    worst = 0.0
    for n, feature in enumerate(doc.get("features", [])):
        geometry = feature["geometry"]
        if geometry["type"] == "Polygon":
            polygons = [geometry["coordinates"]]
        elif geometry["type"] == "MultiPolygon":
            polygons = geometry["coordinates"]
            multi += 1
        else:
            failures.append("feature %d: geometry %s" % (n, geometry["type"]))
            continue
        area = length = 0.0
        for polygon in polygons:
            for k, ring in enumerate(polygon):
                rings += 1
                if len(ring) < 4 or ring[0] != ring[-1]:
                    failures.append("feature %d: ring %d not closed" % (n, k))
                    continue
                a = signed_area(ring)
                length += sum(((x1 - x0) ** 2 + (y1 - y0) ** 2) ** 0.5
                              for (x0, y0), (x1, y1) in zip(ring, ring[1:]))
                if (a > 0) != (k == 0):
                    failures.append("feature %d: ring %d winds the wrong way" % (n, k))
                area += a
                if k > 0:
                    holes += 1
                    outside = [p for p in ring if not inside_or_on(p, polygon[0])]
                    if outside:
                        failures.append("feature %d: hole %d has %d positions outside"
                                        % (n, k, len(outside)))
        pixels = feature["properties"]["pixels"]
        error = abs(area - pixels)
        worst = max(worst, error / length if length else error)
        if error > tolerance * length + 0.01:
            failures.append("feature %d: area %.2f, %d pixels" % (n, area, pixels))
        if not feature["properties"]["color"].startswith("#"):
            failures.append("feature %d: colour %s" % (n, feature["properties"]["color"]))
    print("%s: %d features (%d multi), %d rings, %d holes, worst area error %.4f per unit"
          " of length" % (path, len(doc.get("features", [])), multi, rings, holes, worst))
    for f in failures[:20]:
        print("FAIL %s: %s" % (path, f))
    return not failures


def main():
    args = sys.argv[1:]
    ok = True
    for i in range(0, len(args) - 1, 2):
        ok = check(args[i], float(args[i + 1])) and ok
    return 0 if ok else 1


if __name__ == "__main__":
    sys.exit(main())
