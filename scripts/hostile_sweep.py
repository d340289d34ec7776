#!/usr/bin/env python3
"""Hostile-file sweep: real-world meshes and images installed by the test-data
packages (scripts/deps.sh --tests), each taken as it is and mutated (cut short,
bits flipped, sizes and counts in the header made to lie), then converted by
`morvane --convert` under a time and memory limit.

  scripts/hostile_sweep.py [--morvane build/bin/morvane] [--files 120] [--seed 1]

Prints tried / converted / clean error / error without a reason / crash /
hang, with the files of every case but the first two, and exits non-zero
when anything crashed, hung or failed without naming its reason. The same
seed gives the same files and mutations.
"""
import argparse
import os
import random
import re
import resource
import shutil
import struct
import subprocess
import sys
import tempfile

ROOTS = [
    "/usr/share/assimp/models",
    "/usr/share/glmark2",
    "/usr/share/openscad-testing-data",
    "/usr/share/games/minetest",
    "/usr/share/doc/libcgal-demo",
]
MESH = {"obj", "stl", "ply", "lwo", "fbx"}
IMAGE = {"png", "jpg", "jpeg", "bmp", "tga", "dds", "tif", "tiff", "exr"}
# What each input becomes: a mesh goes to PLY, an image to PNG or, for the
# float formats, to EXR.
TARGET = {**{e: "ply" for e in MESH}, **{e: "png" for e in IMAGE}, "tif": "exr", "tiff": "exr", "exr": "tif"}
# The last lines of LoadMesh and LoadImage that only repeat the failure.
GENERIC = re.compile(r"^(cMeshIO::LoadMesh\(\): Can't decode mesh file|Can't decode image file|"
                     r"cFloatImage::Load\(\): Can't load|Can't load image file)")


def installed_files(limit, rng):
    found = []
    for root in ROOTS:
        for folder, _, names in os.walk(root):
            for name in names:
                ext = name.rsplit(".", 1)[-1].lower() if "." in name else ""
                path = os.path.join(folder, name)
                if ext in TARGET and 0 < os.path.getsize(path) <= 8_000_000:
                    found.append(path)
    found.sort()
    rng.shuffle(found)
    # Keep every kind in the sample: round-robin over the extensions.
    by_ext = {}
    for path in found:
        by_ext.setdefault(path.rsplit(".", 1)[-1].lower(), []).append(path)
    picked = []
    while len(picked) < limit and any(by_ext.values()):
        for ext in sorted(by_ext):
            if by_ext[ext] and len(picked) < limit:
                picked.append(by_ext[ext].pop())
    return picked


def put(data, at, fmt, value):
    size = struct.calcsize(fmt)
    if at + size <= len(data):
        data[at:at + size] = struct.pack(fmt, value)


def header_lie(data, ext, rng):
    """The file with a size or count in its header made huge; None when the
    format has no such field that we know."""
    d = bytearray(data)
    big = rng.choice([16384, 30000, 65000, 0x7fffffff, 0xffffffff])
    if ext == "png" and len(d) > 24:
        put(d, 16, ">I", big)
        put(d, 20, ">I", big)
    elif ext in ("jpg", "jpeg"):
        for m in re.finditer(rb"\xff[\xc0-\xc2]", bytes(d)):
            put(d, m.start() + 5, ">H", big & 0xffff)
            put(d, m.start() + 7, ">H", big & 0xffff)
            break
    elif ext == "bmp":
        put(d, 18, "<i", big & 0x7fffffff)
        put(d, 22, "<i", big & 0x7fffffff)
    elif ext == "tga":
        put(d, 12, "<H", big & 0xffff)
        put(d, 14, "<H", big & 0xffff)
    elif ext == "dds":
        put(d, 12, "<I", big)
        put(d, 16, "<I", big)
    elif ext in ("tif", "tiff") and len(d) > 8:
        # Width and length entries of the first directory.
        little = d[:2] == b"II"
        order = "<" if little else ">"
        ifd = struct.unpack(order + "I", d[4:8])[0]
        if ifd + 2 <= len(d):
            count = struct.unpack(order + "H", d[ifd:ifd + 2])[0]
            for i in range(min(count, 64)):
                at = ifd + 2 + 12 * i
                if at + 12 > len(d):
                    break
                tag, kind = struct.unpack(order + "HH", d[at:at + 4])
                if tag in (256, 257):
                    if kind == 3:
                        put(d, at + 8, order + "H", big & 0xffff)
                    else:
                        put(d, at + 8, order + "I", big)
    elif ext == "exr":
        m = re.search(rb"dataWindow\x00box2i\x00", bytes(d))
        if not m:
            return None
        put(d, m.end() + 4 + 8, "<i", big & 0x7fffffff)
        put(d, m.end() + 4 + 12, "<i", big & 0x7fffffff)
    elif ext == "stl" and len(d) >= 84:
        put(d, 80, "<I", big)
    elif ext == "ply":
        text = bytes(d)
        text = re.sub(rb"element (vertex|face) \d+", lambda m: b"element " + m.group(1) + b" %d" % big, text, 1)
        d = bytearray(text)
    elif ext == "obj":
        d += b"\nf %d 1 2\nv 1e39 nan inf\nf -%d 1 2\n" % (big, big)
    elif ext in ("lwo", "fbx") and len(d) > 32:
        # A chunk or node length far past the end.
        at = rng.randrange(4, min(len(d) - 4, 256))
        put(d, at, "<I", big)
    else:
        return None
    return bytes(d)


