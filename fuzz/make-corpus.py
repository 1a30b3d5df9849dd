#!/usr/bin/env python3
"""Writes the seed corpora of the fuzz targets into fuzz/corpus/ from small
fonts of the tree and of the shared test data (../shared/testdata next to the
clone). Deterministic: the same fonts give the same files.

  fuzz/make-corpus.py          # every target
  fuzz/make-corpus.py table    # one target

load_save   the fonts themselves
table       each table of those fonts that the table factory has a class
            for, as its tag followed by its bytes
instancer   the variable fonts, each with trailers for the default location,
            the minimum and maximum corners, and a location of the wrong length
ttcompiler  the TrueType programs of the fonts (fpgm and prep) as bytecode
            (a 0 byte first) and as assembly text (a 2 byte first); the
            dictionary ttcompiler.dict of mnemonics for -dict=
"""

import hashlib
import os
import re
import struct
import sys

FUZZ = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(FUZZ)
SHARED = os.path.join(os.path.dirname(ROOT), "shared", "testdata", "fonttools")

# (path, where it is) for every font the seeds come from; all fontTools test
# data (MIT), see corpus/README.md.
FONTS = [
    os.path.join(ROOT, "tests/data/TestTTF.ttf"),
    os.path.join(ROOT, "tests/data/TestOTF.otf"),
    os.path.join(ROOT, "tests/data/PartialInstancerTest3-VF.ttf"),
    os.path.join(SHARED, "Tests/ttx/data/TestTTC.ttc"),
    os.path.join(SHARED, "Tests/ttx/data/TestTTCv2.ttc"),
    os.path.join(SHARED, "Tests/ttLib/data/dot-cubic.ttf"),
    os.path.join(SHARED, "Tests/ttLib/data/duplicate_glyph_name.ttf"),
    os.path.join(SHARED, "Tests/ttLib/data/bogus_post_format_1.ttf"),
    os.path.join(SHARED, "compiled/instancer/SinglePos.ttf"),
    os.path.join(SHARED, "compiled/instancer/3634-VF.ttf"),
    os.path.join(SHARED, "compiled/instancer/PartialInstancerTest4-VF.ttf"),
    os.path.join(SHARED, "compiled/instancer/PartialInstancerTest2-VF.ttf"),
    os.path.join(SHARED, "compiled/instancer/PartialInstancerTest-VF.ttf"),
    os.path.join(SHARED, "compiled/instancer/CFF2Instancer-VF-2.otf"),
    os.path.join(SHARED, "compiled/varLib/SparseMasters-VF.ttf"),
    os.path.join(SHARED, "compiled/varLib/Mutator_IUP.ttf"),
]


# Hinted TrueType whose programs seed the assembler (Debian fonts-dejavu-core;
# Bitstream Vera / DejaVu licence, see corpus/README.md).
HINTED = "/usr/share/fonts/truetype/dejavu/DejaVuSansMono.ttf"
HINTED_GLYPHS = 12


def glyph_programs(data, tables):
    """The instructions of the first simple glyphs that have some."""
    long_offsets = struct.unpack(">h", tables["head"][50:52])[0] == 1
    loca, glyf = tables["loca"], tables["glyf"]
    size = 4 if long_offsets else 2
    count = len(loca) // size - 1
    for glyph in range(count):
        start, end = struct.unpack(">II" if long_offsets else ">HH", loca[glyph * size:glyph * size + 2 * size])
        if not long_offsets:
            start, end = start * 2, end * 2
        if end - start < 12:
            continue
        contours = struct.unpack(">h", glyf[start:start + 2])[0]
        if contours < 0:
            continue
        at = start + 10 + 2 * contours
        length = struct.unpack(">H", glyf[at:at + 2])[0]
        if length:
            yield glyph, glyf[at + 2:at + 2 + length]


def known_tags():
    """The tags the table factory makes a class for."""
    with open(os.path.join(ROOT, "src/core/TableRegistry.cpp"), encoding="utf-8") as f:
        return sorted(set(re.findall(r'\{MakeTag\("(.{4})"\), Make<', f.read())))


def fonts_of(data):
    """Offsets of the fonts of a file or collection."""
    if data[:4] == b"ttcf":
        count = struct.unpack(">I", data[8:12])[0]
        return list(struct.unpack(">%dI" % count, data[12:12 + 4 * count]))
    return [0]


