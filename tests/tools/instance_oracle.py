#!/usr/bin/python3
"""Static instances of real variable fonts by `typeframe instance`, judged by
fontTools and ots-sanitize.

usage: instance_oracle.py TOOL PATH... [--skip-if-absent]

Every variable .ttf and .otf under the PATHs (folders are searched
recursively; a PATH that doesn't exist is noted and passed over) is
instanced twice, at its default location and with every axis halfway
between its minimum and maximum, and each output is checked:

- exit status 0, one line on stdout: the PostScript name, and nothing on
  stderr but the note that names the tables kept uninstanced, exactly when
  the output still holds variation data the instancer doesn't resolve yet;
- none of avar cvar fvar gvar STAT HVAR VVAR MVAR is left;
- every name ID 6 record decodes (fontTools' toUnicode) to the printed name;
- fontTools opens the output and decompiles every table it could decompile
  in the input;
- ots-sanitize accepts the output whenever it accepts the input (see
  ots_problems for the parts of a font that are not instanced yet).

`typeframe info` of the font must show the axes (tag, minimum, default,
maximum, name) and named instances (subfamily name, coordinates, PostScript
name) that fontTools reads.

Then `--all-named` writes one file per named instance into a new folder,
each named after the PostScript name it prints and holding it as name ID 6,
with the same table and ots-sanitize checks. When two named instances must
get the same name (same subfamily name, or same coordinates), the run must
fail instead, with one line on stderr and no folder left.

Prints one line per font and a summary; exit 0 when all pass, 1 otherwise,
77 (skipped) when fontTools can't be imported, or when no PATH exists and
--skip-if-absent is given. Run it with Debian's /usr/bin/python3.
"""

import argparse
import concurrent.futures
import os
import shutil
import struct
import subprocess
import sys
import tempfile
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), os.pardir))
from oracle_support import collect_fonts, ots_accepts, start_checks  # noqa: E402

SKIP = 77
FONT_SUFFIXES = (".ttf", ".otf")
VARIATION_TABLES = ("avar", "cvar", "fvar", "gvar", "STAT", "HVAR", "VVAR", "MVAR")


def run_tool(tool, arguments):
    result = subprocess.run([tool] + arguments, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=600)
    return (result.returncode, result.stdout.decode("utf-8", "replace"),
            result.stderr.decode("utf-8", "replace"))


NOTE = "typeframe: note: "


def status_problems(label, status, stdout, stderr, lines=1):
    if status != 0:
        what = "killed by signal %d" % -status if status < 0 else "exit %d" % status
        return ["%s: %s: %s" % (label, what, stderr.strip())]
    problems = []
    # The note on what stays uninstanced is judged by note_problems.
    stderr = "".join(line for line in stderr.splitlines(True) if not line.startswith(NOTE))
    if stderr:
        problems.append("%s: wrote to stderr: %r" % (label, stderr[:200]))
    if lines is not None and len(stdout.splitlines()) != lines:
        problems.append("%s: %d lines on stdout, expected %d" % (label, len(stdout.splitlines()), lines))
    return problems


def decompilable_tables(path):
    """Tags of the tables fontTools decompiles without error, or None when it
    can't open the font at all."""
    from fontTools.ttLib import TTFont
    try:
        font = TTFont(path, lazy=False)
    except Exception:
        return None
    good = set()
    for tag in font.keys():
        if tag == "GlyphOrder":
            continue
        try:
            table = font[tag]
            if hasattr(table, "ensureDecompiled"):
                table.ensureDecompiled()
            good.add(tag)
        except Exception:
            pass
    return good


def table_ranges(data):
    """tag -> (offset, length) of a single font's tables."""
    count = struct.unpack_from(">H", data, 4)[0]
    ranges = {}
    for i in range(count):
        tag, _, offset, length = struct.unpack_from(">4sIII", data, 12 + 16 * i)
        ranges[tag.decode("latin-1")] = (offset, length)
    return ranges


