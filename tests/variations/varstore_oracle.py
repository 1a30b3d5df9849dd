#!/usr/bin/python3
"""Item variation store deltas of variable fonts, judged by fontTools.

usage: varstore_oracle.py DUMP PATH...

DUMP is the varstore_dump test program. Every .ttf and .otf under the PATHs
(folders are searched recursively; a missing PATH is passed over) that has an
fvar table and an HVAR, VVAR or MVAR table is dumped at a set of normalised
locations, all exact 2.14 values: the default, each axis alone at -1 and +1,
all axes at -1 and at +1, and four mixed interior points. Each delta is
compared with fontTools:

  fontTools.varLib.varStore.VarStoreInstancer(store, fvar.axes, location)
  [varIdx], rounded with fontTools.misc.roundTools.otRound,

where varIdx comes from AdvWidthMap / AdvHeightMap (or is (0 << 16) | glyph
without a map) and from each MVAR ValueRecord. A varIdx outside the store
counts as a delta of 0, as the instancer leaves such a value alone.

Prints one line per font and a summary; exit 0 when every delta matches,
1 otherwise, 77 (skipped) when fontTools can't be imported or no font with
these tables is found. Run it with Debian's /usr/bin/python3.
"""

import logging
import os
import subprocess
import sys

SKIP = 77
FONT_SUFFIXES = (".ttf", ".otf")
ONE = 16384
# Interior coordinates for the mixed locations, spread over the axes.
MIXED = [5461, -3277, 8192, -12000, 1, -8192, 11469, -16383, 13107, -5000, 16383, -1]


def find_fonts(paths):
    for path in paths:
        if os.path.isfile(path):
            yield path
            continue
        for root, dirs, files in os.walk(path):
            dirs.sort()
            for name in sorted(files):
                if name.lower().endswith(FONT_SUFFIXES):
                    yield os.path.join(root, name)


def locations(axis_count):
    result = [tuple([0] * axis_count)]
    for i in range(axis_count):
        for value in (-ONE, ONE):
            location = [0] * axis_count
            location[i] = value
            result.append(tuple(location))
    if axis_count:
        result.append(tuple([-ONE] * axis_count))
        result.append(tuple([ONE] * axis_count))
        for k in range(4):
            result.append(tuple(MIXED[(3 * k + i) % len(MIXED)] for i in range(axis_count)))
    unique = []
    for location in result:
        if location not in unique:
            unique.append(location)
    return unique


def expected_lines(font, location_index, location):
    from fontTools.misc.roundTools import otRound
    from fontTools.varLib.varStore import VarStoreInstancer

    axes = font["fvar"].axes
    where = {axis.axisTag: value / ONE for axis, value in zip(axes, location)}
    glyph_order = font.getGlyphOrder()
    lines = []

    def delta(store, var_idx):
        major, minor = var_idx >> 16, var_idx & 0xFFFF
        if store is None or major >= len(store.VarData) or minor >= len(store.VarData[major].Item):
            return 0
        return otRound(VarStoreInstancer(store, axes, where)[var_idx])

    for tag, kind, map_name in (("HVAR", "H", "AdvWidthMap"), ("VVAR", "V", "AdvHeightMap")):
        if tag not in font:
            continue
        table = font[tag].table
        store = table.VarStore
        mapping = getattr(table, map_name, None)
        instancer = VarStoreInstancer(store, axes, where)
        for glyph, name in enumerate(glyph_order):
            var_idx = mapping.mapping[name] if mapping is not None else glyph
            major, minor = var_idx >> 16, var_idx & 0xFFFF
            if major >= len(store.VarData) or minor >= len(store.VarData[major].Item):
                value = 0
            else:
                value = otRound(instancer[var_idx])
            lines.append("L %d %s %d %d" % (location_index, kind, glyph, value))
    if "MVAR" in font:
        table = font["MVAR"].table
        for index, record in enumerate(table.ValueRecord or []):
            tag = int.from_bytes(record.ValueTag.encode("latin-1"), "big")
            lines.append("L %d M %d %08x %d" % (location_index, index, tag, delta(table.VarStore, record.VarIdx)))
    return lines


def check_font(dump, path):
    """(compared, mismatches, glyphs, location count) or None when not applicable."""
    from fontTools.ttLib import TTFont

    try:
        font = TTFont(path)
        if "fvar" not in font or not any(tag in font for tag in ("HVAR", "VVAR", "MVAR")):
            return None
        axis_count = len(font["fvar"].axes)
        wanted = locations(axis_count)
        expected = ["glyphs %d" % len(font.getGlyphOrder())]
        expected += ["table %s" % tag for tag in ("HVAR", "VVAR", "MVAR") if tag in font]
        for index, location in enumerate(wanted):
            expected += expected_lines(font, index, location)
    except Exception as error:  # fontTools can't read it: not ours to judge
        print("SKIP %s: fontTools: %s" % (path, error))
        return None

    arguments = [",".join(str(v) for v in location) if location else "-" for location in wanted]
    run = subprocess.run([dump, path] + arguments, capture_output=True, text=True)
    if run.returncode != 0:
        print("FAIL %s: dump exited %d: %s" % (path, run.returncode, run.stderr.strip()))
        return (len(expected), len(expected), 0, len(wanted))
    got = run.stdout.splitlines()
    mismatches = 0
    shown = 0
    for index in range(max(len(expected), len(got))):
        want = expected[index] if index < len(expected) else "<none>"
        have = got[index] if index < len(got) else "<none>"
        if want != have:
            mismatches += 1
            if shown < 10:
                print("  %s: want %r, got %r" % (os.path.basename(path), want, have))
                shown += 1
    print("%s %s: %d lines, %d locations, %d mismatches"
          % ("ok  " if mismatches == 0 else "FAIL", path, len(expected), len(wanted), mismatches))
    return (len(expected), mismatches, len(font.getGlyphOrder()), len(wanted))


def main(argv):
    if len(argv) < 3:
        print(__doc__)
        return 2
    try:
        import fontTools.ttLib  # noqa: F401
        import fontTools.varLib.varStore  # noqa: F401
    except ImportError as error:
        print("fontTools is not available: %s" % error)
        return SKIP
    logging.disable(logging.WARNING)
    dump = argv[1]
    fonts = compared = mismatches = glyphs = location_count = 0
    for path in find_fonts(argv[2:]):
        result = check_font(dump, path)
        if result is None:
            continue
        fonts += 1
        compared += result[0]
        mismatches += result[1]
        glyphs += result[2]
        location_count += result[3]
    if fonts == 0:
        print("no variable font with HVAR, VVAR or MVAR found")
        return SKIP
    print("%d fonts, %d glyphs, %d locations, %d lines compared, %d mismatches"
          % (fonts, glyphs, location_count, compared, mismatches))
    return 0 if mismatches == 0 else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv))
