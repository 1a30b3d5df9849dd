#!/usr/bin/python3
"""Rebuilt TrueType outlines of real fonts, judged by fontTools and
ots-sanitize.

usage: glyf_oracle.py TOOL PATH... [--jobs N] [--skip-if-absent]

Every .ttf, .otf and .ttc under the PATHs (folders are searched recursively,
each font of a collection on its own) is saved by

    typeframe save IN OUT --rebuild glyf,loca,hmtx,vmtx,cvt,fpgm,prep,maxp,head,hhea

with the tags the font has, and the output is compared with the input through
fontTools' raw glyph data (not a rendering):

- every glyph has the input's contours, end points, point coordinates,
  on-curve and overlap flags; a composite has the input's components (glyph
  names, the flags that carry meaning, offsets, transformations);
- the instruction bytes of every glyph, and of fpgm and prep, are identical;
  cvt holds the same values;
- advances and side bearings of hmtx and vmtx are unchanged;
- head's box is the union of the output's glyph boxes, the origin included
  when the font has an empty glyph (the library counts an empty glyph's box
  (0, 0, 0, 0) on purpose);
- maxp's glyph limits are those fontTools computes;
- ots-sanitize accepts the output whenever it accepts the input.

Components placed by matching points come out as offsets of (0, 0): the
library reads the point numbers but places such a component at the origin on
purpose. The script expects exactly that for them and counts them.

A font the tool refuses (exit 1: a table it can't read) is skipped and
listed; fonts without glyf (CFF outlines) are only counted. Prints one line per font and a summary; exit 0 when all pass, 1
otherwise, 77 (skipped) when fontTools can't be imported, or when no PATH
exists and --skip-if-absent is given. Run it with Debian's /usr/bin/python3.
"""

import argparse
import concurrent.futures
import os
import shutil
import subprocess
import sys
import tempfile
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), os.pardir))
from oracle_support import collect_fonts, ots_accepts, start_checks  # noqa: E402

SKIP = 77
REBUILD = ("glyf", "loca", "hmtx", "vmtx", "cvt ", "fpgm", "prep", "maxp", "head", "hhea")
# The point flags the library keeps: on-curve and overlap (the high bit is
# kept too, but fontTools may drop it).
POINT_FLAGS = 0x41


def font_indexes(path):
    with open(path, "rb") as handle:
        head = handle.read(12)
    if head[:4] == b"ttcf":
        count = int.from_bytes(head[8:12], "big")
        return list(range(min(count, 64)))
    return [None]


def open_font(path, index):
    from fontTools.ttLib import TTFont
    return TTFont(path, fontNumber=index if index is not None else -1, lazy=True)


def bytecode(glyph):
    program = getattr(glyph, "program", None)
    return bytes(program.getBytecode()) if program is not None else b""


def component_record(font, component):
    """A component as compared: the target by glyph index (names depend on
    where each font's names come from), the meaningful flags, the offset and
    the transformation."""
    transform = getattr(component, "transform", None)
    if transform is None:
        transform = [[1, 0], [0, 1]]
    return (font.getGlyphID(component.glyphName), component.flags, getattr(component, "x", None),
            getattr(component, "y", None), tuple(tuple(row) for row in transform))


def expected_component(font, component):
    """What the library writes for an input component."""
    record = list(component_record(font, component))
    if hasattr(component, "firstPt"):
        # Placed by matching points in the input: written as offset (0, 0).
        record[2] = record[3] = 0
    return tuple(record)