def without_pending(data):
    """The font with the offsets to the parts not instanced yet set to null:
    GDEF's item variation store (version 1.3, offset at byte 14) and the
    FeatureVariations of GSUB and GPOS (version 1.1, offset at byte 10).
    Returns the bytes and what was cut."""
    data = bytearray(data)
    ranges = table_ranges(data)
    cut = []
    for tag, minor, field in (("GDEF", 3, 14), ("GSUB", 1, 10), ("GPOS", 1, 10)):
        if tag not in ranges:
            continue
        offset, length = ranges[tag]
        # Both are 32-bit offsets.
        if length < field + 4 or struct.unpack_from(">HH", data, offset) != (1, minor):
            continue
        if any(data[offset + field:offset + field + 4]):
            data[offset + field:offset + field + 4] = bytes(4)
            cut.append(tag + (" variation store" if tag == "GDEF" else " FeatureVariations"))
    return bytes(data), cut


def pending_tables(path):
    """The tables of an output that still hold variation data: those
    without_pending cuts, and CFF2."""
    with open(path, "rb") as handle:
        data = handle.read()
    tags = [part.split()[0] for part in without_pending(data)[1]]
    if "CFF2" in table_ranges(data):
        tags.append("CFF2")
    return tags


def note_problems(label, stderr, path):
    """The tool's note on stderr must name every table that stays
    uninstanced, and come only when there is one."""
    notes = [line for line in stderr.splitlines() if line.startswith(NOTE)]
    pending = pending_tables(path)
    if not pending:
        return ["%s: a note though nothing stays uninstanced: %r" % (label, notes)] if notes else []
    if len(notes) != 1:
        return ["%s: %d notes on stderr for the uninstanced %s, expected 1" % (label, len(notes), pending)]
    missing = [tag for tag in pending if tag not in notes[0]]
    return ["%s: the note %r does not name %s" % (label, notes[0], missing)] if missing else []


def ots_problems(path, workdir, notes):
    """ots-sanitize on an instance whose input it accepts.

    The instancer is being built: so far it leaves three parts of a font as
    they were, which ots-sanitize rightly refuses once fvar is gone: the item
    variation store of GDEF, the FeatureVariations of GSUB and GPOS, and CFF2
    charstrings with blends. An output holding the first two is judged on a
    copy with their offsets set to null; one with CFF2 outlines can't be, and
    the note says the check was left out. Everything else must pass as it is."""
    if ots_accepts(path):
        return []
    with open(path, "rb") as handle:
        data = handle.read()
    ranges = table_ranges(data)
    if "CFF2" in ranges:
        notes.add("ots-sanitize left out: CFF2 is not instanced yet")
        return []
    stripped, cut = without_pending(data)
    if not cut:
        return ["ots-sanitize rejects %s but accepts the input" % os.path.basename(path)]
    copy = os.path.join(workdir, "without-pending" + os.path.splitext(path)[1])
    with open(copy, "wb") as handle:
        handle.write(stripped)
    notes.add("ots-sanitize judged without the %s (not instanced yet)" % ", ".join(cut))
    if not ots_accepts(copy):
        return ["ots-sanitize rejects %s even without the %s, but accepts the input" %
                (os.path.basename(path), ", ".join(cut))]
    return []


def output_problems(path, printed, input_ots, workdir, notes, decompiled=None):
    """The checks of one written instance."""
    from fontTools.ttLib import TTFont
    name = os.path.basename(path)
    try:
        font = TTFont(path, lazy=True)
    except Exception as error:
        return ["fontTools can't open %s: %r" % (name, error)]
    problems = []
    left = [tag for tag in VARIATION_TABLES if tag in font]
    if left:
        problems.append("%s keeps %s" % (name, " ".join(left)))
    if "name" not in font:
        problems.append("%s has no name table" % name)
    else:
        names = {record.toUnicode() for record in font["name"].names if record.nameID == 6}
        if names != {printed}:
            problems.append("%s: name ID 6 is %s, printed %r" % (name, sorted(names), printed))
    if decompiled is not None:
        after = decompilable_tables(path)
        # The variation tables go by design, and DSIG whenever a font is saved.
        lost = sorted(decompiled - set(VARIATION_TABLES) - {"DSIG"} - (after or set()))
        if after is None:
            problems.append("fontTools can't decompile %s" % name)
        elif lost:
            problems.append("fontTools decompiled %s in the input, not in %s" % (",".join(lost), name))
    if input_ots is not None and input_ots:
        problems += ots_problems(path, workdir, notes)
    return problems


def keep_alphanumerics(text):
    return "".join(c for c in text if c.isascii() and c.isalnum())


