#!/usr/bin/python3
"""Command-line behaviour of the typeframe tool.

usage: cli_test.py TOOL DATA_DIR (errors | hostile)

errors:  usage, help and version; every kind of bad input gives exit status
         1, exactly one line on stderr naming the file (or command) and the
         reason, and no output file, not even a temporary one; a failed save
         leaves an existing output untouched.
hostile: damaged fonts (truncated, directory offsets and lengths past the end
         or wrapping, numTables 65535, a collection counting 0xFFFFFFFF fonts)
         never make `info` or `save` die by a signal or hang; they end with
         status 0 or 1, and status 1 leaves no output behind.

DATA_DIR is the project's tests/data. Prints one line per case and a summary;
exit 0 when all pass, 1 otherwise.
"""

import os
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

    def expect_success(self, name, arguments, stdout_has=()):
        status, out, err = self.run(*arguments)
        problems = []
        if status != 0:
            problems.append("status %s: %s" % (status, err.decode("utf-8", "replace").strip()))
        if err:
            problems.append("wrote to stderr: %r" % err[:200])
        text = out.decode("utf-8", "replace")
        problems += ["stdout lacks %r" % s for s in stdout_has if s not in text]
        self.report(name, problems)
        return text


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
    runner.expect_success("info --help", ["info", "--help"], ["usage: typeframe info"])
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

    out = os.path.join(work, "hostile-out.ttf")
    for name, data in cases:
        path = write(os.path.join(work, "hostile.ttf"), data)
        problems = []
        for arguments in (["info", path], ["save", path, out], ["save", path, out, "--rebuild", "all"],
                          ["save", path, out, "--index", "1"]):
            before = os.listdir(work)
            status, _, err = runner.run(*arguments)
            command = " ".join(arguments[:1] + arguments[3:])
            if status is None:
                problems.append("%s hung" % command)
            elif status < 0:
                problems.append("%s killed by signal %d" % (command, -status))
            elif status not in (0, 1):
                problems.append("%s gave status %d" % (command, status))
            elif status == 1:
                if len(err.decode("utf-8", "replace").splitlines()) != 1:
                    problems.append("%s: %d stderr lines" % (command, len(err.splitlines())))
                new = runner.leftovers(work, before)
                if new:
                    problems.append("%s left %s" % (command, new))
            if os.path.exists(out):
                os.remove(out)
        runner.report(name, problems)


def main():
    if len(sys.argv) != 4 or sys.argv[3] not in ("errors", "hostile"):
        print(__doc__)
        return 2
    tool, data_dir, mode = sys.argv[1:]
    with tempfile.TemporaryDirectory(prefix="typeframe-cli-") as workdir:
        runner = Runner(os.path.abspath(tool), workdir)
        (errors if mode == "errors" else hostile)(runner, data_dir)
    print("%d passed, %d failed" % (runner.passed, runner.failed))
    return 0 if runner.failed == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