def tables_of(data, offset):
    count = struct.unpack(">H", data[offset + 4:offset + 6])[0]
    tables = {}
    for i in range(count):
        tag, _, start, length = struct.unpack(">4sIII", data[offset + 12 + 16 * i:offset + 28 + 16 * i])
        tables[tag.decode("latin-1")] = data[start:start + length]
    return tables


def fvar_axes(table):
    """(min, default, max) of each axis, as raw 16.16 values."""
    axes_offset, _, count, size = struct.unpack(">HHHH", table[4:12])
    return [struct.unpack(">iii", table[axes_offset + i * size + 4:axes_offset + i * size + 16]) for i in range(count)]


def trailer(values, exact=False):
    return b"".join(struct.pack(">i", v) for v in values) + bytes([len(values) | (0x80 if exact else 0)])


def opcode_rows():
    """(mnemonic, first opcode, argument bits) of every instruction and push."""
    with open(os.path.join(ROOT, "src/truetype/TTCompiler.cpp"), encoding="utf-8") as f:
        source = f.read()
    rows = [(m, int(o, 16), int(b)) for m, o, b in re.findall(r'\{"(\w+)", (0x[0-9A-F]{2}), (\d), \d+, \d+, "\w+"\}', source)]
    pushes = [(m, int(o, 16), int(b), int(w)) for m, o, b, w in re.findall(r'\{"(\w+)", (0x[0-9A-F]{2}), (\d), (\d), "\w+"\}', source)]
    return rows, pushes


def disassemble(code):
    """The assembly text of a program, in the form the library writes."""
    rows, pushes = opcode_rows()
    names = {}
    for mnemonic, opcode, bits in rows:
        for value in range(1 << bits):
            names[opcode + value] = "%s[%s]" % (mnemonic, format(value, "0%db" % bits) if bits else " ")
    push_of = {}
    for mnemonic, opcode, bits, words in pushes:
        for value in range(1 << bits):
            push_of[opcode + value] = (mnemonic, opcode, bits, words)
    lines, p = [], 0
    while p < len(code):
        if code[p] not in push_of:
            lines.append(names.get(code[p], "INSTR%d[ ]" % code[p]))
            p += 1
            continue
        mnemonic, opcode, bits, words = push_of[code[p]]
        if bits:
            count, p = code[p] - opcode + 1, p + 1
        else:
            count, p = code[p + 1], p + 2
        lines.append("%s[ ]\t/* %d value%s pushed */" % (mnemonic, count, "" if count == 1 else "s"))
        for _ in range(count):
            if words:
                lines.append(str(struct.unpack(">h", code[p:p + 2])[0]))
                p += 2
            else:
                lines.append(str(code[p]))
                p += 1
    return "\n".join(lines).encode("ascii")


def write_dictionary():
    rows, pushes = opcode_rows()
    words = sorted({m for m, _, _ in rows} | {m for m, _, _, _ in pushes} | {"PUSH", "INSTR"})
    with open(os.path.join(FUZZ, "ttcompiler.dict"), "w", encoding="ascii") as f:
        f.write("# TrueType assembly words for the ttcompiler target (written by make-corpus.py).\n")
        for word in words:
            f.write('"%s"\n' % word)
        for extra in ("[ ]", "[0]", "[1]", "[01]", "[00000]", "/*", "*/", "\\x0a"):
            f.write('"%s"\n' % extra)


def safe(tag):
    return re.sub(r"[^A-Za-z0-9]", "_", tag)


def stem(path):
    return os.path.splitext(os.path.basename(path))[0]


def gpos_with_lookup(lookup_type, subtable):
    """A GPOS (or GSUB) header with only a lookup list, of one lookup of
    `lookup_type` with one subtable."""
    header = struct.pack(">HHHHH", 1, 0, 0, 0, 10)
    lookup_list = struct.pack(">HH", 1, 4)
    lookup = struct.pack(">HHHH", lookup_type, 0, 1, 8)
    return header + lookup_list + lookup + subtable


# Made GPOS tables that real fonts don't give: the hostile shapes the loader
# must bound (name, bytes after the tag).
HOSTILE_GPOS = [
    ("extension-of-extension", gpos_with_lookup(9, struct.pack(">HHI", 1, 9, 0))),
    ("extension-to-itself", gpos_with_lookup(9, struct.pack(">HHI", 1, 2, 0))),
    ("lookup-type-10", gpos_with_lookup(10, struct.pack(">H", 1))),
    ("class-pairs-without-values",
     gpos_with_lookup(2, struct.pack(">HHHHHHHH", 2, 0, 0, 0, 0, 0, 0xFFFF, 0xFFFF))),
    ("coverage-count-past-end", gpos_with_lookup(1, struct.pack(">HHHHHH", 1, 6, 0, 1, 0xFFFF, 1))),
    ("lists-at-the-header", struct.pack(">HHHHH", 1, 0, 2, 2, 2)),
    ("feature-variations-past-end", struct.pack(">HHHHHI", 1, 1, 0, 0, 0, 0xFFFFFFF0)),
]

