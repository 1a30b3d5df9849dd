#!/usr/bin/python3
"""Command-line behaviour of the typeframe tool.

usage: cli_test.py TOOL DATA_DIR (errors | hostile | instance)

errors:   usage, help and version; every kind of bad input gives exit status
          1, exactly one line on stderr naming the file (or command) and the
          reason, and no output file, not even a temporary one; a failed save
          leaves an existing output untouched. `info --json` of a font and of
          a collection gives the facts of the table directory.
hostile:  damaged fonts (truncated, directory offsets and lengths past the end
          or wrapping, numTables 65535, a collection counting 0xFFFFFFFF
          fonts, fvar counts and sizes that don't fit) never make `info`,
          `save` or `instance` die by a signal or hang; they end with status 0
          or 1, and status 1 leaves no output behind; `info --json` prints
          JSON that parses or nothing.
instance: `instance` and `instance --all-named` on the bundled variable font
          and patched copies of it: the same rules for every bad argument and
          font, and for good runs one PostScript name printed per file
          written, which is the name ID 6 of that file, and no variation
          tables left in it. `info --json` of the variable font gives its
          axes and instances, whatever the locale, and keeps names holding
          quotes, backslashes and control characters intact.

DATA_DIR is the project's tests/data. Prints one line per case and a summary;
exit 0 when all pass, 1 otherwise.
"""

import json
import os
import shutil
import struct
import subprocess
import sys
import tempfile

TIMEOUT = 60


class Runner:
    def __init__(self, tool, workdir):
        self.tool = tool
        self.workdir = workdir
        self.passed = 0
        self.failed = 0

    def run(self, *arguments):
        try:
            result = subprocess.run([self.tool] + list(arguments), stdout=subprocess.PIPE,
                                    stderr=subprocess.PIPE, timeout=TIMEOUT)
        except subprocess.TimeoutExpired:
            return None, b"", b"timed out"
        return result.returncode, result.stdout, result.stderr

    def report(self, name, problems):
        if problems:
            self.failed += 1
            print("FAIL %s: %s" % (name, "; ".join(problems)))
        else:
            self.passed += 1
            print("ok   %s" % name)

    def leftovers(self, folder, before):
        return sorted(set(os.listdir(folder)) - set(before))

    def expect_error(self, name, arguments, mentions=(), output=None):
        """Status 1, one stderr line starting "typeframe: " that contains each
        of `mentions`, nothing on stdout, and no new file where `output`
        would go."""
        folder = os.path.dirname(output) if output else self.workdir
        before = os.listdir(folder) if os.path.isdir(folder) else []
        status, out, err = self.run(*arguments)
        problems = []
        lines = err.decode("utf-8", "replace").splitlines()
        if status != 1:
            problems.append("status %s, expected 1" % status)
        if len(lines) != 1:
            problems.append("%d stderr lines, expected 1: %r" % (len(lines), lines))
        elif not lines[0].startswith("typeframe: "):
            problems.append("stderr line %r lacks the 'typeframe: ' prefix" % lines[0])
        else:
            problems += ["stderr %r does not mention %r" % (lines[0], m) for m in mentions if m not in lines[0]]
        if out:
            problems.append("wrote to stdout: %r" % out[:80])
        if os.path.isdir(folder):
            new = self.leftovers(folder, before)
            if new:
                problems.append("left files behind: %s" % ", ".join(new))
        self.report(name, problems)

    def run_cleanly(self, arguments):
        """Runs the tool; the problems of a run that must exit 0 and be
        silent on stderr, and its stdout."""
        status, out, err = self.run(*arguments)
        problems = []
        if status != 0:
            problems.append("status %s: %s" % (status, err.decode("utf-8", "replace").strip()))
        if err:
            problems.append("wrote to stderr: %r" % err[:200])
        return problems, out

    def expect_success(self, name, arguments, stdout_has=()):
        problems, out = self.run_cleanly(arguments)
        text = out.decode("utf-8", "replace")
        problems += ["stdout lacks %r" % s for s in stdout_has if s not in text]
        self.report(name, problems)
        return text

    def expect_json(self, name, arguments):
        """Like expect_success, for a stdout that must be one JSON document in
        UTF-8; returns the document, or None when there is none."""
        problems, out = self.run_cleanly(arguments)
        document = None
        try:
            document = json.loads(out.decode("utf-8"))
        except ValueError as error:
            problems.append("stdout is not JSON in UTF-8: %s" % error)
        self.report(name, problems)
        return document


def read(path):
    with open(path, "rb") as handle:
        return handle.read()


def write(path, data):
    with open(path, "wb") as handle:
        handle.write(data)
    return path


def collection(font, count=2, version=0x00010000):
    """A ttcf whose `count` fonts all share one copy of `font`."""
    header_size = 12 + 4 * count + (12 if version == 0x00020000 else 0)
    shift = (header_size + 3) & ~3
    body = bytearray(font)
    num_tables = struct.unpack_from(">H", body, 4)[0]
    for i in range(num_tables):
        p = 12 + 16 * i + 8
        struct.pack_into(">I", body, p, struct.unpack_from(">I", body, p)[0] + shift)
    header = struct.pack(">4sII", b"ttcf", version, count) + struct.pack(">I", shift) * count
    if version == 0x00020000:
        header += struct.pack(">III", 0, 0, 0)
    return header.ljust(shift, b"\0") + bytes(body)


