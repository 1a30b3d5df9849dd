#!/usr/bin/python3
"""Compares the decoded text of every name record with fontTools.

    name_oracle.py DUMP-PROGRAM ROOT...

Every file under the roots (recursively) that starts like an sfnt font or a
collection is dumped by DUMP-PROGRAM (tests/tables/NameDump.cpp) and read by
fontTools; each record's text is compared with NameRecord.toUnicode().
A record that neither side can decode agrees. Disagreements are counted by
kind; these two are expected, everything else fails the run:

  iso-platform      platform 2 (ISO), which this library does not decode;
  fonttools-ascii   a Macintosh encoding for which fontTools has no codec and
                    falls back to ASCII, while the library uses the real code
                    page (or none).

Exit status: 0 pass, 1 unexplained disagreements, 77 fontTools missing.
"""

import os
import subprocess
import sys
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), os.pardir))
from oracle_support import sfnt_files  # noqa: E402

try:
    from fontTools.misc.encodingTools import getEncoding
    from fontTools.ttLib import TTFont
except ImportError:
    print("name_oracle: SKIP: fontTools is not installed")
    sys.exit(77)

UNDECODABLE = None




def dump(program, path):
    """{font index: [(p, e, l, n, raw bytes, text or None)]}, or None if no name table."""
    result = subprocess.run([program, path], capture_output=True, timeout=120)
    if result.returncode != 0:
        raise RuntimeError(f"dump failed ({result.returncode}): {result.stderr.decode(errors='replace')}")
    fonts = {}
    for line in result.stdout.decode("ascii").splitlines():
        fields = line.split("\t")
        index = int(fields[0])
        if fields[1] == "-":
            fonts[index] = None
            continue
        p, e, l, n = (int(x) for x in fields[2:6])
        raw = bytes.fromhex(fields[6])
        text = bytes.fromhex(fields[8]).decode("utf-8") if fields[7] == "ok" else UNDECODABLE
        fonts.setdefault(index, []).append((p, e, l, n, raw, text))
    return fonts


def fonttools_records(path, index, collection):
    font = TTFont(path, fontNumber=index if collection else -1, lazy=True)
    if "name" not in font:
        return None
    records = []
    for record in font["name"].names:
        try:
            text = record.toUnicode()
        except Exception:  # noqa: BLE001 - any failure to decode is "undecodable"
            text = UNDECODABLE
        raw = record.string if isinstance(record.string, bytes) else record.toBytes()
        records.append((record.platformID, record.platEncID, record.langID, record.nameID, raw, text))
    return records


def kind_of(p, e, l):
    if p == 2:
        return "iso-platform"
    if p == 1 and getEncoding(p, e, l, default=None) is None:
        return "fonttools-ascii"
    return "unexplained"


def main():
    if len(sys.argv) < 3:
        print(__doc__)
        return 2
    program, roots = sys.argv[1], sys.argv[2:]
    fonts = records = agreed = both_failed = 0
    unreadable = []
    fonttools_skipped = 0
    kinds = {}
    examples = {}
    for path in sfnt_files(roots):
        try:
            ours = dump(program, path)
        except Exception as error:  # noqa: BLE001
            unreadable.append(f"{path}: {error}")
            continue
        collection = open(path, "rb").read(4) == b"ttcf"
        for index in sorted(ours):
            try:
                theirs = fonttools_records(path, index, collection)
            except Exception:  # noqa: BLE001 - fontTools can't read the font: nothing to compare
                continue
            mine = ours[index]
            if mine is None or theirs is None:
                if (mine is None) != (theirs is None):
                    kinds["name-table-presence"] = kinds.get("name-table-presence", 0) + 1
                    examples.setdefault("name-table-presence", f"{path}#{index}")
                continue
            fonts += 1
            # fontTools leaves out records whose string lies outside the table;
            # match records in order by IDs and stored bytes.
            position = 0
            for (p, e, l, n, raw, text) in mine:
                found = None
                for j in range(position, len(theirs)):
                    if theirs[j][:5] == (p, e, l, n, raw):
                        found = j
                        break
                if found is None:
                    fonttools_skipped += 1
                    continue
                position = found + 1
                records += 1
                other = theirs[found][5]
                if text == other:
                    agreed += 1
                    if text is UNDECODABLE:
                        both_failed += 1
                    continue
                kind = kind_of(p, e, l)
                kinds[kind] = kinds.get(kind, 0) + 1
                examples.setdefault(
                    kind, f"{path}#{index} ({p},{e},{l},{n}) bytes={raw[:24].hex()} ours={text!r} fontTools={other!r}")
                if kind == "unexplained":
                    print(f"MISMATCH {path}#{index} ({p},{e},{l},{n}) ours={text!r} fontTools={other!r}")

    print(f"name_oracle: {fonts} fonts, {records} records compared, {agreed} agree "
          f"({both_failed} undecodable on both sides); {fonttools_skipped} records fontTools leaves out")
    for kind in sorted(kinds):
        print(f"  {kind}: {kinds[kind]}  e.g. {examples[kind]}")
    for line in unreadable:
        print(f"  dump failed: {line}")
    if fonts == 0:
        print("name_oracle: SKIP: no fonts found")
        return 77
    failed = kinds.get("unexplained", 0) + kinds.get("name-table-presence", 0) + len(unreadable)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
