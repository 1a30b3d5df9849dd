#!/usr/bin/python3
"""OS/2 and gasp rebuilt by `typeframe save`, judged by fontTools and ots-sanitize.

    os2_gasp_oracle.py TOOL ROOT...

Every font under the ROOTs (searched recursively; files are taken by their
sfnt or collection signature, each font of a collection with --index) that
has an 'OS/2' or 'gasp' table is saved with `--rebuild` of those of the two it
has, and the output is checked:

- OS/2: the bytes are the input's fields of its version, each copied whole at
  its offset when it lies wholly inside the input and zero otherwise; the
  length is that of the version (an input of version 0 shorter than 78 bytes
  is the early 68-byte form); xAvgCharWidth is the rule below.
- OS/2: fontTools reads every field of the output to the input's value, but
  xAvgCharWidth, whenever it can read the input's table.
- xAvgCharWidth: the mean of the non-zero advances in the input's 'hmtx' (as
  fontTools reads them), floor(mean + 0.5), wrapped to a signed 16-bit value;
  the input's value when no advance is non-zero. The same rule for every
  version. How often fontTools' recalcAvgCharWidth agrees is reported.
- gasp: the bytes are the input's header and ranges exactly, in their order;
  fontTools reads the same version and ranges.
- ots-sanitize accepts the output whenever it accepts the input.

Real fonts hardly carry OS/2 versions 0 and 5 or cut tables, so the first few
fonts found also give variants whose OS/2 is rewritten (as raw bytes) to the
early 68-byte version 0, version 0, 1 and 5, a version 4 cut to 90 bytes and
a version 6, which go through the same checks.

The tool may refuse a font only where the library must: an OS/2 version
above 5, no readable 'hmtx' (the average can't be made), or a gasp whose
ranges pass the end of its bytes. Any other refusal fails the run.

Exit status: 0 pass, 1 failures, 77 when fontTools is missing or no font was
found. Run it with Debian's /usr/bin/python3.
"""

import concurrent.futures
import logging
import math
import os
import shutil
import subprocess
import sys
import tempfile
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), os.pardir))
from oracle_support import ots_accepts  # noqa: E402

try:
    from fontTools.ttLib import TTFont
except ImportError:
    print("os2_gasp_oracle: SKIP: fontTools is not installed")
    sys.exit(77)

SKIP = 77
SFNT_TAGS = {b"\x00\x01\x00\x00", b"OTTO", b"true", b"typ1"}
TTCF = b"ttcf"

# The OS/2 fields as (offset, size), by the version that brings them.
OS2_VERSION0 = [(0, 2), (2, 2), (4, 2), (6, 2), (8, 2)] + [(10 + 2 * i, 2) for i in range(11)] + \
    [(32, 10), (42, 4), (46, 4), (50, 4), (54, 4), (58, 4), (62, 2), (64, 2), (66, 2)]
OS2_TYPOGRAPHIC = [(68, 2), (70, 2), (72, 2), (74, 2), (76, 2)]
OS2_VERSION1 = [(78, 4), (82, 4)]
OS2_VERSION2 = [(86, 2), (88, 2), (90, 2), (92, 2), (94, 2)]
OS2_VERSION5 = [(96, 2), (98, 2)]


def u16(data, pos):
    return int.from_bytes(data[pos:pos + 2], "big") if pos + 2 <= len(data) else None


def s16(value):
    value &= 0xFFFF
    return value - 0x10000 if value >= 0x8000 else value


def font_files(roots):
    for root in roots:
        if os.path.isfile(root):
            candidates = [root]
        elif os.path.isdir(root):
            candidates = []
            for folder, dirs, files in os.walk(root):
                dirs.sort()
                candidates.extend(os.path.join(folder, name) for name in sorted(files))
        else:
            continue
        for path in candidates:
            try:
                with open(path, "rb") as handle:
                    head = handle.read(12)
            except OSError:
                continue
            if head[:4] in SFNT_TAGS:
                yield path, None
            elif head[:4] == TTCF and len(head) == 12:
                for index in range(int.from_bytes(head[8:12], "big")):
                    yield path, index


def open_font(path, index):
    return TTFont(path, fontNumber=index if index is not None else -1, lazy=True)


def expected_os2(data, average):
    """The bytes the library writes for an input OS/2 table, or None for a
    version it can't write."""
    version = u16(data, 0)
    if version is None:
        version = 0
    if version > 5:
        return None
    legacy = len(data) < 78
    fields = list(OS2_VERSION0)
    if not legacy or version != 0:
        fields += OS2_TYPOGRAPHIC
    if version >= 1:
        fields += OS2_VERSION1
    if version >= 2:
        fields += OS2_VERSION2
    if version >= 5:
        fields += OS2_VERSION5
    length = {0: 68 if legacy else 78, 1: 86, 5: 100}.get(version, 96)
    out = bytearray(length)
    for offset, size in fields:
        # A cut table's typographic block is not read at all.
        if legacy and (offset, size) in OS2_TYPOGRAPHIC:
            continue
        if offset + size <= len(data):
            out[offset:offset + size] = data[offset:offset + size]
    if average is not None:
        out[2:4] = (average & 0xFFFF).to_bytes(2, "big")
    return bytes(out)