def expected_names(font):
    """The suffixes the named instances' PostScript names end with (the
    instance's subfamily, or that of the first instance at the same
    coordinates), or None when one has no subfamily name to go by."""
    fvar = font["fvar"]
    suffixes = []
    for record in fvar.instances:
        first = next(r for r in fvar.instances if r.coordinates == record.coordinates)
        subfamily = font["name"].getDebugName(first.subfamilyNameID) if "name" in font else None
        if not subfamily or not keep_alphanumerics(subfamily):
            return None
        suffixes.append(keep_alphanumerics(subfamily))
    return suffixes


def check_all_named(tool, path, font, input_ots, workdir, notes):
    statics = os.path.join(workdir, "statics")
    status, stdout, stderr = run_tool(tool, ["instance", path, "--all-named", statics])
    count = len(font["fvar"].instances)
    suffixes = expected_names(font)
    if suffixes is not None and len(set(suffixes)) < len(suffixes):
        # Two instances must share a name: the run fails and writes nothing.
        problems = []
        if status != 1:
            problems.append("--all-named: status %d, expected 1 for instances sharing a name" % status)
        if len(stderr.splitlines()) != 1 or "both have the PostScript name" not in stderr:
            problems.append("--all-named: stderr %r does not name the clash" % stderr)
        if os.path.exists(statics):
            problems.append("--all-named: the folder was left behind")
        notes.add("--all-named refused: named instances share a name")
        return problems
    if count == 0:
        if status != 1 or os.path.exists(statics):
            return ["--all-named of a font without named instances: status %d" % status]
        return []
    problems = status_problems("--all-named", status, stdout, stderr, lines=count)
    if problems:
        return problems
    printed = stdout.splitlines()
    extension = ".otf" if ("CFF " in font or "CFF2" in font) else ".ttf"
    files = sorted(os.listdir(statics))
    if len(set(printed)) != count:
        problems.append("--all-named printed %d distinct names for %d instances" % (len(set(printed)), count))
    if files != sorted(name + extension for name in printed):
        problems.append("--all-named: files %s don't match the printed names" % files)
    if suffixes is not None:
        # (A name too long for 63 bytes is hashed instead: "Family-XXXXXX...".)
        wrong = [n for n, s in zip(printed, suffixes) if not n.endswith("-" + s) and "..." not in n]
        if wrong:
            problems.append("--all-named: names %s don't end with their subfamily" % wrong)
    for name in printed:
        problems += output_problems(os.path.join(statics, name + extension), name, input_ots, workdir, notes)
    if printed:
        problems += note_problems("--all-named", stderr, os.path.join(statics, printed[0] + extension))
    notes.add("%d named instances" % count)
    return problems


def info_sections(text):
    """The axis rows (tag, minimum, default, maximum, name) and instance rows
    (name, coordinates, PostScript name) of `typeframe info` for a single
    font. The instance table's columns start where its header's words do."""
    lines = text.splitlines()
    axes, instances = [], []
    at = next(i for i, line in enumerate(lines) if line.startswith("  axes: "))
    count = int(lines[at][8:])
    for line in lines[at + 2:at + 2 + count]:
        minimum, default, maximum, *name = line[10:].split(None, 3)
        axes.append((line[4:8], float(minimum), float(default), float(maximum), name[0] if name else ""))
    at += 2 + count if count else 1
    count = int(lines[at].split(": ")[1])
    if count:
        header = lines[at + 1]
        coordinates_at = header.index("coordinates")
        name_at = header.find("PostScript name")
        for line in lines[at + 2:at + 2 + count]:
            coordinates = line[coordinates_at:name_at if name_at > 0 else None].split()
            values = [float(item.rsplit("=", 1)[1]) for item in coordinates]
            instances.append((line[4:coordinates_at].rstrip(), values,
                              line[name_at:].strip() if name_at > 0 else ""))
    return axes, instances


