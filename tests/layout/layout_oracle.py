#!/usr/bin/python3
"""Layout tables rebuilt by `typeframe save --rebuild`, judged by fontTools
and ots-sanitize.

    layout_oracle.py TOOL TAGS ROOT...

TAGS is a comma-separated list of the layout tables to rebuild (GPOS, GSUB,
GDEF, BASE). Every font under the ROOTs (searched recursively; each font of
a collection by --index) that has any of them is saved with those it has
rebuilt from their fields. fontTools reads each table of the input and of
the output, and their XML dumps must be equal once both sides are put in the
same terms:

- Extension lookups are unwrapped on both sides, so the writer may add or
  drop them.
- What the library deliberately doesn't write back is left out of the input:
  feature variations (instancing resolves them; the output keeps their
  header field as a zero offset), the item variation stores of GDEF and BASE
  (likewise), the parameters of features other than size, ssXX and cvXX, and
  the character lists of cvXX parameters (read as 32-bit values, written as
  24-bit ones), which are left out of both sides.
- Device tables are written in the format their deltas call for, with the
  library's own format-3 packing; the input's deltas are replaced by what
  fontTools reads from those words (see `saved_device`).
- ClassDef entries of class 0 are dropped on both sides, since a format 1
  class definition may or may not list them.
- A BASE axis with no baseline tags and no scripts counts as absent on both
  sides, since both axes are always written.

ots-sanitize must accept the output whenever it accepts the input. A font
whose input GPOS fontTools can't read is only saved and sanitised.

Exit status: 0 pass, 1 failures, 77 when fontTools is missing or no font was
found. Run it with Debian's /usr/bin/python3.
"""

import concurrent.futures
import difflib
import io
import logging
import math
import os
import shutil
import subprocess
import sys
import tempfile
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), os.pardir))
from oracle_support import ots_accepts, sfnt_files  # noqa: E402

try:
    from fontTools.misc.xmlWriter import XMLWriter
    from fontTools.ttLib import TTFont
    from fontTools.ttLib.tables import otBase
except ImportError:
    print("layout_oracle: SKIP: fontTools is not installed")
    sys.exit(77)

SKIP = 77
KEPT_PARAMETERS = ("size",)


def kept_parameters(tag):
    return tag in KEPT_PARAMETERS or tag[:2] in ("ss", "cv")


