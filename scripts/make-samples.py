#!/usr/bin/env python3
"""Writes the sample meshes of the merge tool's list (data/Samples/*.obj):
closed, outward-facing shapes an artist starts from. Run again after a change:
    python3 scripts/make-samples.py
"""
import math
import os

OUT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "data", "Samples")


def write(name, verts, faces, note):
    with open(os.path.join(OUT, name + ".obj"), "w") as f:
        f.write("# %s: %s\n" % (name, note))
        for v in verts:
            f.write("v %.6f %.6f %.6f\n" % v)
        for face in faces:
            f.write("f " + " ".join(str(i + 1) for i in face) + "\n")


def sphere(levels=3):
    t = (1 + 5 ** 0.5) / 2
    verts = [(-1, t, 0), (1, t, 0), (-1, -t, 0), (1, -t, 0), (0, -1, t), (0, 1, t), (0, -1, -t), (0, 1, -t),
             (t, 0, -1), (t, 0, 1), (-t, 0, -1), (-t, 0, 1)]
    verts = [tuple(c / math.sqrt(sum(x * x for x in v)) for c in v) for v in verts]
    faces = [(0, 11, 5), (0, 5, 1), (0, 1, 7), (0, 7, 10), (0, 10, 11), (1, 5, 9), (5, 11, 4), (11, 10, 2),
             (10, 7, 6), (7, 1, 8), (3, 9, 4), (3, 4, 2), (3, 2, 6), (3, 6, 8), (3, 8, 9), (4, 9, 5), (2, 4, 11),
             (6, 2, 10), (8, 6, 7), (9, 8, 1)]
    for _ in range(levels):
        middle = {}

        def mid(a, b):
            key = (min(a, b), max(a, b))
            if key not in middle:
                p = [(verts[a][k] + verts[b][k]) / 2 for k in range(3)]
                l = math.sqrt(sum(x * x for x in p))
                verts.append(tuple(x / l for x in p))
                middle[key] = len(verts) - 1
            return middle[key]

        nf = []
        for a, b, c in faces:
            ab, bc, ca = mid(a, b), mid(b, c), mid(c, a)
            nf += [(a, ab, ca), (b, bc, ab), (c, ca, bc), (ab, bc, ca)]
        faces = nf
    return verts, faces


def cube(n=4):
    verts, faces, index = [], [], {}

    def vid(p):
        key = tuple(round(c, 6) for c in p)
        if key not in index:
            index[key] = len(verts)
            verts.append(key)
        return index[key]

    # Each side: its normal axis and sign, and two axes across it in a right-handed order.
    for axis in range(3):
        for sign in (-1, 1):
            u, v = (axis + 1) % 3, (axis + 2) % 3
            if sign < 0:
                u, v = v, u
            for i in range(n):
                for j in range(n):
                    quad = []
                    for di, dj in ((0, 0), (1, 0), (1, 1), (0, 1)):
                        p = [0.0, 0.0, 0.0]
                        p[axis] = sign
                        p[u] = -1 + 2 * (i + di) / n
                        p[v] = -1 + 2 * (j + dj) / n
                        quad.append(vid(p))
                    faces.append(tuple(quad))
    return verts, faces


def revolve(profile, segments=48):
    """A closed solid of revolution about y from a profile of (radius, y)
    points running from the bottom axis point to the top axis point."""
    verts, faces = [], []
    bottom = len(verts)
    verts.append((0.0, profile[0][1], 0.0))
    rings = []
    for r, y in profile[1:-1]:
        ring = []
        for s in range(segments):
            a = 2 * math.pi * s / segments
            ring.append(len(verts))
            verts.append((r * math.cos(a), y, -r * math.sin(a)))
        rings.append(ring)
    top = len(verts)
    verts.append((0.0, profile[-1][1], 0.0))
    for s in range(segments):
        t = (s + 1) % segments
        faces.append((bottom, rings[0][t], rings[0][s]))
        for k in range(len(rings) - 1):
            a, b = rings[k], rings[k + 1]
            faces.append((a[s], a[t], b[t], b[s]))
        faces.append((top, rings[-1][s], rings[-1][t]))
    return verts, faces


def torus(big=1.0, small=0.35, segments=48, sides=24):
    verts, faces = [], []
    for i in range(segments):
        a = 2 * math.pi * i / segments
        for j in range(sides):
            b = 2 * math.pi * j / sides
            r = big + small * math.cos(b)
            verts.append((r * math.cos(a), small * math.sin(b), -r * math.sin(a)))
    for i in range(segments):
        for j in range(sides):
            i1, j1 = (i + 1) % segments, (j + 1) % sides
            faces.append((i * sides + j, i1 * sides + j, i1 * sides + j1, i * sides + j1))
    return verts, faces


def main():
    os.makedirs(OUT, exist_ok=True)
    write("Sphere", *sphere(), "a geodesic ball of radius 1")
    write("Cube", *cube(), "a cube of side 2, each side in 4 x 4 squares")
    write("Cylinder", *revolve([(0, -1), (0.6, -1), (0.6, -0.5), (0.6, 0), (0.6, 0.5), (0.6, 1), (0, 1)]),
          "radius 0.6, height 2")
    write("Cone", *revolve([(0, -1), (0.8, -1), (0.6, -0.5), (0.4, 0), (0.2, 0.5), (0, 1)]), "radius 0.8, height 2")
    capsule = [(0, -1.4)] + [(0.6 * math.sin(k * math.pi / 16), -0.8 - 0.6 * math.cos(k * math.pi / 16))
                             for k in range(1, 9)]
    capsule += [(0.6, -0.4), (0.6, 0.0), (0.6, 0.4)]
    capsule += [(0.6 * math.cos(k * math.pi / 16), 0.8 + 0.6 * math.sin(k * math.pi / 16)) for k in range(0, 8)]
    capsule += [(0, 1.4)]
    write("Capsule", *revolve(capsule), "a rod of radius 0.6 with round ends, 2.8 long")
    write("Torus", *torus(), "a ring of radius 1 round a tube of radius 0.35")


if __name__ == "__main__":
    main()