def compare_glyph(source, output, name_in, name_out, counters):
    a = source["glyf"][name_in]
    b = output["glyf"][name_out]
    problems = []
    a_contours = getattr(a, "numberOfContours", 0)
    b_contours = getattr(b, "numberOfContours", 0)
    if a_contours != b_contours:
        return ["%s: numberOfContours %d, input %d" % (name_in, b_contours, a_contours)]
    if a_contours == 0:
        return []
    if a.isComposite():
        counters["composites"] += 1
        want = [expected_component(source, c) for c in a.components]
        got = [component_record(output, c) for c in b.components]
        counters["anchored"] += sum(1 for c in a.components if hasattr(c, "firstPt"))
        counters["components"] += len(a.components)
        if want != got:
            problems.append("%s: components %r, input %r" % (name_in, got, want))
    else:
        counters["points"] += len(a.coordinates)
        if list(a.endPtsOfContours) != list(b.endPtsOfContours):
            problems.append("%s: end points differ" % name_in)
        if list(a.coordinates) != list(b.coordinates):
            problems.append("%s: coordinates differ" % name_in)
        if [f & POINT_FLAGS for f in a.flags] != [f & POINT_FLAGS for f in b.flags]:
            problems.append("%s: point flags differ" % name_in)
    if bytecode(a) != bytecode(b):
        problems.append("%s: instructions differ" % name_in)
    return problems


def glyph_box_union(font):
    """The union of the output's glyph boxes as stored, with the origin for
    an empty glyph, as the library computes head's box."""
    glyf = font["glyf"]
    box = None
    for name in font.getGlyphOrder():
        glyph = glyf[name]
        if getattr(glyph, "numberOfContours", 0) == 0:
            glyph_box = (0, 0, 0, 0)
        else:
            glyph_box = (glyph.xMin, glyph.yMin, glyph.xMax, glyph.yMax)
        if box is None:
            box = list(glyph_box)
        else:
            box = [min(box[0], glyph_box[0]), min(box[1], glyph_box[1]),
                   max(box[2], glyph_box[2]), max(box[3], glyph_box[3])]
    return tuple(box) if box else (0, 0, 0, 0)


def maxp_limits(font):
    maxp = font["maxp"]
    return {field: getattr(maxp, field, None) for field in (
        "numGlyphs", "maxPoints", "maxContours", "maxCompositePoints", "maxCompositeContours",
        "maxComponentElements", "maxComponentDepth")}


def expected_glyph_count(source):
    """How many glyphs the output should have. A format 1.0 post names only
    the 258 standard Macintosh glyphs; the library takes its glyph order
    from it and, by design, writes only the glyphs that order names."""
    count = source["maxp"].numGlyphs
    if "post" in source and source["post"].formatType == 1.0 and count > 258:
        return 258, "post 1.0 names 258 of %d glyphs, the rest are left out" % count
    return count, None


def compare_fonts(in_path, index, out_path, counters, notes):
    from fontTools.ttLib import TTFont
    problems = []
    source = open_font(in_path, index)
    output = open_font(out_path, None)
    tags = set(source.keys())
    order_in = source.getGlyphOrder()
    order_out = output.getGlyphOrder()
    count, note = expected_glyph_count(source)
    if note:
        notes.append(note)
    if len(order_out) != count:
        problems.append("%d glyphs, expected %d" % (len(order_out), count))
    pairs = list(zip(order_in[:count], order_out[:count]))

    if "glyf" in tags:
        for name_in, name_out in pairs:
            counters["glyphs"] += 1
            problems += compare_glyph(source, output, name_in, name_out, counters)
            if len(problems) > 20:
                problems.append("...")
                break
        head = output["head"]
        union = glyph_box_union(output)
        stored = (head.xMin, head.yMin, head.xMax, head.yMax)
        if stored != union:
            problems.append("head box %r, union of glyph boxes %r" % (stored, union))
        # fontTools' own limits, worked out from the output's glyphs.
        recomputed = TTFont(out_path, lazy=False)
        before = maxp_limits(recomputed)
        recomputed["maxp"].recalc(recomputed)
        after = maxp_limits(recomputed)
        if before != after:
            problems.append("maxp %r, fontTools computes %r" % (
                {k: v for k, v in before.items() if before[k] != after[k]},
                {k: v for k, v in after.items() if before[k] != after[k]}))

    for tag in ("hmtx", "vmtx"):
        if tag in tags and any(source[tag][a] != output[tag][b] for a, b in pairs):
            problems.append("%s metrics differ" % tag)
    for tag in ("fpgm", "prep"):
        if tag in tags and bytes(source[tag].program.getBytecode()) != bytes(output[tag].program.getBytecode()):
            problems.append("%s instructions differ" % tag)
    if "cvt " in tags and list(source["cvt "].values) != list(output["cvt "].values):
        problems.append("cvt values differ")
    return problems