def saved_device(start, end, deltas):
    """(format, deltas) that fontTools reads from the library's save of a
    device table with these sizes and deltas."""
    count = (end - start + 1) & 0xFFFF

    def log_bits(value):
        byte = value & 0xFF
        return -math.inf if byte == 0 else math.log2(byte) + 1.0

    widest = max(log_bits(min(deltas)), log_bits(max(deltas))) if deltas else -math.inf
    bits = -1 if widest == -math.inf else int(widest)
    fmt = 1 if bits < 3 else 2 if bits <= 4 else 3
    width = {1: 2, 2: 4, 3: 8}[fmt]
    per_word = 16 // width
    words = (count * width + 15) // 16

    def value(i):
        return deltas[i] & 0xFF if i < len(deltas) else 0

    packed = []
    if fmt == 3:
        shift = 16
        for k in range(words):
            word = (value(2 * k) << (shift % 32)) | (value(2 * k + 1) << ((shift - 8) % 32))
            packed.append(word & 0xFFFF)
            shift -= 8
    else:
        mask = (1 << width) - 1
        for k in range(words):
            word = 0
            for field in range(per_word):
                word |= (value(k * per_word + field) & mask) << (16 - width * (field + 1))
            packed.append(word & 0xFFFF)
    read = []
    mask = (1 << width) - 1
    for i in range(count):
        field = (packed[i // per_word] >> (16 - width * (i % per_word + 1))) & mask
        read.append(field - (1 << width) if field >= 1 << (width - 1) else field)
    return fmt, read


EXTENSION_TYPES = {"GSUB": 7, "GPOS": 9}


def normalise(tag, table, is_input, traits):
    """Puts a fontTools table object (otTables.GPOS, GSUB, GDEF or BASE) in
    the terms told above; adds to `traits` what the input holds that the
    terms touch."""
    if is_input:
        for store in ("FeatureVariations", "VarStore"):
            if getattr(table, store, None) is not None:
                traits.add("%s %s" % (tag, "feature variations" if store == "FeatureVariations" else "variation store"))
                setattr(table, store, None)
    if tag == "BASE":
        # Both axes are always written; an absent one as an empty axis.
        for name in ("HorizAxis", "VertAxis"):
            axis = getattr(table, name, None)
            tags = getattr(getattr(axis, "BaseTagList", None), "BaselineTag", None) or []
            scripts = getattr(getattr(axis, "BaseScriptList", None), "BaseScriptRecord", None) or []
            if axis is not None and not tags and not scripts:
                setattr(table, name, None)
    if getattr(table, "FeatureList", None):
        for record in table.FeatureList.FeatureRecord:
            params = getattr(record.Feature, "FeatureParams", None)
            if params is None:
                continue
            if is_input and not kept_parameters(record.FeatureTag):
                record.Feature.FeatureParams = None
            elif record.FeatureTag[:2] == "cv":
                params.CharCount = 0
                params.Character = []
    if getattr(table, "LookupList", None):
        for lookup in table.LookupList.Lookup:
            if lookup.LookupType == EXTENSION_TYPES.get(tag) and lookup.SubTable:
                traits.add(tag + " extensions")
                lookup.LookupType = lookup.SubTable[0].ExtensionLookupType
                lookup.SubTable = [extension.ExtSubTable for extension in lookup.SubTable]
    walk(table, is_input, set(), traits)


def walk(node, is_input, seen, traits):
    if id(node) in seen:
        return
    seen.add(id(node))
    if isinstance(node, list):
        for item in node:
            walk(item, is_input, seen, traits)
        return
    if not isinstance(node, otBase.BaseTable):
        return
    name = type(node).__name__
    if name == "Device" and is_input:
        traits.add("device tables" if getattr(node, "DeltaFormat", 0) in (1, 2, 3) else "variation indices")
    if name == "Device" and getattr(node, "DeltaFormat", 0x8000) in (1, 2, 3) and is_input:
        node.DeltaFormat, node.DeltaValue = saved_device(node.StartSize, node.EndSize, list(node.DeltaValue))
    if name == "ClassDef" and getattr(node, "classDefs", None) is not None:
        node.classDefs = {glyph: cls for glyph, cls in node.classDefs.items() if cls != 0}
    for value in vars(node).values():
        walk(value, is_input, seen, traits)


def dump(font, tag, is_input, traits):
    table = font[tag]
    normalise(tag, table.table, is_input, traits)
    out = io.StringIO()
    writer = XMLWriter(out, newlinestr="\n")
    table.toXML(writer, font)
    return out.getvalue().splitlines()


def check_font(tool, tags, path, index, workdir):
    """(label, {tag: kind}, problems, traits) for one font; no kinds when it
    has none of `tags`."""
    label = os.path.basename(path) + ("" if index is None else "#%d" % index)
    number = -1 if index is None else index
    try:
        present = [tag for tag in tags if tag in TTFont(path, fontNumber=number, lazy=True).reader.tables]
    except Exception:  # noqa: BLE001 - a font fontTools can't open at all
        present = []
    if not present:
        return label, {}, [], set()
    out = os.path.join(workdir, "%d-%s" % (os.getpid(), os.path.basename(path)))
    if out.endswith(".ttc"):
        out = out[:-4] + ".ttf"
    command = [tool, "save", path, out, "--rebuild", ",".join(present)]
    if index is not None:
        command += ["--index", str(index)]
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    traits = set()
    if result.returncode != 0:
        return label, {tag: "refused" for tag in present}, ["save failed: " + result.stderr.strip()], traits
    kinds = {}
    problems = []
    try:
        for tag in present:
            try:
                expected = dump(TTFont(path, fontNumber=number), tag, True, traits)
                kinds[tag] = "compared"
            except Exception as error:  # noqa: BLE001 - fontTools can't read the input's table
                expected = None
                kinds[tag] = "unreadable input (%s)" % type(error).__name__
            if expected is None:
                continue
            try:
                got = dump(TTFont(out), tag, False, set())
            except Exception as error:  # noqa: BLE001
                problems.append("fontTools can't read the output's %s: %r" % (tag, error))
                continue
            if got != expected:
                diff = list(difflib.unified_diff(expected, got, "input", "output", n=1, lineterm=""))
                problems.append("%s differs:\n    %s" % (tag, "\n    ".join(diff[:30])))
        if shutil.which("ots-sanitize") and ots_accepts(path, index) and not ots_accepts(out):
            problems.append("ots-sanitize accepts the input but not the output")
    finally:
        if os.path.exists(out):
            os.remove(out)
    return label, kinds, problems, traits


def jobs_of(roots):
    for path in sfnt_files(roots):
        with open(path, "rb") as handle:
            head = handle.read(12)
        if head[:4] == b"ttcf":
            for index in range(int.from_bytes(head[8:12], "big")):
                yield path, index
        else:
            yield path, None


def main():
    if len(sys.argv) < 4:
        print(__doc__)
        return 2
    tool, tags, roots = sys.argv[1], sys.argv[2].split(","), sys.argv[3:]
    logging.getLogger("fontTools").setLevel(logging.CRITICAL)
    jobs = list(jobs_of(roots))
    failures = 0
    kinds = {}
    with tempfile.TemporaryDirectory() as workdir, \
            concurrent.futures.ProcessPoolExecutor(max_workers=os.cpu_count() or 1) as pool:
        futures = [pool.submit(check_font, tool, tags, path, index, workdir) for path, index in jobs]
        for future in futures:
            label, table_kinds, problems, traits = future.result()
            for tag, kind in table_kinds.items():
                kinds[(tag, kind)] = kinds.get((tag, kind), 0) + 1
            for trait in traits:
                kinds[(trait, "")] = kinds.get((trait, ""), 0) + 1
            for problem in problems:
                failures += 1
                print("FAIL %s: %s" % (label, problem))
    if not kinds:
        print("layout_oracle: SKIP: no font with %s found" % " or ".join(tags))
        return SKIP
    for (name, kind), count in sorted(kinds.items()):
        print("  %5d  %s %s" % (count, name, kind) if kind else "  %5d    with %s" % (count, name))
    if shutil.which("ots-sanitize") is None:
        print("  note: ots-sanitize not found, its check is left out")
    print("layout_oracle: %d failures" % failures)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