def library_average(font):
    """(average or None to keep the field, readable): the rule described above."""
    try:
        widths = [metric[0] for metric in font["hmtx"].metrics.values() if metric[0] > 0]
    except Exception:  # noqa: BLE001 - no or unreadable hmtx
        return None, False
    if not widths:
        return None, True
    return s16(math.floor(sum(widths) / len(widths) + 0.5)), True


def fonttools_average(font):
    """fontTools' recalcAvgCharWidth on the input, or None where it fails."""
    try:
        return font["OS/2"].recalcAvgCharWidth(font)
    except Exception:  # noqa: BLE001 - e.g. every advance zero
        return None


def os2_values(table):
    values = {name: value for name, value in vars(table).items() if name not in ("xAvgCharWidth", "tableTag")}
    if "panose" in values:
        values["panose"] = vars(values["panose"])
    return values


def decompiled(font, tag):
    try:
        return font[tag]
    except Exception:  # noqa: BLE001 - fontTools can't read this table
        return None


# The OS/2 variants made of a real font's table: (name, version, length).
VARIANTS = [("v0-68", 0, 68), ("v0", 0, 78), ("v1", 1, 86), ("v5", 5, 100), ("v4-cut", 4, 90), ("v6", 6, 100)]
VARIANT_BASES = 3


def make_variants(jobs, workdir):
    """Copies of a few fonts with rewritten OS/2 tables, as (path, None) jobs."""
    from fontTools.ttLib.tables.DefaultTable import DefaultTable
    made = []
    bases = 0
    for path, index in jobs:
        if bases == VARIANT_BASES:
            break
        if index is not None:
            continue
        try:
            font = open_font(path, None)
            data = font.reader["OS/2"] if "OS/2" in font.reader.tables else b""
            if len(data) < 96 or "hmtx" not in font.reader.tables:
                continue
        except Exception:  # noqa: BLE001
            continue
        bases += 1
        # Later fields that the base lacks get values of their own.
        full = bytearray(data[:96]) + bytes.fromhex("00500064")
        for name, version, length in VARIANTS:
            table = DefaultTable("OS/2")
            table.data = version.to_bytes(2, "big") + bytes(full[2:length])
            font = TTFont(path, lazy=True, recalcBBoxes=False, recalcTimestamp=False)
            font["OS/2"] = table
            out = os.path.join(workdir, f"variant-{bases}-{name}{os.path.splitext(path)[1]}")
            try:
                font.save(out)
            except Exception:  # noqa: BLE001 - fontTools can't write this base
                continue
            made.append((out, None))
    return made


