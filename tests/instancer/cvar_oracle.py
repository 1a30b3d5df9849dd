#!/usr/bin/python3
"""The control values of static instances made by `typeframe instance`
against those of fontTools' full instances (varLib.instancer), for every
variable TrueType font with a 'cvar' table under the PATHs.

usage: cvar_oracle.py TOOL PATH...

Folders are searched recursively; a PATH that doesn't exist is passed over.
Locations: the default, each axis at its minimum and at its maximum (the
others at their defaults), and every axis at once 37% of the way from its
default to its maximum (to its minimum when the default is the maximum).
At each, the instance's 'cvt ' must hold as many values as fontTools', each
within one unit of it.

Prints one line per font and a summary; exit 0 when all agree, 1 otherwise,
77 (skipped) when fontTools can't be imported or no font with 'cvar' is
found. Run it with Debian's /usr/bin/python3.
"""

import logging
import os
import subprocess
import sys
import tempfile
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), os.pardir))
from oracle_support import collect_fonts  # noqa: E402

SKIP = 77


def has_cvar(path):
    from fontTools.ttLib import TTFont
    try:
        font = TTFont(path, lazy=True)
    except Exception:
        return False
    return all(tag in font for tag in ("fvar", "cvar", "cvt ", "glyf"))


def locations(font):
    """(label, {tag: value}) pairs. Values are whole 16.16 numbers, so that
    the tool and fontTools are given exactly the same ones."""
    axes = font["fvar"].axes
    defaults = {axis.axisTag: axis.defaultValue for axis in axes}
    found = [("default", dict(defaults))]
    for axis in axes:
        for value in (axis.minValue, axis.maxValue):
            if value != axis.defaultValue:
                found.append(("%s=%g" % (axis.axisTag, value), dict(defaults, **{axis.axisTag: value})))
    inside = dict(defaults)
    for axis in axes:
        target = axis.maxValue if axis.maxValue != axis.defaultValue else axis.minValue
        inside[axis.axisTag] = axis.defaultValue + round(0.37 * (target - axis.defaultValue) * 65536) / 65536
    if inside != defaults:
        found.append((",".join("%s=%g" % (tag, value) for tag, value in inside.items() if value != defaults[tag]),
                      inside))
    return found


def check_font(tool, path, workdir):
    """(problems, locations, values compared, largest difference)."""
    from fontTools.ttLib import TTFont
    from fontTools.varLib.instancer import instantiateVariableFont
    problems = []
    compared = 0
    largest = 0
    places = locations(TTFont(path, lazy=True))
    for number, (label, location) in enumerate(places):
        output = os.path.join(workdir, "instance-%d.ttf" % number)
        arguments = ["%s=%r" % (tag, value) for tag, value in location.items()]
        result = subprocess.run([tool, "instance", path, output] + arguments, stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE, timeout=600)
        if result.returncode != 0:
            problems.append("%s: typeframe instance exit %d: %s" %
                            (label, result.returncode, result.stderr.decode("utf-8", "replace").strip()))
            continue
        expected = instantiateVariableFont(TTFont(path), dict(location))["cvt "].values
        font = TTFont(output)
        if "cvt " not in font:
            problems.append("%s: the instance has no 'cvt ' table" % label)
            continue
        values = font["cvt "].values
        if len(values) != len(expected):
            problems.append("%s: %d cvt values, fontTools %d" % (label, len(values), len(expected)))
            continue
        compared += len(values)
        pairs = list(enumerate(zip(values, expected)))
        largest = max([largest] + [abs(ours - theirs) for _, (ours, theirs) in pairs])
        wrong = [(i, ours, theirs) for i, (ours, theirs) in pairs if abs(ours - theirs) > 1]
        if wrong:
            problems.append("%s: %d cvt values off by more than 1, first (index, ours, fontTools): %s" %
                            (label, len(wrong), wrong[:5]))
    return problems, len(places), compared, largest


def main():
    if len(sys.argv) < 3:
        print("usage: cvar_oracle.py TOOL PATH...", file=sys.stderr)
        return 2
    try:
        import fontTools.varLib.instancer  # noqa: F401
    except ImportError:
        print("cvar oracle: fontTools can't be imported; skipped")
        return SKIP
    logging.disable(logging.WARNING)
    tool = sys.argv[1]
    fonts = [path for path in collect_fonts(sys.argv[2:], (".ttf",)) if has_cvar(path)]
    if not fonts:
        print("cvar oracle: no variable font with 'cvar' under %s; skipped" % " ".join(sys.argv[2:]))
        return SKIP

    failed = 0
    total_places = total_values = 0
    for path in fonts:
        with tempfile.TemporaryDirectory(prefix="typeframe-cvar-oracle-") as workdir:
            problems, places, values, largest = check_font(tool, path, workdir)
        total_places += places
        total_values += values
        print("cvar oracle: %s: %d locations, %d cvt values compared, largest difference %d%s" %
              (path, places, values, largest, "" if not problems else ", FAILED"))
        for problem in problems:
            print("  " + problem)
        failed += bool(problems)
    print("cvar oracle: %d fonts, %d locations, %d cvt values compared, %d fonts failed" %
          (len(fonts), total_places, total_values, failed))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