def set_entry(font, index, offset=None, length=None):
    data = bytearray(font)
    p = 12 + 16 * index
    if offset is not None:
        struct.pack_into(">I", data, p + 8, offset)
    if length is not None:
        struct.pack_into(">I", data, p + 12, length)
    return bytes(data)


def entry_index(font, tag):
    count = struct.unpack_from(">H", font, 4)[0]
    for i in range(count):
        if font[12 + 16 * i:16 + 16 * i] == tag:
            return i
    raise KeyError(tag)


VARIABLE_FONT = "PartialInstancerTest3-VF.ttf"  # wght 400-700, instances "Regular" at 400 and at 700
VARIATION_TABLES = (b"avar", b"cvar", b"fvar", b"gvar", b"STAT", b"HVAR", b"VVAR", b"MVAR")
FVAR_FIELDS = {"axesArrayOffset": 4, "axisCount": 8, "axisSize": 10, "instanceCount": 12, "instanceSize": 14}


def directory(font):
    """(tag, offset, length) of each directory entry of a single font."""
    entries = [struct.unpack_from(">4sIII", font, 12 + 16 * i) for i in range(struct.unpack_from(">H", font, 4)[0])]
    return [(tag.decode("latin-1"), offset, length) for tag, _, offset, length in entries]


def json_problems(document, kind, fonts):
    """What differs between an `info --json` document and the expected kind
    and, for each font, the expected values of some of its members."""
    if document is None:
        return ["no document"]
    problems = []
    if document.get("kind") != kind:
        problems.append("kind %r, expected %r" % (document.get("kind"), kind))
    if len(document.get("fonts", [])) != len(fonts):
        return problems + ["%d fonts, expected %d" % (len(document.get("fonts", [])), len(fonts))]
    for i, (font, expected) in enumerate(zip(document["fonts"], fonts)):
        problems += ["font %d: %s is %r, expected %r" % (i, key, font.get(key), value)
                     for key, value in expected.items() if font.get(key) != value]
    return problems


def json_tables(font):
    """tag -> the table objects of one font of an `info --json` document."""
    return {table["tag"]: table for table in font.get("tables", [])}


def table_offset(font, tag):
    return struct.unpack_from(">I", font, 12 + 16 * entry_index(font, tag) + 8)[0]


def patch_u16(data, offset, value):
    data = bytearray(data)
    struct.pack_into(">H", data, offset, value)
    return bytes(data)


def fvar_records(font):
    """Offsets of the fvar axis records and instance records."""
    fvar = table_offset(font, b"fvar")
    start, _, axis_count, axis_size, instance_count, instance_size = struct.unpack_from(">HHHHHH", font, fvar + 4)
    axes = [fvar + start + i * axis_size for i in range(axis_count)]
    instances_start = fvar + start + axis_count * axis_size
    return axes, [instances_start + i * instance_size for i in range(instance_count)]


def sfnt_tables(data):
    """tag -> bytes of a single font, or None when it isn't one."""
    if len(data) < 12 or data[:4] not in (b"\0\1\0\0", b"OTTO", b"true"):
        return None
    tables = {}
    for i in range(struct.unpack_from(">H", data, 4)[0]):
        tag, _, offset, length = struct.unpack_from(">4sIII", data, 12 + 16 * i)
        tables[tag] = data[offset:offset + length]
    return tables


def postscript_names(name_table):
    """Every name ID 6 string of a name table, decoded (Unicode and Windows
    records as UTF-16BE, Macintosh ones as Latin-1, enough for ASCII)."""
    count, storage = struct.unpack_from(">HH", name_table, 2)
    names = []
    for i in range(count):
        platform, _, _, name_id, length, offset = struct.unpack_from(">HHHHHH", name_table, 6 + 12 * i)
        if name_id == 6:
            raw = name_table[storage + offset:storage + offset + length]
            names.append(raw.decode("utf-16-be" if platform in (0, 3) else "latin-1", "replace"))
    return names


def instance_problems(path, printed):
    """What is wrong with an instance written to `path` whose PostScript name
    was printed as `printed`."""
    if not os.path.isfile(path):
        return ["%s was not written" % os.path.basename(path)]
    tables = sfnt_tables(read(path))
    if tables is None:
        return ["%s is not a single font" % os.path.basename(path)]
    problems = []
    left = [t.decode() for t in VARIATION_TABLES if t in tables]
    if left:
        problems.append("%s keeps %s" % (os.path.basename(path), " ".join(left)))
    names = set(postscript_names(tables[b"name"])) if b"name" in tables else set()
    if names != {printed}:
        problems.append("%s: name ID 6 is %s, printed %r" % (os.path.basename(path), sorted(names), printed))
    return problems


