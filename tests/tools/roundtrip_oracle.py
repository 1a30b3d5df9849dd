#!/usr/bin/python3
"""Round trip of real fonts through `typeframe save`, judged by fontTools and
ots-sanitize.

usage: roundtrip_oracle.py TOOL PATH... [--require NAME]... [--skip-if-absent]

Every .ttf, .otf and .ttc under the PATHs (folders are searched recursively)
is saved by the tool, each font of a collection with --index, and the output
is checked:

- the tables the input's directory can supply, less DSIG, are all there, and
  every one but head is the input's bytes exactly (vhea: see below);
- head equals the input's apart from checkSumAdjustment and modified;
- the directory is sorted, tables start on 4-byte boundaries, each entry's
  checksum is right, and the whole file sums to 0xB1B0AFBA;
- ots-sanitize accepts the output whenever it accepts the input (some test
  fonts are broken on purpose);
- fontTools opens the output and decompiles every table it could decompile
  in the input.

Then `--rebuild` of head, hhea, vhea and maxp (those present) must give the
same tables apart from the fields that saving recomputes.

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
SFNT_VERSIONS = (0x00010000, 0x4F54544F, 0x74727565, 0x74797031)  # 1.0, OTTO, true, typ1
TTCF = 0x74746366
CHECKSUM_MAGIC = 0xB1B0AFBA
SECONDS_1904_TO_1970 = 2082844800

# Byte ranges that saving may change, per table: [start, end).
HEAD_ADJUSTMENT = (8, 12)
HEAD_MODIFIED = (28, 36)
# head is rewritten on every save (its date and adjustment change), and a
# rewritten head takes its bounds from the outline tables: with glyf, the
# union of the glyph boxes (see head_box_problems); without an outline table
# the library reads, all zero.
HEAD_BOUNDS = (36, 44)
HEAD_CREATED = (20, 28)
# A rebuilt hhea recomputes advanceWidthMax, minLeftSideBearing,
# minRightSideBearing and xMaxExtent from the metrics tables.
HHEA_RECOMPUTED = (10, 18)


def u16(data, pos):
    return int.from_bytes(data[pos:pos + 2].ljust(2, b"\0"), "big") if pos < len(data) else 0


def u32(data, pos):
    return int.from_bytes(data[pos:pos + 4].ljust(4, b"\0"), "big") if pos < len(data) else 0


def tag_text(tag):
    return tag.to_bytes(4, "big").decode("latin-1")


def checksum(data):
    data = data + b"\0" * (-len(data) % 4)
    return sum(struct.unpack(">%dI" % (len(data) // 4), data)) & 0xFFFFFFFF


def font_offsets(data):
    """Offsets of the offset tables of the fonts of a file, as the library sees them."""
    tag = u32(data, 0)
    if tag in SFNT_VERSIONS:
        return [0]
    if tag != TTCF or u32(data, 4) not in (0x00010000, 0x00020000):
        return []
    count = u32(data, 8)
    # A count larger than the file can hold offsets for is hostile; the
    # hostile-input tests cover it, here it just means no fonts.
    if count > (len(data) - 12) // 4:
        return []
    return [u32(data, 12 + 4 * i) for i in range(count)]


def read_directory(data, offset):
    """The directory of the font at offset: version and a list of
    (tag, checksum, offset, length). Bytes past the end read as zero, as the
    library reads them."""
    version = u32(data, offset)
    if version not in SFNT_VERSIONS:
        return None, []
    count = u16(data, offset + 4)
    entries = []
    for i in range(count):
        p = offset + 12 + 16 * i
        entries.append((u32(data, p), u32(data, p + 4), u32(data, p + 8), u32(data, p + 12)))
    return version, entries


def expected_tables(data, entries):
    """What the saved font should hold: tag -> input bytes, for the first
    entry of each tag that can be read (not at offset 0, not empty, inside the
    file), DSIG left out."""
    tables = {}
    seen = set()
    for tag, _, offset, length in entries:
        if tag in seen:
            continue
        seen.add(tag)
        if tag_text(tag) == "DSIG":
            continue
        if offset == 0 or length == 0 or offset > len(data) or length > len(data) - offset:
            continue
        tables[tag_text(tag)] = data[offset:offset + length]
    return tables


def differences(name, expected, actual, free_ranges=(), zero_ranges=()):
    """Describes how actual differs from expected outside free_ranges; a range
    in zero_ranges may also be all zero in actual."""
    if len(expected) != len(actual):
        return ["%s: length %d, expected %d" % (name, len(actual), len(expected))]
    masked_e = bytearray(expected)
    masked_a = bytearray(actual)
    for start, end in free_ranges:
        masked_e[start:end] = masked_a[start:end] = b"\0" * (end - start)
    for start, end in zero_ranges:
        if masked_a[start:end] == b"\0" * (end - start):
            masked_e[start:end] = masked_a[start:end]
    if masked_e == masked_a:
        return []
    first = next(i for i in range(len(masked_e)) if masked_e[i] != masked_a[i])
    return ["%s: differs from byte %d on" % (name, first)]


def expected_head(data):
    """head after a load and a rewrite: 54 bytes, and a created date before
    1970 moves to 1970, a deliberate clamp of the library's date handling."""
    head = bytearray(data[:54].ljust(54, b"\0"))
    created = int.from_bytes(head[20:28], "big", signed=True)
    if created < SECONDS_1904_TO_1970:
        head[20:28] = SECONDS_1904_TO_1970.to_bytes(8, "big")
    return bytes(head)