def check_font(tool, path, index, ots, workdir, number):
    """(status, message, stats): status is 'pass', 'fail' or 'none' (nothing to rebuild)."""
    name = path if index is None else f"{path}#{index}"
    stats = {}
    try:
        font = open_font(path, index)
        raw = {tag: font.reader[tag] for tag in ("OS/2", "gasp") if tag in font.reader.tables}
    except Exception as error:  # noqa: BLE001 - fontTools can't open it: nothing to compare with
        return "none", f"{name}: fontTools can't open it ({error})", stats
    if not raw:
        return "none", "", stats

    average, hmtx_readable = library_average(font) if "OS/2" in raw else (None, True)
    os2_version = u16(raw["OS/2"], 0) if "OS/2" in raw else None
    gasp_cut = False
    if "gasp" in raw:
        count = u16(raw["gasp"], 2)
        gasp_cut = count is None or 4 + 4 * count > len(raw["gasp"])
    must_refuse = []
    if "OS/2" in raw and os2_version is not None and os2_version > 5:
        must_refuse.append(f"OS/2 version {os2_version}")
    if "OS/2" in raw and not hmtx_readable:
        must_refuse.append("no readable hmtx")
    if gasp_cut:
        must_refuse.append("gasp ranges pass its end")

    out_path = os.path.join(workdir, f"{number}.out")
    command = [tool, "save", path, out_path, "--rebuild", ",".join(sorted(raw))]
    if index is not None:
        command += ["--index", str(index)]
    result = subprocess.run(command, capture_output=True, timeout=300)
    if result.returncode != 0:
        if must_refuse:
            return "pass", f"{name}: refused as expected ({', '.join(must_refuse)})", stats
        return "fail", f"{name}: tool failed: {result.stderr.decode(errors='replace').strip()}", stats
    problems = []
    if must_refuse and (os2_version is not None and os2_version > 5 or gasp_cut):
        problems.append(f"saved although {', '.join(must_refuse)}")

    try:
        out = TTFont(out_path, lazy=True)
        out_raw = {tag: out.reader[tag] for tag in raw if tag in out.reader.tables}
    except Exception as error:  # noqa: BLE001
        return "fail", f"{name}: fontTools can't open the output ({error})", stats
    for tag in raw:
        if tag not in out_raw:
            problems.append(f"'{tag}' missing from the output")

    if "OS/2" in out_raw:
        want = expected_os2(raw["OS/2"], average)
        if want is not None and out_raw["OS/2"] != want:
            problems.append(f"OS/2 bytes differ: got {out_raw['OS/2'].hex()} want {want.hex()}")
        theirs = decompiled(font, "OS/2")
        if theirs is not None:
            mine = decompiled(out, "OS/2")
            if mine is None:
                problems.append("fontTools reads the input's OS/2 but not the output's")
            elif os2_values(mine) != os2_values(theirs):
                differ = sorted(k for k in set(os2_values(mine)) | set(os2_values(theirs))
                                if os2_values(mine).get(k) != os2_values(theirs).get(k))
                problems.append(f"OS/2 fields differ: {differ}")
            else:
                expected_avg = average if average is not None else theirs.xAvgCharWidth
                if mine.xAvgCharWidth != expected_avg:
                    problems.append(f"xAvgCharWidth {mine.xAvgCharWidth}, want {expected_avg}")
                stats["os2-compared"] = 1
                stats["os2-stored-equal" if theirs.xAvgCharWidth == mine.xAvgCharWidth
                      else "os2-stored-differs"] = 1
                recalc = fonttools_average(font)
                if recalc is None:
                    stats["recalc-fails"] = 1
                elif recalc == mine.xAvgCharWidth:
                    stats["recalc-agrees"] = 1
                else:
                    stats["recalc-differs"] = 1
                    stats["recalc-example"] = f"{name}: ours {mine.xAvgCharWidth}, recalcAvgCharWidth {recalc}"
        else:
            stats["os2-fonttools-unreadable"] = 1

    if "gasp" in out_raw:
        count = u16(raw["gasp"], 2)
        if count is not None and out_raw["gasp"] != raw["gasp"][:4 + 4 * count]:
            problems.append(f"gasp bytes differ: got {out_raw['gasp'].hex()} want {raw['gasp'][:4 + 4 * count].hex()}")
        theirs = decompiled(font, "gasp")
        if theirs is not None:
            mine = decompiled(out, "gasp")
            if mine is None or (mine.version, mine.gaspRange) != (theirs.version, theirs.gaspRange):
                problems.append("gasp reads differently in fontTools")
            else:
                stats["gasp-compared"] = 1

    if ots and ots_accepts(path, index) and not ots_accepts(out_path):
        problems.append("ots-sanitize rejects the output but accepts the input")
    os.unlink(out_path)
    if problems:
        return "fail", f"{name}: " + "; ".join(problems), stats
    return "pass", "", stats


def main():
    if len(sys.argv) < 3:
        print(__doc__)
        return 2
    logging.disable(logging.CRITICAL)  # fontTools' warnings about odd fonts
    tool, roots = sys.argv[1], sys.argv[2:]
    ots = shutil.which("ots-sanitize") is not None
    if not ots:
        print("os2_gasp_oracle: note: ots-sanitize not found, its check is left out")
    jobs = list(font_files(roots))
    totals = {"pass": 0, "fail": 0, "none": 0}
    stats = {}
    examples = []
    with tempfile.TemporaryDirectory() as workdir, \
            concurrent.futures.ThreadPoolExecutor(max_workers=os.cpu_count() or 4) as pool:
        variants = make_variants(jobs, workdir)
        print(f"os2_gasp_oracle: {len(jobs)} fonts found, {len(variants)} OS/2 variants made")
        jobs += variants
        futures = [pool.submit(check_font, tool, path, index, ots, workdir, number)
                   for number, (path, index) in enumerate(jobs)]
        for future in futures:
            status, message, font_stats = future.result()
            totals[status] += 1
            for key, value in font_stats.items():
                if key.endswith("example"):
                    if len(examples) < 5:
                        examples.append(value)
                else:
                    stats[key] = stats.get(key, 0) + value
            if status == "fail":
                print(f"FAIL {message}")
            elif message and "refused" in message:
                print(f"note {message}")
    print(f"os2_gasp_oracle: {totals['pass']} fonts pass, {totals['fail']} fail, "
          f"{totals['none']} without OS/2 or gasp (or unreadable by fontTools)")
    print(f"  OS/2 compared field by field: {stats.get('os2-compared', 0)} "
          f"(stored xAvgCharWidth equal to the recomputed one: {stats.get('os2-stored-equal', 0)}, "
          f"different: {stats.get('os2-stored-differs', 0)}); "
          f"fontTools can't read the input's: {stats.get('os2-fonttools-unreadable', 0)}")
    print(f"  recalcAvgCharWidth agrees: {stats.get('recalc-agrees', 0)}, differs: "
          f"{stats.get('recalc-differs', 0)}, fails: {stats.get('recalc-fails', 0)}")
    for example in examples:
        print(f"    e.g. {example}")
    print(f"  gasp compared: {stats.get('gasp-compared', 0)}")
    if totals["pass"] + totals["fail"] == 0:
        print("os2_gasp_oracle: SKIP: no fonts with OS/2 or gasp found")
        return SKIP
    return 1 if totals["fail"] else 0


if __name__ == "__main__":
    sys.exit(main())
