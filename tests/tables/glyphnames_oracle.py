#!/usr/bin/python3
"""Compares the library's glyph names and rebuilt 'post' tables with fontTools.

    glyphnames_oracle.py DUMP-PROGRAM TOOL ROOT...

DUMP-PROGRAM is tests/tables/GlyphNameDump.cpp, TOOL the typeframe
command-line tool. Checks, in order:

1. The glyph-name lists: the Macintosh standard names equal fontTools'
   standardGlyphOrder; the code-point-to-name table equals fontTools' UV2AGL
   (the Adobe Glyph List For New Fonts); every single-code name of the full
   Adobe Glyph List (fontTools' LEGACY_AGL2UV) finds its code point, and
   the names of sequences are not found.

2. Every sfnt font (collections included) found under the ROOTs, recursively:
   OTFont::GetGlyphNames() against what is expected of the font's 'post':
   - format 2.0 that the library reads, and format 1.0 with at most 258
     glyphs: the names equal TTFont.getGlyphOrder(). For a font with a 'CFF '
     table fontTools names the glyphs from the CFF charset, which the library
     does not read yet; there the names are compared with the names
     fontTools reads from 'post'.
   - format 2.0 that the library does not read (a glyph count of 0 or of
     32768 and up, which is a signed word to the library; an index array or
     a string running past the end): the numbered fallback, glyph00000 on.
   - format 1.0 with more than 258 glyphs: the 258 Macintosh names only
     (fontTools makes the rest from the cmap).
   - format 3.0, 2.5, 4.0, other versions, no 'post': the numbered fallback.
     Names made from the cmap through the Adobe Glyph List, which fontTools
     gives here, come once the library reads the cmap.

3. `TOOL save FONT OUT --rebuild post` for every font with head, maxp and
   post: for formats 1.0, 2.0 and 3.0 the output's 'post' reads in fontTools
   to the input's version, italicAngle, underlinePosition,
   underlineThickness, isFixedPitch and memory hints, and a format 2.0
   output holds the library's names of the input; ots-sanitize accepts the
   output whenever it accepts the input. Formats 2.5, 4.0 and others can't
   be written from their fields, and the save must fail.

Prints a summary with the count of each kind of font; exit status 0 pass,
1 failures, 77 when fontTools is missing or no fonts are found.
"""

import concurrent.futures
import logging
import os
import shutil
import struct
import subprocess
import sys
import tempfile
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), os.pardir))
from oracle_support import ots_accepts as ots_accepts_font, sfnt_files  # noqa: E402

try:
    from fontTools import agl
    from fontTools.ttLib import TTFont
    from fontTools.ttLib.standardGlyphOrder import standardGlyphOrder
except ImportError:
    print("glyphnames_oracle: SKIP: fontTools is not installed")
    sys.exit(77)

SKIP = 77
POST_FIELDS = ("formatType", "italicAngle", "underlinePosition", "underlineThickness", "isFixedPitch",
               "minMemType42", "maxMemType42", "minMemType1", "maxMemType1")


def numbered(count):
    return ["glyph%05d" % i for i in range(count)]


# ---------------------------------------------------------------- lists


def check_lists(dump):
    problems = []
    mac = subprocess.run([dump, "--mac"], capture_output=True, check=True).stdout.decode("ascii").splitlines()
    if mac != list(standardGlyphOrder):
        problems.append("Macintosh names differ from fontTools' standardGlyphOrder")

    lines = subprocess.run([dump, "--aglfn"], capture_output=True, check=True).stdout.decode("ascii").splitlines()
    ours = {int(code, 16): name for code, name in (line.split("\t") for line in lines)}
    if ours != agl.UV2AGL:
        problems.append("code point names differ from fontTools' UV2AGL (%d against %d entries)" %
                        (len(ours), len(agl.UV2AGL)))

    names = sorted(agl.LEGACY_AGL2UV)
    result = subprocess.run([dump, "--agl"], input="\n".join(names).encode("ascii") + b"\n", capture_output=True,
                            check=True)
    found = {}
    for line in result.stdout.decode("ascii").splitlines():
        name, code = line.split("\t")
        found[name] = None if code == "-" else int(code, 16)
    wrong = 0
    for name in names:
        codes = agl.LEGACY_AGL2UV[name]
        want = codes[0] if len(codes) == 1 else None
        if found.get(name, "missing") != want:
            wrong += 1
            if wrong <= 5:
                problems.append("AGL name %s: ours %r, expected %r" % (name, found.get(name), want))
    print("glyphnames_oracle: lists: %d Macintosh names, %d code point names, %d AGL names checked" %
          (len(mac), len(ours), len(names)))
    return problems