def expected_vhea(data):
    # The library keeps only the 36-byte record of vhea from the moment it
    # loads it; trailing bytes of the input are dropped on purpose.
    return data[:36].ljust(36, b"\0") if len(data) != 36 else data


def compare_tables(expected, actual, rebuilt):
    problems = []
    missing = sorted(set(expected) - set(actual))
    extra = sorted(set(actual) - set(expected))
    if missing:
        problems.append("missing tables " + ",".join(missing))
    if extra:
        problems.append("unexpected tables " + ",".join(extra))
    for tag in sorted(set(expected) & set(actual)):
        want, got = expected[tag], actual[tag]
        if tag == "head":
            problems += differences(tag, expected_head(want), got, [HEAD_ADJUSTMENT, HEAD_MODIFIED, HEAD_BOUNDS])
        elif tag == "vhea":
            problems += differences(tag, expected_vhea(want), got)
        elif tag == "hhea" and tag in rebuilt:
            problems += differences(tag, want[:36].ljust(36, b"\0"), got, [HHEA_RECOMPUTED])
        elif tag == "maxp" and tag in rebuilt:
            size = 32 if u32(want, 0) >= 0x5001 else 6
            problems += differences(tag, want[:size].ljust(size, b"\0"), got)
        else:
            problems += differences(tag, want, got)
    return problems


def check_file_structure(out, version):
    """The written file itself: header, sorted directory, alignment,
    checksums. Returns (problems, tag -> bytes)."""
    problems = []
    out_version, entries = read_directory(out, 0)
    if out_version is None:
        return ["output has no valid sfnt header"], {}
    if out_version != version:
        problems.append("sfnt version 0x%08X, expected 0x%08X" % (out_version, version))
    count = len(entries)
    if 12 + 16 * count > len(out):
        return problems + ["directory passes the end of the output"], {}
    search_range = 16 * (1 << (count.bit_length() - 1)) if count else 0
    if (u16(out, 6), u16(out, 8), u16(out, 10)) != (
            search_range, max(count.bit_length() - 1, 0), 16 * count - search_range):
        problems.append("wrong binary-search fields")
    tags = [e[0] for e in entries]
    if tags != sorted(tags) or len(set(tags)) != len(tags):
        problems.append("directory not sorted by tag")
    tables = {}
    for tag, entry_sum, offset, length in entries:
        name = tag_text(tag)
        if offset % 4 or offset + length > len(out):
            problems.append("%s: bad offset %d or length %d" % (name, offset, length))
            continue
        body = out[offset:offset + length]
        tables[name] = body
        if name == "head" and length >= 12:
            body = body[:8] + b"\0\0\0\0" + body[12:]
        if checksum(body) != entry_sum:
            problems.append("%s: directory checksum 0x%08X, table sums to 0x%08X" % (name, entry_sum, checksum(body)))
    if "DSIG" in tables:
        problems.append("DSIG kept")
    if "head" in tables and checksum(out) != CHECKSUM_MAGIC:
        problems.append("file checksum 0x%08X, expected 0x%08X" % (checksum(out), CHECKSUM_MAGIC))
    return problems, tables


