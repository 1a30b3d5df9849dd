#!/usr/bin/python3
"""Normalised locations of variable fonts, judged by fontTools.

usage: normalize_oracle.py DUMP PATH...

DUMP is the normalize_dump test program. Every .ttf and .otf under the PATHs
(folders are searched recursively) that has an fvar table is dumped, and each
line is compared with what fontTools computes for the same location: for
every named instance, and for every axis at its min, default and max with the
other axes at their defaults,

  fontTools.varLib.models.normalizeLocation with the fvar (min, default, max)
  triples, then fontTools.varLib.models.piecewiseLinearMap on the avar
  segments of the axis, then fontTools.misc.fixedTools.floatToFixed(v, 14).

fontTools 4.38 does not decompile avar 2.0; for such a table the version 1.0
segment maps at its start are read here, as fontTools reads them for 1.0.

Prints one line per font and a summary; exit 0 when every value matches,
1 otherwise, 77 (skipped) when fontTools can't be imported or no variable
font is found. Run it with Debian's /usr/bin/python3.
"""

import logging
import os
import struct
import subprocess
import sys

SKIP = 77
FONT_SUFFIXES = (".ttf", ".otf")


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


def avar_segments(font, tags):
    """Per axis tag, fontTools' {from: to} map; None without avar."""
    from fontTools.misc.fixedTools import fixedToFloat
    from fontTools.ttLib import TTLibError

    if "avar" not in font:
        return None
    try:
        return font["avar"].segments
    except TTLibError:
        pass
    # A later version: its version 1.0 part, read the way fontTools reads it.
    data = font.reader["avar"]
    pos = 8
    segments = {}
    for tag in tags:
        (count,) = struct.unpack(">H", data[pos:pos + 2])
        pos += 2
        segments[tag] = {}
        for _ in range(count):
            source, target = struct.unpack(">hh", data[pos:pos + 4])
            segments[tag][fixedToFloat(source, 14)] = fixedToFloat(target, 14)
            pos += 4
    return segments


def expected_lines(font):
    from fontTools.misc.fixedTools import floatToFixed
    from fontTools.varLib.models import normalizeLocation, piecewiseLinearMap

    axes = font["fvar"].axes
    tags = [axis.axisTag for axis in axes]
    triples = {axis.axisTag: (axis.minValue, axis.defaultValue, axis.maxValue) for axis in axes}
    segments = avar_segments(font, tags)

    def normalized(location):
        values = normalizeLocation(location, triples)
        result = []
        for tag in tags:
            v = values[tag]
            if segments is not None:
                v = piecewiseLinearMap(v, segments[tag])
            result.append(floatToFixed(v, 14))
        return result

    def words(values):
        return " ".join(str(floatToFixed(v, 16)) for v in values)

    lines = []
    for i, instance in enumerate(font["fvar"].instances):
        location = [instance.coordinates[tag] for tag in tags]
        lines.append("instance %d %s -> %s" % (i, words(location), " ".join(map(str, normalized(instance.coordinates)))))
    defaults = {axis.axisTag: axis.defaultValue for axis in axes}
    for i, axis in enumerate(axes):
        for name, value in (("min", axis.minValue), ("default", axis.defaultValue), ("max", axis.maxValue)):
            location = dict(defaults)
            location[axis.axisTag] = value
            lines.append("axis %d %s %s %s -> %s" % (i, axis.axisTag, name, words([value]),
                                                      " ".join(map(str, normalized(location)))))
    return lines


def main(argv):
    if len(argv) < 3:
        print(__doc__.strip().splitlines()[2], file=sys.stderr)
        return 1
    try:
        from fontTools.ttLib import TTFont
    except ImportError:
        print("SKIP: fontTools is not available to %s" % sys.executable)
        return SKIP
    logging.getLogger("fontTools").setLevel(logging.ERROR)

    dump = argv[1]
    fonts = instances = extremes = values = failures = unusable = 0
    for path in find_fonts(argv[2:]):
        try:
            font = TTFont(path, lazy=True)
            if "fvar" not in font:
                continue
            tags = [axis.axisTag for axis in font["fvar"].axes]
            if len(set(tags)) != len(tags):
                raise ValueError("repeated axis tags")
            expected = expected_lines(font)
        except Exception as error:  # noqa: BLE001 - a font fontTools can't judge
            print("UNJUDGED %s: %s" % (path, error))
            unusable += 1
            continue
        run = subprocess.run([dump, path], capture_output=True, text=True, timeout=120)
        actual = run.stdout.splitlines()
        fonts += 1
        instances += len(font["fvar"].instances)
        extremes += 3 * len(font["fvar"].axes)
        values += sum(len(line.split("->")[1].split()) for line in expected)
        if run.returncode != 0 or actual != expected:
            failures += 1
            print("FAIL %s (status %d) %s" % (path, run.returncode, run.stderr.strip()))
            wrong = [(e, a) for e, a in zip(expected, actual) if e != a]
            for e, a in wrong[:10]:
                print("  fontTools: %s\n  library:   %s" % (e, a))
            if len(expected) != len(actual):
                print("  %d lines expected, %d printed" % (len(expected), len(actual)))
        else:
            print("ok   %s (%d lines)" % (path, len(expected)))

    if fonts == 0:
        print("SKIP: no variable font found")
        return SKIP
    print("%d fonts, %d named instances, %d axis extremes, %d normalised values compared; "
          "%d fonts differ, %d not judged" % (fonts, instances, extremes, values, failures, unusable))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