# ---------------------------------------------------------------- fonts




def dump_names(dump, path):
    """{font index: (post version or None, numGlyphs or None, [names])}."""
    result = subprocess.run([dump, path], capture_output=True, timeout=300)
    if result.returncode != 0:
        raise RuntimeError("dump failed (%d): %s" % (result.returncode, result.stderr.decode(errors="replace")))
    fonts = {}
    current = None
    for line in result.stdout.decode("ascii").splitlines():
        fields = line.split("\t")
        if fields[0] == "font":
            version = None if fields[2] == "none" else int(fields[2], 16)
            glyphs = None if fields[3] == "none" else int(fields[3])
            current = (version, glyphs, [])
            fonts[int(fields[1])] = current
        else:
            current[2].append(bytes.fromhex(fields[2]).decode("latin-1"))
    return fonts


def format20_readable(post, num_glyphs):
    """Whether the library's rules read a format 2.0 table: a signed glyph
    count above 0 (lowered to maxp's), the index array inside the table, and
    Pascal strings that end exactly at the end of the table."""
    data = post[32:]
    if len(data) < 2:
        return False
    count = min(struct.unpack(">h", data[:2])[0], num_glyphs)
    if count <= 0 or 2 + 2 * count > len(data):
        return False
    position = 2 + 2 * count
    while position < len(data):
        position += 1 + data[position]
    return position == len(data)


def expectation(post, num_glyphs, has_cff):
    """(kind, expected names or None to compare with fontTools, compare with
    fontTools' post names instead of its glyph order)."""
    if num_glyphs is None:
        return "no-maxp", [], False
    if post is None or len(post) < 4:
        return "numbered: no post", numbered(num_glyphs), False
    version = struct.unpack(">I", post[:4])[0]
    if version == 0x00010000:
        if num_glyphs > 258:
            return "format 1.0 beyond 258 glyphs: Macintosh names only", list(standardGlyphOrder), False
        return "format 1.0" + (" (CFF: post names)" if has_cff else ""), None, has_cff
    if version == 0x00020000:
        if not format20_readable(post, num_glyphs):
            return "numbered: format 2.0 the library does not read", numbered(num_glyphs), False
        return "format 2.0" + (" (CFF: post names)" if has_cff else ""), None, has_cff
    return "numbered: post version %08x without names" % version, numbered(num_glyphs), False


def fonttools_names(path, index, collection, post_only):
    font = TTFont(path, fontNumber=index if collection else -1, lazy=True)
    if post_only:
        table = font["post"]
        return list(table.glyphOrder)
    return list(font.getGlyphOrder())


def raw_tables(path, index, collection):
    font = TTFont(path, fontNumber=index if collection else -1, lazy=True)
    reader = font.reader
    tables = {tag: bytes(reader[tag]) for tag in ("maxp", "post", "head") if tag in reader}
    return tables, "CFF " in reader


def ots_accepts(path, index=None):
    """None when ots-sanitize is not installed."""
    if not shutil.which("ots-sanitize"):
        return None
    return ots_accepts_font(path, index, timeout=120)

def post_values(path, index):
    font = TTFont(path, fontNumber=index if index is not None else -1, lazy=True)
    table = font["post"]
    values = {field: getattr(table, field, None) for field in POST_FIELDS}
    names = list(table.glyphOrder) if getattr(table, "glyphOrder", None) is not None else None
    return values, names