def errors(runner, data_dir):
    work = runner.workdir
    ttf = os.path.join(data_dir, "TestTTF.ttf")
    otf = os.path.join(data_dir, "TestOTF.otf")
    out = os.path.join(work, "out.ttf")
    ttc = write(os.path.join(work, "pair.ttc"), collection(read(ttf)))
    ttc2 = write(os.path.join(work, "pair2.ttc"), collection(read(ttf), 3, 0x00020000))
    text = write(os.path.join(work, "notes.txt"), b"these are not the bytes of a font\n")
    empty = write(os.path.join(work, "empty.ttf"), b"")
    bad_ttc = write(os.path.join(work, "v3.ttc"), struct.pack(">4sII", b"ttcf", 0x00030000, 1) + b"\0" * 16)
    missing = os.path.join(work, "missing.ttf")
    folder = os.path.join(work, "a-folder")
    os.mkdir(folder)

    # Usage, help and version.
    runner.expect_success("top-level --help", ["--help"], ["info", "save", "usage"])
    runner.expect_success("help save", ["help", "save"], ["--rebuild"])
    runner.expect_success("info --help", ["info", "--help"], ["usage: typeframe info", "--json"])
    runner.expect_success("save --help", ["save", "--help"], ["usage: typeframe save", "--index", "--rebuild"])
    runner.expect_success("save --help among other arguments", ["save", ttf, "--help"], ["usage: typeframe save"])
    version = runner.expect_success("--version", ["--version"], ["typeframe "])
    if version and not version.strip().split(" ")[-1][:1].isdigit():
        runner.report("--version prints a number", ["got %r" % version])
    runner.expect_error("no command", [], ["missing command"])
    runner.expect_error("unknown command", ["frobnicate"], ["frobnicate", "unknown command"])
    runner.expect_error("unknown top-level option", ["--frobnicate"], ["--frobnicate"])

    # info
    runner.expect_success("info of a TrueType font", ["info", ttf],
                          ["kind: TrueType", "glyphs: 6", "units per em: 1000", "tables: 15", "DSIG", "cvt "])
    runner.expect_success("info of a CFF font", ["info", otf], ["kind: OpenType (CFF)", "glyphs: 6"])
    listing = runner.expect_success("info of a ttcf 1.0 collection", ["info", ttc],
                                    ["kind: collection (ttcf 1.0)", "fonts: 2", "font 0", "font 1"])
    if listing.count("glyphs: 6") != 2:
        runner.report("info lists every font of a collection", ["%d fonts with 6 glyphs" % listing.count("glyphs: 6")])
    runner.expect_success("info of a ttcf 2.0 collection", ["info", ttc2], ["kind: collection (ttcf 2.0)", "fonts: 3"])
    runner.expect_error("info without a file", ["info"], ["info", "missing"])
    runner.expect_error("info with two files", ["info", ttf, otf], [otf])
    runner.expect_error("info with an unknown option", ["info", "--bogus", ttf], ["--bogus", "unknown option"])
    runner.expect_error("info of a missing file", ["info", missing], [missing, "No such file"])
    runner.expect_error("info of a folder", ["info", folder], [folder, "directory"])
    runner.expect_error("info of a text file", ["info", text], [text, "not a font file"])
    runner.expect_error("info of an empty file", ["info", empty], [empty, "not a font file"])
    runner.expect_error("info of a ttcf of version 3", ["info", bad_ttc], [bad_ttc, "collection"])
    odd = write(os.path.join(work, "bad\nname.ttf"), b"nope")
    runner.expect_error("a file name with a line break stays on one line", ["info", odd], ["not a font file"])

    # info --json: the directory as it is in the file, which tables the
    # library parses (head) and which it keeps as bytes (DSIG), and entries
    # that can't be loaded.
    font = read(ttf)
    report = runner.expect_json("info --json of a TrueType font", ["info", "--json", ttf])
    problems = json_problems(report, "font", [{"glyphs": 6, "unitsPerEm": 1000, "outlines": "TrueType",
                                               "variable": False}])
    if not problems:
        if report["collectionVersion"] is not None:
            problems.append("a single font has collection version %r" % report["collectionVersion"])
        tables = report["fonts"][0]["tables"]
        if [(t["tag"], t["offset"], t["length"]) for t in tables] != directory(font):
            problems.append("tables %r differ from the directory" % tables)
        if not all(t["loadable"] for t in tables):
            problems.append("tables that can't be loaded: %r" % [t for t in tables if not t["loadable"]])
        parsed = {tag: table["parsed"] for tag, table in json_tables(report["fonts"][0]).items()}
        if (parsed["head"], parsed["DSIG"]) != (True, False):
            problems.append("parsed is %r for head and %r for DSIG" % (parsed["head"], parsed["DSIG"]))
    runner.report("info --json of a TrueType font: its directory", problems)
    damaged = write(os.path.join(work, "damaged.ttf"), set_entry(set_entry(font, entry_index(font, b"DSIG"), 0),
                                                                 entry_index(font, b"post"), len(font) - 4, 64))
    report = runner.expect_json("info --json of a font with entries that can't be loaded", ["info", "--json", damaged])
    problems = json_problems(report, "font", [{"glyphs": 6}])
    if not problems:
        unloadable = sorted(tag for tag, t in json_tables(report["fonts"][0]).items()
                            if not t["loadable"] and t.get("problem"))
        if unloadable != ["DSIG", "post"]:
            problems.append("tables not loadable, with a problem: %s, expected DSIG and post" % unloadable)
    runner.report("info --json of a font with entries that can't be loaded: which", problems)
    report = runner.expect_json("info --json of a CFF font", ["info", "--json", otf])
    runner.report("info --json of a CFF font: its outlines", json_problems(report, "font", [{"outlines": "CFF"}]))
    report = runner.expect_json("info --json of a ttcf 2.0 collection", ["info", "--json", ttc2])
    problems = json_problems(report, "collection", [{"index": i, "glyphs": 6} for i in range(3)])
    if report and report.get("collectionVersion") != "2.0":
        problems.append("collection version %r" % report.get("collectionVersion"))
    runner.report("info --json of a ttcf 2.0 collection: every font", problems)
    runner.expect_error("info --json of a text file", ["info", "--json", text], [text, "not a font file"])
    runner.expect_error("info --json with a value", ["info", "--json=yes", ttf], ["--json", "takes no value"])

    # save: arguments
    runner.expect_error("save without arguments", ["save"], ["save", "missing"], out)
    runner.expect_error("save without an output", ["save", ttf], ["save", "missing output"], out)
    runner.expect_error("save with a third file", ["save", ttf, out, otf], [otf], out)
    runner.expect_error("save with an unknown option", ["save", ttf, out, "--fast"], ["--fast", "unknown option"], out)
    runner.expect_error("save --index without a value", ["save", ttf, out, "--index"], ["--index"], out)
    runner.expect_error("save --index that is not a number", ["save", ttf, out, "--index", "one"], ["one"], out)
    runner.expect_error("save --index that is negative", ["save", ttf, out, "--index=-1"], ["-1"], out)
    runner.expect_error("save --rebuild of a five-letter tag", ["save", ttf, out, "--rebuild", "heads"], ["heads"], out)
    runner.expect_error("save --rebuild with an empty tag", ["save", ttf, out, "--rebuild", "head,,maxp"], [], out)

    # save: bad input
    runner.expect_error("save of a missing file", ["save", missing, out], [missing], out)
    runner.expect_error("save of a folder", ["save", folder, out], [folder, "directory"], out)
    runner.expect_error("save of a text file", ["save", text, out], [text, "not a font file"], out)
    runner.expect_error("save of an empty file", ["save", empty, out], [empty, "not a font file"], out)
    runner.expect_error("save of font 1 of a single font", ["save", ttf, out, "--index", "1"], [ttf, "out of range"], out)
    runner.expect_error("save of font 2 of a pair", ["save", ttc, out, "--index", "2"], [ttc, "out of range"], out)
    runner.expect_error("save --rebuild of a table the font lacks", ["save", ttf, out, "--rebuild", "head,vhea"],
                        [ttf, "vhea"], out)
    # A rebuild of a table kept only as bytes would be a silent copy.
    runner.expect_error("save --rebuild of a table kept as bytes", ["save", ttf, out, "--rebuild", "head,cmap"],
                        [ttf, "'cmap'", "can't be rebuilt", "only as its bytes"], out)
    listing = runner.expect_success("info marks what is parsed", ["info", ttf], ["form"])
    forms = {line.split()[0]: line.split()[4] for line in listing.splitlines()
             if line.startswith("    ") and len(line.split()) >= 5 and line.split()[1].startswith("0x")}
    if forms.get("head") != "parsed" or forms.get("cmap") != "bytes":
        runner.report("info marks head parsed and cmap as bytes", ["forms: %r" % forms])
    runner.expect_error("save into a missing folder", ["save", ttf, os.path.join(work, "no", "out.ttf")],
                        [os.path.join(work, "no", "out.ttf")])
    runner.expect_error("save over a folder", ["save", ttf, folder], [folder, "directory"], out)
    if os.geteuid() != 0:
        locked = write(os.path.join(work, "locked.ttf"), read(ttf))
        os.chmod(locked, 0)
        runner.expect_error("save of an unreadable file", ["save", locked, out], [locked], out)
    else:
        print("skip unreadable input: running as root, permissions don't stop reading")

    # A failed save leaves an existing output alone.
    kept = write(os.path.join(work, "kept.ttf"), b"previous contents")
    runner.expect_error("failed save over an existing file", ["save", ttf, kept, "--rebuild", "vmtx"], ["vmtx"], kept)
    if read(kept) != b"previous contents":
        runner.report("failed save leaves the existing output", ["it was changed"])

    # save: good runs
    mask = os.umask(0)
    os.umask(mask)
    for name, arguments in [("save of a font", [ttf, out]),
                            ("save of font 1 of a collection", [ttc, out, "--index", "1"]),
                            ("save of font 2 of a ttcf 2.0", [ttc2, out, "--index=2"]),
                            ("save --rebuild all", [otf, out, "--rebuild", "all"]),
                            ("save --rebuild of a short tag", [ttf, out, "--rebuild", "cvt,head"]),
                            ("save over an existing file", [ttf, kept])]:
        before = os.listdir(work)
        runner.expect_success(name, ["save"] + arguments)
        target = arguments[1]
        problems = []
        if not os.path.isfile(target) or read(target)[:4] not in (b"\0\1\0\0", b"OTTO"):
            problems.append("no single-font output")
        elif os.stat(target).st_mode & 0o777 != 0o666 & ~mask:
            problems.append("mode %o, expected %o" % (os.stat(target).st_mode & 0o777, 0o666 & ~mask))
        new = [f for f in runner.leftovers(work, before) if ".tmp" in f]
        if new:
            problems.append("temporary files left: %s" % new)
        runner.report(name + ": output in place", problems)
        if os.path.exists(out):
            os.remove(out)

    # Saving a font over itself reads the input while it writes a temporary file.
    inplace = write(os.path.join(work, "inplace.ttf"), read(ttf))
    runner.expect_success("save in place", ["save", inplace, inplace])
    runner.expect_success("in-place result reads back", ["info", inplace], ["glyphs: 6", "tables: 14"])