def check_font(tool, path, index, ots):
    """Returns (status, detail, counters); status is ok, skip or FAIL."""
    counters = {"glyphs": 0, "points": 0, "composites": 0, "components": 0, "anchored": 0}
    name = path if index is None else "%s#%d" % (path, index)
    workdir = tempfile.mkdtemp(prefix="typeframe-glyf-")
    try:
        try:
            source = open_font(path, index)
            tags = [t for t in REBUILD if t in source.keys()]
        except Exception as error:
            return "skip", "%s: fontTools can't open it (%s)" % (name, type(error).__name__), counters
        if "glyf" not in tags:
            return "no-glyf", name, counters
        out_path = os.path.join(workdir, "out.ttf")
        arguments = [tool, "save", path, out_path, "--rebuild", ",".join(t.strip() for t in tags)]
        if index is not None:
            arguments += ["--index", str(index)]
        result = subprocess.run(arguments, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=600)
        stderr = result.stderr.decode("utf-8", "replace").strip()
        if result.returncode == 1:
            return "skip", "%s: the tool refuses it: %s" % (name, stderr), counters
        if result.returncode != 0:
            what = "killed by signal %d" % -result.returncode if result.returncode < 0 else \
                "exit %d" % result.returncode
            return "FAIL", "%s: %s: %s" % (name, what, stderr), counters
        notes = []
        try:
            problems = compare_fonts(path, index, out_path, counters, notes)
        except Exception as error:
            problems = ["fontTools comparison failed: %r" % (error,)]
        input_ots = ots and ots_accepts(path, index)
        if input_ots and not ots_accepts(out_path):
            problems.append("ots-sanitize rejects the output but accepts the input")
        if problems:
            return "FAIL", "%s: %s" % (name, "; ".join(problems)), counters
        notes.insert(0, "%d glyphs" % counters["glyphs"])
        if counters["anchored"]:
            notes.append("%d anchored components written as offsets" % counters["anchored"])
        if ots and not input_ots:
            notes.append("input rejected by ots-sanitize")
        return "ok", "%s (%s)" % (name, ", ".join(notes)), counters
    except Exception as error:  # a crash of the checker is a failure, not a skip
        return "FAIL", "%s: checker error: %r" % (name, error), counters
    finally:
        shutil.rmtree(workdir, ignore_errors=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("tool")
    parser.add_argument("paths", nargs="+")
    parser.add_argument("--skip-if-absent", action="store_true", help="exit 77 when no PATH exists")
    parser.add_argument("--jobs", type=int, default=os.cpu_count() or 1)
    args = parser.parse_args()

    status, ots = start_checks(args.paths, args.skip_if_absent, SKIP)
    if status is not None:
        return status

    jobs = [(path, index) for path in collect_fonts(args.paths) for index in font_indexes(path)]
    totals = {"glyphs": 0, "points": 0, "composites": 0, "components": 0, "anchored": 0}
    counts = {"ok": 0, "skip": 0, "FAIL": 0, "no-glyf": 0}
    with concurrent.futures.ProcessPoolExecutor(max_workers=max(1, args.jobs)) as pool:
        futures = [pool.submit(check_font, args.tool, path, index, ots) for path, index in jobs]
        for future in futures:
            status, detail, counters = future.result()
            counts[status] += 1
            for key in totals:
                totals[key] += counters[key]
            if status != "no-glyf":
                print("%-4s %s" % (status, detail))
    print("%d fonts: %d ok, %d skipped, %d without glyf (not rebuilt), %d failed; %d glyphs (%d points, "
          "%d composites with %d components, %d anchored) compared" % (
              len(jobs), counts["ok"], counts["skip"], counts["no-glyf"], counts["FAIL"], totals["glyphs"],
              totals["points"], totals["composites"], totals["components"], totals["anchored"]))
    if counts["ok"] == 0:
        print("no font was compared")
        return 1
    return 1 if counts["FAIL"] else 0


if __name__ == "__main__":
    sys.exit(main())