def info_problems(tool, path, font):
    """`typeframe info` shows the axes and named instances fontTools reads."""
    status, stdout, stderr = run_tool(tool, ["info", path])
    problems = status_problems("info", status, stdout, stderr, lines=None)
    if problems:
        return problems
    try:
        axes, instances = info_sections(stdout)
    except (ValueError, IndexError, StopIteration) as error:
        return ["info: axes or instances can't be read from its report (%r)" % error]
    names = font["name"] if "name" in font else None

    def name_of(name_id):
        return (names.getDebugName(name_id) or "") if names else ""

    close = lambda a, b: abs(a - b) <= 1 / 65536
    fvar = font["fvar"]
    expected_axes = [(a.axisTag, a.minValue, a.defaultValue, a.maxValue, name_of(a.axisNameID)) for a in fvar.axes]
    if len(axes) != len(expected_axes) or any(
            got[0] != want[0] or got[4] != want[4] or not all(close(g, w) for g, w in zip(got[1:4], want[1:4]))
            for got, want in zip(axes, expected_axes)):
        problems.append("info: axes %r, fontTools reads %r" % (axes, expected_axes))
    expected = []
    for record in fvar.instances:
        ps_id = getattr(record, "postscriptNameID", 0xFFFF)
        expected.append((name_of(record.subfamilyNameID) or "(name ID %d)" % record.subfamilyNameID,
                         [record.coordinates[a.axisTag] for a in fvar.axes],
                         name_of(ps_id) if ps_id != 0xFFFF else ""))
    if len(instances) != len(expected) or any(
            got[0] != want[0] or got[2] != want[2] or len(got[1]) != len(want[1]) or
            not all(close(g, w) for g, w in zip(got[1], want[1])) for got, want in zip(instances, expected)):
        problems.append("info: named instances %r, fontTools reads %r" % (instances[:3], expected[:3]))
    return problems


def midpoint_arguments(font):
    arguments = []
    for axis in font["fvar"].axes:
        value = (axis.minValue + axis.maxValue) / 2
        arguments.append("%s=%s" % (axis.axisTag.rstrip(" "), repr(value)))
    return arguments


def check_font(tool, path, ots):
    """All checks of one variable font. Returns (status, detail)."""
    from fontTools.ttLib import TTFont
    workdir = tempfile.mkdtemp(prefix="typeframe-instance-")
    try:
        font = TTFont(path, lazy=True)
        input_ots = ots_accepts(path) if ots else None
        decompiled = decompilable_tables(path) or set()
        notes = set()
        problems = []
        out = os.path.join(workdir, "instance" + os.path.splitext(path)[1])
        for label, extra in (("default", []), ("midpoint", midpoint_arguments(font))):
            status, stdout, stderr = run_tool(tool, ["instance", path, out] + extra)
            failed = status_problems(label, status, stdout, stderr)
            problems += failed
            if not failed:
                problems += ["%s: %s" % (label, p) for p in
                             output_problems(out, stdout.strip(), input_ots, workdir, notes, decompiled)]
                problems += note_problems(label, stderr, out)
            if os.path.exists(out):
                os.remove(out)
        problems += info_problems(tool, path, font)
        problems += check_all_named(tool, path, font, input_ots, workdir, notes)
        if problems:
            return "FAIL", "%s: %s" % (path, "; ".join(problems))
        if ots and not input_ots:
            notes.add("input rejected by ots-sanitize")
        return "ok", "%s (%s)" % (path, "; ".join(sorted(notes)) or "all checks")
    except Exception as error:  # a crash of the checker is a failure, not a skip
        return "FAIL", "%s: checker error: %r" % (path, error)
    finally:
        shutil.rmtree(workdir, ignore_errors=True)


def collect(paths):
    from fontTools.ttLib import TTFont
    found = []
    for path in paths:
        if not os.path.exists(path):
            print("note: %s does not exist, passed over" % path)
            continue
        for candidate in collect_fonts([path], FONT_SUFFIXES):
            try:
                if "fvar" in TTFont(candidate, lazy=True):
                    found.append(candidate)
            except Exception:
                pass
    return found


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

    fonts = collect(args.paths)
    if not fonts:
        print("FAIL no variable font found under %s" % ", ".join(args.paths))
        return 1
    with concurrent.futures.ProcessPoolExecutor(max_workers=max(1, args.jobs)) as pool:
        results = list(pool.map(check_font, [args.tool] * len(fonts), fonts, [ots] * len(fonts)))
    failed = 0
    for status, detail in results:
        print("%-4s %s" % (status, detail))
        failed += status != "ok"
    print("%d passed, %d failed" % (len(results) - failed, failed))
    return 0 if failed == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