def hostile(runner, data_dir):
    work = runner.workdir
    font = read(os.path.join(data_dir, "TestTTF.ttf"))
    cases = []

    # Truncations: every length through the header and directory, then a
    # spread of cut points through the table data.
    directory_end = 12 + 16 * struct.unpack_from(">H", font, 4)[0]
    cuts = sorted(set(list(range(0, 16)) + list(range(16, directory_end + 1, 7)) +
                      list(range(directory_end, len(font), max(1, (len(font) - directory_end) // 24))) +
                      [len(font) - 1]))
    cases += [("truncated to %d bytes" % n, font[:n]) for n in cuts]

    # Directory entries past the end or wrapping around 32 bits.
    for tag in (b"head", b"maxp", b"glyf", b"hhea", b"name"):
        i = entry_index(font, tag)
        cases.append(("%s at 0xFFFFFFF0 length 0x20" % tag.decode(), set_entry(font, i, 0xFFFFFFF0, 0x20)))
        cases.append(("%s length 0xFFFFFFFF" % tag.decode(), set_entry(font, i, None, 0xFFFFFFFF)))
        cases.append(("%s past the end" % tag.decode(), set_entry(font, i, len(font) - 4, 64)))
        cases.append(("%s at offset 0" % tag.decode(), set_entry(font, i, 0, None)))
    everything = font
    for i in range(struct.unpack_from(">H", font, 4)[0]):
        everything = set_entry(everything, i, 0xFFFFFFF0, 0x20)
    cases.append(("every table at 0xFFFFFFF0", everything))

    # Counts that promise far more than the file holds.
    cases.append(("numTables 65535 in a tiny file", struct.pack(">IHHHH", 0x00010000, 65535, 0, 0, 0) + b"head" * 4))
    cases.append(("numTables 65535 with a real first entry", font[:4] + b"\xff\xff" + font[6:]))
    for version in (0x00010000, 0x00020000):
        cases.append(("ttcf %x count 0xFFFFFFFF" % (version >> 16),
                      struct.pack(">4sII", b"ttcf", version, 0xFFFFFFFF) + b"\0\0\0\x10" * 4))
    cases.append(("ttcf offsets past the end and wrapping",
                  struct.pack(">4sIIIII", b"ttcf", 0x00010000, 3, 0xFFFFFFF0, 0x7FFFFFFF, 24) + b"\0" * 8))
    cases.append(("ttcf font at the collection header", struct.pack(">4sIII", b"ttcf", 0x00010000, 1, 0)))
    cases.append(("ttcf count 0", struct.pack(">4sII", b"ttcf", 0x00010000, 0)))
    pair = collection(font)
    cases += [("collection truncated to %d bytes" % n, pair[:n]) for n in (13, 16, 19, 20, 24, 40, 200)]

    # The variable font, cut short and with fvar fields that promise more
    # than the table holds.
    variable = read(os.path.join(data_dir, VARIABLE_FONT))
    fvar = table_offset(variable, b"fvar")
    cases += [("variable font truncated to %d bytes" % n, variable[:n])
              for n in range(0, len(variable), max(1, len(variable) // 40))]
    cases += [("fvar cut to %d bytes" % n, set_entry(variable, entry_index(variable, b"fvar"), None, n))
              for n in (1, 8, 15, 16, 20, 36, 44)]
    for field, value in (("axesArrayOffset", 0xFFFF), ("axisCount", 0xFFFF), ("axisCount", 0),
                         ("axisSize", 0), ("axisSize", 0xFFFF), ("instanceCount", 0xFFFF),
                         ("instanceSize", 0), ("instanceSize", 2), ("instanceSize", 0xFFFF)):
        cases.append(("fvar %s %d" % (field, value), patch_u16(variable, fvar + FVAR_FIELDS[field], value)))
    cases.append(("fvar axis and instance counts 0xFFFF with size 0",
                  patch_u16(patch_u16(variable, fvar + 8, 0xFFFF), fvar + 14, 0)))

    out = os.path.join(work, "hostile-out.ttf")
    out_dir = os.path.join(work, "hostile-statics")
    for name, data in cases:
        path = write(os.path.join(work, "hostile.ttf"), data)
        problems = []
        for arguments in (["info", path], ["info", path, "--json"], ["save", path, out],
                          ["save", path, out, "--rebuild", "all"], ["save", path, out, "--index", "1"],
                          ["instance", path, out], ["instance", path, out, "wght=650"],
                          ["instance", path, "--all-named", out_dir]):
            before = os.listdir(work)
            status, stdout, err = runner.run(*arguments)
            command = " ".join(arguments[:1] + arguments[3:])
            if status is None:
                problems.append("%s hung" % command)
            elif status < 0:
                problems.append("%s killed by signal %d" % (command, -status))
            elif status not in (0, 1):
                problems.append("%s gave status %d" % (command, status))
            elif status == 0 and "--json" in arguments:
                try:
                    json.loads(stdout.decode("utf-8"))
                except ValueError as error:
                    problems.append("%s printed no JSON: %s" % (command, error))
            elif status == 1:
                if len(err.decode("utf-8", "replace").splitlines()) != 1:
                    problems.append("%s: %d stderr lines" % (command, len(err.splitlines())))
                new = runner.leftovers(work, before)
                if new:
                    problems.append("%s left %s" % (command, new))
            if os.path.exists(out):
                os.remove(out)
            if os.path.isdir(out_dir):
                shutil.rmtree(out_dir)
        runner.report(name, problems)


def instance(runner, data_dir):
    work = runner.workdir
    vf = os.path.join(data_dir, VARIABLE_FONT)
    ttf = os.path.join(data_dir, "TestTTF.ttf")
    out = os.path.join(work, "instance.ttf")
    statics = os.path.join(work, "statics")
    variable = read(vf)
    (axis,), (regular, bold) = fvar_records(variable)
    text = write(os.path.join(work, "notes.txt"), b"these are not the bytes of a font\n")
    missing = os.path.join(work, "missing.ttf")
    folder = os.path.join(work, "a-folder")
    os.mkdir(folder)
    pair = write(os.path.join(work, "pair.ttc"), collection(variable))
    # Copies of the font: the instance at 700 named "Weight" (name ID 256)
    # so that the two named instances get distinct names; the axis tagged
    # "wg  ", a tag shorter than four letters; and the 700 instance with no
    # subfamily name and the axis tagged "a/b ", so that its PostScript name,
    # built from the tag, holds a '/'.
    distinct = write(os.path.join(work, "distinct.ttf"), patch_u16(variable, bold, 256))
    short_tag = bytearray(variable)
    short_tag[axis:axis + 4] = b"wg  "
    short_tag = write(os.path.join(work, "short-tag.ttf"), bytes(short_tag))
    slash = bytearray(patch_u16(variable, bold, 999))
    slash[axis:axis + 4] = b"a/b "
    slash = write(os.path.join(work, "slash.ttf"), bytes(slash))

    # Help
    runner.expect_success("top-level --help lists instance", ["--help"], ["instance"])
    runner.expect_success("instance --help", ["instance", "--help"],
                          ["usage: typeframe instance", "--all-named", "--index", "--name", "TAG=VALUE"])

    # info of a variable font: axes and named instances
    report = runner.expect_success("info of a variable font", ["info", vf],
                                   ["PostScript name: RemoveOverlapsTest-Regular", "axes: 1", "named instances: 2"])
    rows = [line.split() for line in report.splitlines()]
    problems = []
    if ["wght", "400", "400", "700", "Weight"] not in rows:
        problems.append("no axis row 'wght 400 400 700 Weight'")
    if ["Regular", "wght=400"] not in rows or ["Regular", "wght=700"] not in rows:
        problems.append("no instance rows 'Regular wght=400' and 'Regular wght=700'")
    runner.report("info of a variable font: its axis and instances", problems)
    report = runner.expect_json("info --json of a variable font", ["info", "--json", vf])
    problems = json_problems(report, "font", [{
        "variable": True, "postScriptName": "RemoveOverlapsTest-Regular",
        "axes": [{"tag": "wght", "min": 400, "default": 400, "max": 700, "name": "Weight"}],
        "namedInstances": [{"subfamily": "Regular", "postScriptName": None, "coordinates": {"wght": 400}},
                           {"subfamily": "Regular", "postScriptName": None, "coordinates": {"wght": 700}}]}])
    if not problems and [json_tables(report["fonts"][0])[t]["parsed"] for t in ("fvar", "gvar", "STAT")] != \
            [True, True, False]:
        problems.append("fvar and gvar should be parsed, STAT not")
    runner.report("info --json of a variable font: its axis and instances", problems)
    german = subprocess.run([runner.tool, "info", "--json", vf], stdout=subprocess.PIPE, timeout=TIMEOUT,
                            env=dict(os.environ, LC_ALL="de_DE.UTF-8", LC_NUMERIC="de_DE.UTF-8")).stdout
    runner.report("info --json is the same in every locale",
                  [] if german == runner.run("info", "--json", vf)[1] else ["it differs under de_DE.UTF-8"])
    # Names and tags as a hostile font may have them: name ID 6 holds a
    # quote, a backslash, control characters and letters past ASCII; the axis
    # tag a quote, a backslash, a control character and a byte past ASCII,
    # the last two of which tags spell as "\x01" and "\xff".
    postscript_name = 'Q"\\\x01\x1f\u00e9\u4e2d' + "z" * 19  # as long as "RemoveOverlapsTest-Regular"
    strange = bytearray(variable.replace("RemoveOverlapsTest-Regular".encode("utf-16-be"),
                                         postscript_name.encode("utf-16-be")))
    strange[axis:axis + 4] = b'"\\\x01\xff'
    strange = write(os.path.join(work, "strange-names.ttf"), bytes(strange))
    report = runner.expect_json("info --json of a font with strange names", ["info", "--json", strange])
    tag = '"\\\\x01\\xff'
    problems = json_problems(report, "font", [{"postScriptName": postscript_name}])
    if not problems:
        font = report["fonts"][0]
        if [a["tag"] for a in font["axes"]] != [tag] or [sorted(i["coordinates"]) for i in font["namedInstances"]] != \
                [[tag], [tag]]:
            problems.append("axis tags %r, expected %r" % ([a["tag"] for a in font["axes"]], tag))
    runner.report("info --json of a font with strange names: the names", problems)
    runner.expect_success("info of a static font has no axes", ["info", ttf], ["tables: 15"])
    if "axes:" in runner.run("info", ttf)[1].decode():
        runner.report("info of a static font shows no axes", ["it does"])

    # Arguments
    runner.expect_error("instance without arguments", ["instance"], ["instance", "missing input"], out)
    runner.expect_error("instance without an output", ["instance", vf], ["missing output"], out)
    runner.expect_error("instance with only axis values", ["instance", vf, "wght=500"], ["missing output"], out)
    runner.expect_error("instance with a third file", ["instance", vf, out, ttf], [ttf, "unexpected"], out)
    runner.expect_error("instance with an unknown option", ["instance", vf, out, "--fast"], ["--fast"], out)
    runner.expect_error("instance with both --index and --name",
                        ["instance", vf, out, "--index", "0", "--name", "RemoveOverlapsTest-Regular"],
                        ["--index", "--name"], out)
    runner.expect_error("instance --index that is not a number", ["instance", vf, out, "--index", "x"], ["x"], out)
    runner.expect_error("instance --all-named with an output file too",
                        ["instance", vf, out, "--all-named", statics], [out, "unexpected"], out)
    runner.expect_error("instance --all-named with axis values",
                        ["instance", vf, "--all-named", statics, "wght=500"], ["--all-named", "wght"], out)
    runner.expect_error("an axis given twice", ["instance", vf, out, "wght=500", "wght=600"], ["wght", "twice"], out)
    runner.expect_error("an axis tag of five letters", ["instance", vf, out, "weight=500"], ["weight"], out)
    runner.expect_error("an empty axis tag", ["instance", vf, out, "=500"], ["axis tag"], out)
    # Numbers are read the same in every locale: a decimal comma is junk.
    for value in ("", "abc", "5x", "1,5", "0x10", "nan", "inf", "-inf", "infinity", "+-5", "--5", " 5", "1e999"):
        runner.expect_error("axis value %r" % value, ["instance", vf, out, "wght=" + value],
                            ["'%s'" % value, "wght"], out)
    runner.expect_error("an axis value no 16.16 number holds", ["instance", vf, out, "wght=40000"],
                        ["40000", "out of range"], out)
    # Values past an axis's ends are refused, not clamped: the file would be
    # named after a location it does not hold.
    for value in ("1000", "700.01", "399.5", "-5"):
        runner.expect_error("axis value %s outside the axis" % value, ["instance", vf, out, "wght=" + value],
                            ["the value %s for axis 'wght' is outside its range, 400 to 700" % value], out)

    # Fonts
    runner.expect_error("instance of a missing file", ["instance", missing, out], [missing, "No such file"], out)
    runner.expect_error("instance of a folder", ["instance", folder, out], [folder, "directory"], out)
    runner.expect_error("instance of a text file", ["instance", text, out], [text, "not a font file"], out)
    runner.expect_error("instance of a static font", ["instance", ttf, out], [ttf, "static", "fvar"], out)
    runner.expect_error("instance of font 1 of a single font", ["instance", vf, out, "--index", "1"],
                        [vf, "out of range"], out)
    runner.expect_error("instance of font 2 of a pair", ["instance", pair, out, "--index", "2"],
                        [pair, "out of range"], out)
    runner.expect_error("instance of a font name not in the file", ["instance", vf, out, "--name", "Nope-Bold"],
                        [vf, "Nope-Bold", "RemoveOverlapsTest-Regular"], out)
    runner.expect_error("instance on an axis the font lacks", ["instance", vf, out, "wdth=75"],
                        [vf, "no axis 'wdth'", "(axes: wght)"], out)
    runner.expect_error("a short axis tag is padded with spaces", ["instance", vf, out, "CK=1"],
                        ["no axis 'CK  '"], out)
    if os.geteuid() != 0:
        locked = write(os.path.join(work, "locked.ttf"), variable)
        os.chmod(locked, 0)
        runner.expect_error("instance of an unreadable file", ["instance", locked, out], [locked], out)
        os.remove(locked)
    else:
        print("skip unreadable input: running as root, permissions don't stop reading")
    runner.expect_error("instance into a folder", ["instance", vf, folder], [folder, "directory"], out)
    runner.expect_error("instance into a missing folder", ["instance", vf, os.path.join(work, "no", "x.ttf")],
                        [os.path.join(work, "no", "x.ttf")])
    kept = write(os.path.join(work, "kept.ttf"), b"previous contents")
    runner.expect_error("failed instance over an existing file", ["instance", vf, kept, "wdth=75"], ["wdth"], kept)
    if read(kept) != b"previous contents":
        runner.report("failed instance leaves the existing output", ["it was changed"])

    # One instance
    def expect_instance(name, arguments, printed, path=out, environment=None, keep=False):
        before = os.listdir(work)
        if environment:
            saved = {k: os.environ.get(k) for k in environment}
            os.environ.update(environment)
        try:
            text = runner.expect_success(name, ["instance"] + arguments)
        finally:
            if environment:
                for key, value in saved.items():
                    if value is None:
                        os.environ.pop(key, None)
                    else:
                        os.environ[key] = value
        problems = []
        if text.splitlines() != [printed]:
            problems.append("printed %r, expected %r" % (text, printed))
        problems += instance_problems(path, printed)
        temporary = [f for f in runner.leftovers(work, before) if ".tmp" in f]
        if temporary:
            problems.append("temporary files left: %s" % temporary)
        runner.report(name + ": the instance", problems)
        if os.path.exists(path) and not keep:
            os.remove(path)

    # The default location is the named instance "Regular"; elsewhere the name
    # gives the axis values that differ from the defaults.
    expect_instance("instance at the default", [vf, out], "RemoveOverlapsTest-Regular")
    expect_instance("instance at wght=550", [vf, out, "wght=550"], "RemoveOverlapsTest_550wght")
    expect_instance("the value may have a '+' and an exponent", [vf, out, "wght=+5.5e2"], "RemoveOverlapsTest_550wght")
    expect_instance("a decimal point, whatever the locale", [vf, out, "wght=512.5"], "RemoveOverlapsTest_512.5wght",
                    environment={"LC_ALL": "de_DE.UTF-8", "LC_NUMERIC": "de_DE.UTF-8"})
    expect_instance("instance by --name", [vf, out, "--name", "RemoveOverlapsTest-Regular", "wght=600"],
                    "RemoveOverlapsTest_600wght")
    expect_instance("instance of font 1 of a collection", [pair, out, "--index", "1", "wght=600"],
                    "RemoveOverlapsTest_600wght")
    expect_instance("a tag of two letters names the padded axis", [short_tag, out, "wg=600"],
                    "RemoveOverlapsTest_600wg  ")
    named_like_a_value = os.path.join(work, "wght=1.ttf")
    expect_instance("an output named like an axis value, given with a folder",
                    [vf, named_like_a_value, "wght=450"], "RemoveOverlapsTest_450wght", named_like_a_value)
    inplace = write(os.path.join(work, "inplace.ttf"), variable)
    expect_instance("instance in place", [inplace, inplace, "wght=700"], "RemoveOverlapsTest-Regular", inplace)
    expect_instance("the axis's extreme is a value like any other", [vf, out, "wght=700.0"],
                    "RemoveOverlapsTest-Regular")

    # SOURCE_DATE_EPOCH fixes head.modified: two runs give the same bytes,
    # by `instance` and by `save` alike.
    epoch = {"SOURCE_DATE_EPOCH": "1700000000"}
    copies = [os.path.join(work, "same%d.ttf" % i) for i in range(4)]
    for copy in copies[:2]:
        expect_instance("instance with SOURCE_DATE_EPOCH", [vf, copy, "wght=600"], "RemoveOverlapsTest_600wght",
                        copy, environment=epoch, keep=True)
    for copy in copies[2:]:
        os.environ.update(epoch)
        try:
            runner.expect_success("save with SOURCE_DATE_EPOCH", ["save", vf, copy])
        finally:
            os.environ.pop("SOURCE_DATE_EPOCH")
    problems = []
    for first, second in (copies[:2], copies[2:]):
        if read(first) != read(second):
            problems.append("%s and %s differ" % (os.path.basename(first), os.path.basename(second)))
        data = read(first)
        count = struct.unpack_from(">H", data, 4)[0]
        for i in range(count):
            tag, _, offset, _ = struct.unpack_from(">4sIII", data, 12 + 16 * i)
            if tag == b"head" and struct.unpack_from(">q", data, offset + 28)[0] != 1700000000 + 2082844800:
                problems.append("%s: head.modified is not SOURCE_DATE_EPOCH" % os.path.basename(first))
    runner.report("SOURCE_DATE_EPOCH makes the output reproducible", problems)

    # Every named instance
    runner.expect_error("--all-named with two instances of one name", ["instance", vf, "--all-named", statics],
                        [vf, "both have the PostScript name 'RemoveOverlapsTest-Regular'"], statics)
    runner.expect_error("--all-named with a PostScript name holding '/'", ["instance", slash, "--all-named", statics],
                        [slash, "RemoveOverlapsTest_700a/b", "file name"], statics)
    runner.expect_error("--all-named of a static font", ["instance", ttf, "--all-named", statics], ["static"], statics)
    runner.expect_error("--all-named into a file", ["instance", distinct, "--all-named", text],
                        [text, "not a directory"], statics)
    runner.expect_error("--all-named two folders deep", ["instance", distinct, "--all-named",
                                                         os.path.join(work, "no", "statics")], ["no/statics"], statics)

    def expect_all_named(name, arguments, names):
        before = os.listdir(work)
        text = runner.expect_success(name, ["instance"] + arguments)
        problems = []
        if text.splitlines() != names:
            problems.append("printed %r, expected %r" % (text.splitlines(), names))
        if sorted(os.listdir(statics)) != sorted(n + ".ttf" for n in names):
            problems.append("the folder holds %s" % sorted(os.listdir(statics)))
        for printed in names:
            problems += instance_problems(os.path.join(statics, printed + ".ttf"), printed)
        new = [f for f in runner.leftovers(work, before) if f != "statics"]
        if new:
            problems.append("files left beside the folder: %s" % new)
        runner.report(name + ": the instances", problems)
        shutil.rmtree(statics, ignore_errors=True)

    names = ["RemoveOverlapsTest-Regular", "RemoveOverlapsTest-Weight"]
    expect_all_named("--all-named makes the folder", [distinct, "--all-named", statics], names)
    os.mkdir(statics)
    write(os.path.join(statics, "RemoveOverlapsTest-Weight.ttf"), b"an older file")
    expect_all_named("--all-named into an existing folder", [distinct, "--all-named", statics + "/"], names)
    expect_all_named("--all-named of font 1 of a collection",
                     [write(os.path.join(work, "pair2.ttc"), collection(read(distinct))), "--all-named", statics,
                      "--index", "1"], names)


def main():
    modes = {"errors": errors, "hostile": hostile, "instance": instance}
    if len(sys.argv) != 4 or sys.argv[3] not in modes:
        print(__doc__)
        return 2
    tool, data_dir, mode = sys.argv[1:]
    with tempfile.TemporaryDirectory(prefix="typeframe-cli-") as workdir:
        runner = Runner(os.path.abspath(tool), workdir)
        modes[mode](runner, data_dir)
    print("%d passed, %d failed" % (runner.passed, runner.failed))
    return 0 if runner.failed == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