def check_rebuild(tool, path, index, ours, tables):
    """Problems of `save --rebuild post` of one font."""
    post = tables["post"]
    version = struct.unpack(">I", post[:4])[0] if len(post) >= 4 else None
    workdir = tempfile.mkdtemp(prefix="typeframe-post-")
    try:
        out = os.path.join(workdir, "out.ttf")
        command = [tool, "save", path, out, "--rebuild", "post"]
        if index is not None:
            command += ["--index", str(index)]
        result = subprocess.run(command, capture_output=True, timeout=300)
        writable = version in (0x00010000, 0x00020000, 0x00030000)
        if not writable:
            if result.returncode == 1 and not os.path.exists(out):
                return [], "post %08x: save refused" % version
            return ["post %08x: save gave status %d" % (version, result.returncode)], None
        if result.returncode != 0:
            return ["save --rebuild post: status %d: %s" % (result.returncode,
                                                             result.stderr.decode(errors="replace").strip())], None
        problems = []
        try:
            before, _ = post_values(path, index)
        except Exception:  # noqa: BLE001 - fontTools can't read the input's post: compare the bytes
            before = None
        after, names = post_values(out, None)
        if before is not None:
            for field in POST_FIELDS:
                if before[field] != after[field]:
                    problems.append("post %s: %r, input %r" % (field, after[field], before[field]))
        else:
            rebuilt = raw_tables(out, None, False)[0]["post"]
            if rebuilt[:32] != post[:32].ljust(32, b"\0"):
                problems.append("post fixed part differs")
        if version == 0x00020000 and names != ours:
            first = next((i for i in range(min(len(names or []), len(ours))) if names[i] != ours[i]), None)
            problems.append("rebuilt names differ from the library's (%d against %d, first at %r)" %
                            (len(names or []), len(ours), first))
        if ots_accepts(path, index) and not ots_accepts(out):
            problems.append("ots-sanitize rejects the rebuilt font but accepts the input")
        return problems, "rebuilt"
    finally:
        shutil.rmtree(workdir, ignore_errors=True)


def check_file(dump, tool, path):
    """[(label, kind, problems, rebuild note)] for the fonts of a file."""
    results = []
    try:
        ours_by_font = dump_names(dump, path)
    except Exception as error:  # noqa: BLE001
        return [(path, "dump failed", [str(error)], None)]
    collection = open(path, "rb").read(4) == b"ttcf"
    for index in sorted(ours_by_font):
        label = "%s#%d" % (path, index) if collection else path
        _, num_glyphs, ours = ours_by_font[index]
        try:
            tables, has_cff = raw_tables(path, index, collection)
        except Exception:  # noqa: BLE001 - fontTools can't open it: nothing to compare with
            results.append((label, "fontTools can't read the font", [], None))
            continue
        kind, expected, post_only = expectation(tables.get("post"), num_glyphs, has_cff)
        problems = []
        if expected is None:
            try:
                expected = fonttools_names(path, index, collection, post_only)
            except Exception:  # noqa: BLE001
                results.append((label, kind + ": fontTools can't name the glyphs", [], None))
                continue
        if ours != expected:
            first = next((i for i in range(min(len(ours), len(expected))) if ours[i] != expected[i]), None)
            detail = "first difference at glyph %d: %r against %r" % (first, ours[first], expected[first]) \
                if first is not None else "%d names against %d" % (len(ours), len(expected))
            problems.append("%s: %s" % (kind, detail))
        note = None
        if all(tag in tables for tag in ("head", "maxp", "post")):
            rebuild_problems, note = check_rebuild(tool, path, index if collection else None, ours, tables)
            problems += rebuild_problems
        results.append((label, kind, problems, note))
    return results


def main():
    if len(sys.argv) < 4:
        print(__doc__)
        return 2
    dump, tool, roots = sys.argv[1], sys.argv[2], sys.argv[3:]
    logging.getLogger("fontTools").setLevel(logging.CRITICAL)
    failures = check_lists(dump)
    for problem in failures:
        print("FAIL lists: " + problem)

    files = list(sfnt_files(roots))
    if not files:
        print("glyphnames_oracle: SKIP: no fonts found")
        return SKIP
    with concurrent.futures.ProcessPoolExecutor(max_workers=os.cpu_count() or 1) as pool:
        per_file = list(pool.map(check_file, [dump] * len(files), [tool] * len(files), files))
    kinds = {}
    rebuilt = {}
    fonts = 0
    for results in per_file:
        for label, kind, problems, note in results:
            fonts += 1
            kinds[kind] = kinds.get(kind, 0) + 1
            if note:
                rebuilt[note] = rebuilt.get(note, 0) + 1
            for problem in problems:
                failures.append("%s: %s" % (label, problem))
                print("FAIL %s: %s" % (label, problem))
    print("glyphnames_oracle: %d fonts in %d files" % (fonts, len(files)))
    for kind in sorted(kinds):
        print("  %5d  %s" % (kinds[kind], kind))
    print("  save --rebuild post: " + ", ".join("%d %s" % (n, note) for note, n in sorted(rebuilt.items())))
    if shutil.which("ots-sanitize") is None:
        print("  note: ots-sanitize not found, its check is left out")
    print("glyphnames_oracle: %d failures" % len(failures))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