# The same for the other layout tables (tag, name, bytes after the tag).
HOSTILE_LAYOUT = [
    ("GSUB", "extension-of-extension", gpos_with_lookup(7, struct.pack(">HHI", 1, 7, 0))),
    ("GSUB", "ligature-count-past-end", gpos_with_lookup(4, struct.pack(">HHHH", 1, 0, 0xFFFF, 8))),
    ("GDEF", "mark-glyph-sets-past-end", struct.pack(">HHHHHHHH", 1, 2, 0, 0, 0, 0, 14, 0) +
     struct.pack(">HHI", 1, 0xFFFF, 8)),
    ("GDEF", "store-past-end", struct.pack(">HHHHHHHI", 1, 3, 0, 0, 0, 0, 0, 0xFFFFFFF0)),
    ("BASE", "axes-at-the-header", struct.pack(">HHHH", 1, 0, 0, 0)),
    ("BASE", "script-count-past-end", struct.pack(">HHHH", 1, 0, 8, 0) + struct.pack(">HHH", 0, 6, 0xFFFF)),
]


def seeds(target):
    present = [path for path in FONTS if os.path.exists(path)]
    if target == "table":
        for name, data in HOSTILE_GPOS:
            yield "GPOS-made-" + name, b"GPOS" + data
        for tag, name, data in HOSTILE_LAYOUT:
            yield "%s-made-%s" % (tag, name), tag.encode("latin-1") + data
    if target == "ttcompiler" and os.path.exists(HINTED):
        with open(HINTED, "rb") as f:
            data = f.read()
        tables = tables_of(data, 0)
        programs = [(tag, tables[tag]) for tag in ("fpgm", "prep")]
        programs += [("glyph%d" % glyph, code) for glyph, code in glyph_programs(data, tables)][:HINTED_GLYPHS]
        for name, code in programs:
            yield "%s-%s" % (name, stem(HINTED)), b"\0" + code
            yield "%s-%s.txt" % (name, stem(HINTED)), b"\2" + disassemble(code)
    for path in present:
        with open(path, "rb") as f:
            data = f.read()
        name = stem(path)
        if target == "load_save":
            yield name + os.path.splitext(path)[1], data
            continue
        for index, offset in enumerate(fonts_of(data)):
            tables = tables_of(data, offset)
            label = name if index == 0 else "%s-%d" % (name, index)
            if target == "table":
                for tag in known_tags():
                    if tag in tables and len(tables[tag]) <= 16384:
                        yield "%s-%s" % (safe(tag), label), tag.encode("latin-1") + tables[tag]
            elif target == "instancer" and "fvar" in tables and index == 0:
                axes = fvar_axes(tables["fvar"])
                yield label + "-default", data + trailer([])
                yield label + "-min", data + trailer([a[0] for a in axes])
                yield label + "-max", data + trailer([a[2] for a in axes])
                yield label + "-wrong-length", data + trailer([a[1] for a in axes] + [0], exact=True)
            elif target == "ttcompiler":
                for tag in ("fpgm", "prep"):
                    if tag in tables and tables[tag]:
                        yield "%s-%s" % (tag, label), b"\0" + tables[tag]
                        yield "%s-%s.txt" % (tag, label), b"\2" + disassemble(tables[tag])


def main():
    targets = sys.argv[1:] or ["load_save", "table", "instancer", "ttcompiler"]
    if "ttcompiler" in targets:
        write_dictionary()
    for target in targets:
        folder = os.path.join(FUZZ, "corpus", target)
        os.makedirs(folder, exist_ok=True)
        seen = set()
        written = 0
        for name, data in seeds(target):
            digest = hashlib.sha1(data).hexdigest()
            if digest in seen:
                continue
            seen.add(digest)
            with open(os.path.join(folder, name), "wb") as f:
                f.write(data)
            written += 1
        print("%s: %d seeds" % (target, written))


if __name__ == "__main__":
    main()