def decompilable_tables(path, index):
    """Tags of the tables fontTools decompiles without error, or None when it
    can't open the font at all."""
    from fontTools.ttLib import TTFont
    try:
        font = TTFont(path, fontNumber=index if index is not None else -1, lazy=False)
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


def fonttools_tables(path, index):
    """Raw bytes of every table by fontTools' reader, or None."""
    from fontTools.ttLib import TTFont
    try:
        reader = TTFont(path, fontNumber=index if index is not None else -1, lazy=True).reader
        return {tag: reader[tag] for tag in reader.keys()}
    except Exception:
        return None


def head_box_problems(path, raw_head, input_head):
    """head's box must be the union of the stored glyph boxes, an empty glyph
    counting as the origin (as the library unites them); for a font without
    glyf it is all zero or, when the outlines can't be read, the input's."""
    box = tuple(int.from_bytes(raw_head[i:i + 2], "big", signed=True) for i in range(36, 44, 2))
    from fontTools.ttLib import TTFont
    try:
        font = TTFont(path, lazy=True)
        has_glyf = "glyf" in font
        if has_glyf:
            glyf = font["glyf"]
            union = None
            for name in font.getGlyphOrder():
                glyph = glyf[name]
                if getattr(glyph, "numberOfContours", 0) == 0:
                    glyph_box = (0, 0, 0, 0)
                else:
                    glyph_box = (glyph.xMin, glyph.yMin, glyph.xMax, glyph.yMax)
                union = list(glyph_box) if union is None else [
                    min(union[0], glyph_box[0]), min(union[1], glyph_box[1]),
                    max(union[2], glyph_box[2]), max(union[3], glyph_box[3])]
    except Exception:
        return []  # fontTools can't judge this font's glyphs
    if has_glyf:
        expected = tuple(union) if union else (0, 0, 0, 0)
        return [] if box == expected else ["head box %s, glyph union %s" % (box, expected)]
    input_box = tuple(int.from_bytes(input_head[i:i + 2], "big", signed=True) for i in range(36, 44, 2))
    return [] if box in ((0, 0, 0, 0), input_box) else ["head box %s without glyf" % (box,)]


def run_tool(tool, arguments):
    result = subprocess.run([tool] + arguments, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=300)
    return result.returncode, result.stderr.decode("utf-8", "replace").strip()


def check_save(tool, path, index, data, version, expected, rebuild, workdir, ots, input_ots):
    """Saves once (with --rebuild when given) and checks the output. Returns
    the problems found."""
    out_path = os.path.join(workdir, "out-%s.ttf" % ("rebuild" if rebuild else "plain"))
    arguments = ["save", path, out_path]
    if index is not None:
        arguments += ["--index", str(index)]
    if rebuild:
        arguments += ["--rebuild", ",".join(t.strip() for t in rebuild)]
    status, stderr = run_tool(tool, arguments)
    label = "save --rebuild %s" % ",".join(t.strip() for t in rebuild) if rebuild else "save"
    if status != 0:
        what = "killed by signal %d" % -status if status < 0 else "exit %d" % status
        return ["%s: %s: %s" % (label, what, stderr)]
    with open(out_path, "rb") as handle:
        out = handle.read()
    problems, raw_out = check_file_structure(out, version)
    # fontTools' reader gives the output's tables independently of the
    # structure check above; both must agree with the input.
    by_fonttools = fonttools_tables(out_path, None)
    if by_fonttools is None:
        problems.append("fontTools can't read the output's directory")
    else:
        raw_out = {tag: bytes(body) for tag, body in by_fonttools.items()}
    problems += compare_tables(expected, raw_out, set(rebuild))
    if "head" in raw_out and "head" in expected and len(raw_out["head"]) >= 44:
        problems += head_box_problems(out_path, raw_out["head"], expected["head"].ljust(44, b"\0"))
    if ots and input_ots and not ots_accepts(out_path):
        problems.append("ots-sanitize rejects the output but accepts the input")
    return ["%s: %s" % (label, p) for p in problems]