def mutations(data, ext, rng):
    yield "original", data
    for share in (0.5, 0.1):
        yield "cut to %d%%" % (share * 100), data[:max(1, int(len(data) * share))]
    yield "cut to 83 bytes", data[:83]
    for round_ in range(3):
        d = bytearray(data)
        for _ in range(1 + len(d) // 2000):
            at = rng.randrange(len(d))
            d[at] ^= 1 << rng.randrange(8)
        yield "bits flipped (%d)" % round_, bytes(d)
    lie = header_lie(data, ext, rng)
    if lie is not None:
        yield "header lies", lie


def limit_memory(megabytes):
    def apply():
        bytes_ = megabytes * 1024 * 1024
        resource.setrlimit(resource.RLIMIT_AS, (bytes_, bytes_))
    return apply


def main():
    root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--morvane", default=os.path.join(root, "build", "bin", "morvane"))
    parser.add_argument("--files", type=int, default=120, help="installed files to start from")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--seconds", type=int, default=20, help="time limit of one conversion")
    parser.add_argument("--megabytes", type=int, default=2048, help="address-space limit of one conversion")
    parser.add_argument("--verbose", action="store_true", help="print every case")
    args = parser.parse_args()
    if not os.access(args.morvane, os.X_OK):
        sys.exit("No program at %s: build it first (scripts/build.sh)" % args.morvane)
    rng = random.Random(args.seed)
    files = installed_files(args.files, rng)
    if not files:
        sys.exit("No installed test files: run scripts/deps.sh --tests")
    work = tempfile.mkdtemp(prefix="morvane_sweep_")
    counts = {k: 0 for k in ("tried", "converted", "clean error", "error without a reason", "crash", "hang")}
    notes = {k: [] for k in counts}
    env = dict(os.environ, MORVANE_HOME=os.path.join(work, "home"))
    try:
        for number, path in enumerate(files):
            ext = path.rsplit(".", 1)[-1].lower()
            data = open(path, "rb").read()
            for kind, bytes_ in mutations(data, ext, rng):
                case = os.path.join(work, "case%d.%s" % (number, ext))
                out = os.path.join(work, "out%d.%s" % (number, TARGET[ext]))
                with open(case, "wb") as f:
                    f.write(bytes_)
                counts["tried"] += 1
                try:
                    run = subprocess.run([args.morvane, "--convert", case, out], capture_output=True, text=True,
                                         errors="replace", timeout=args.seconds, env=env,
                                         preexec_fn=limit_memory(args.megabytes))
                    if run.returncode == 0:
                        verdict = "converted"
                    elif run.returncode == 1:
                        reasons = [l.strip() for l in run.stderr.splitlines()[1:] if l.startswith("  ")]
                        verdict = "clean error" if any(not GENERIC.match(r) for r in reasons) else \
                            "error without a reason"
                    else:
                        verdict = "crash"
                    detail = run.stderr.strip().replace("\n", " | ")[:300]
                except subprocess.TimeoutExpired:
                    verdict, detail = "hang", "over %d s" % args.seconds
                counts[verdict] += 1
                notes[verdict].append("%s [%s]: %s" % (path, kind, detail))
                if args.verbose:
                    print("%-22s %s [%s]" % (verdict, path, kind))
                for leftover in (case, out):
                    if os.path.exists(leftover):
                        os.remove(leftover)
    finally:
        shutil.rmtree(work, ignore_errors=True)
    print("Files: %d installed, %d cases" % (len(files), counts["tried"]))
    for key, value in counts.items():
        print("  %-24s %d" % (key, value))
    bad = ("error without a reason", "crash", "hang")
    for key in bad:
        for line in notes[key]:
            print("%s: %s" % (key, line))
    return 1 if any(counts[k] for k in bad) else 0


if __name__ == "__main__":
    sys.exit(main())