def check_font(tool, path, index, offset, ots):
    """All checks of one font of a file. Returns (status, detail)."""
    name = path if index is None else "%s#%d" % (path, index)
    with open(path, "rb") as handle:
        data = handle.read()
    version, entries = read_directory(data, offset)
    workdir = tempfile.mkdtemp(prefix="typeframe-roundtrip-")
    try:
        if version is None or not entries:
            # The tool must refuse such a font cleanly.
            arguments = ["save", path, os.path.join(workdir, "out.ttf")]
            if index is not None:
                arguments += ["--index", str(index)]
            status, _ = run_tool(tool, arguments)
            if status == 1 and not os.path.exists(os.path.join(workdir, "out.ttf")):
                return "ok", "%s: no tables; refused" % name
            return "FAIL", "%s: no tables, but save gave status %d" % (name, status)

        expected = expected_tables(data, entries)
        # Cross-check the input side with fontTools' reader when it can read
        # the font; the tables it gives must be the ones this script expects.
        problems = []
        by_fonttools = fonttools_tables(path, index)
        if by_fonttools is not None:
            for tag, body in expected.items():
                if tag in by_fonttools and bytes(by_fonttools[tag]) != body:
                    problems.append("input %s: fontTools reads other bytes" % tag)
        input_ots = ots and ots_accepts(path, index)

        problems += check_save(tool, path, index, data, version, expected, [], workdir, ots, input_ots)
        out_path = os.path.join(workdir, "out-plain.ttf")
        if not problems:
            before = decompilable_tables(path, index) or set()
            after = decompilable_tables(out_path, None)
            if after is None:
                problems.append("fontTools can't open the output")
            else:
                lost = sorted((before & set(expected)) - after)
                if lost:
                    problems.append("fontTools decompiled %s in the input, not in the output" % ",".join(lost))

        rebuild = [t for t in ("head", "hhea", "vhea", "maxp") if t in expected]
        if rebuild:
            problems += check_save(tool, path, index, data, version, expected, rebuild, workdir, ots, input_ots)

        if problems:
            return "FAIL", "%s: %s" % (name, "; ".join(problems))
        notes = "%d tables" % len(expected)
        if ots and not input_ots:
            notes += ", input rejected by ots-sanitize"
        return "ok", "%s (%s)" % (name, notes)
    except Exception as error:  # a crash of the checker is a failure, not a skip
        return "FAIL", "%s: checker error: %r" % (name, error)
    finally:
        shutil.rmtree(workdir, ignore_errors=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("tool")
    parser.add_argument("paths", nargs="+")
    parser.add_argument("--require", action="append", default=[],
                        help="a file name that must be among the fonts found (a collection: all its fonts checked)")
    parser.add_argument("--skip-if-absent", action="store_true", help="exit 77 when no PATH exists")
    parser.add_argument("--jobs", type=int, default=os.cpu_count() or 1)
    args = parser.parse_args()

    status, ots = start_checks(args.paths, args.skip_if_absent, SKIP)
    if status is not None:
        return status

    files = collect_fonts(args.paths)
    failures = []
    for required in args.require:
        if not any(os.path.basename(f) == required for f in files):
            failures.append("required font %s not found" % required)

    jobs = []
    for path in files:
        with open(path, "rb") as handle:
            data = handle.read()
        offsets = font_offsets(data)
        if not offsets:
            jobs.append((path, None, 0))  # not a font: the save must refuse it
        elif u32(data, 0) == TTCF:
            jobs += [(path, i, offset) for i, offset in enumerate(offsets)]
        else:
            jobs.append((path, None, 0))
    for required in args.require:
        fonts = [j for j in jobs if os.path.basename(j[0]) == required]
        if fonts and (len(fonts) < 2 or any(j[1] is None for j in fonts)):
            failures.append("required font %s is not a collection of several fonts" % required)

    passed = 0
    with concurrent.futures.ProcessPoolExecutor(max_workers=max(1, args.jobs)) as pool:
        futures = [pool.submit(check_font, args.tool, path, index, offset, ots) for path, index, offset in jobs]
        results = [future.result() for future in futures]
    for status, detail in results:
        print("%-4s %s" % (status, detail))
        if status == "ok":
            passed += 1
        else:
            failures.append(detail)
    for failure in failures:
        if failure.startswith("required font"):
            print("FAIL " + failure)
    print("%d passed, %d failed" % (passed, len(failures)))
    return 0 if not failures else 1


if __name__ == "__main__":
    sys.exit(main())
