#!/usr/bin/python3
"""Compares the assembly text of 'fpgm' and 'prep' with fontTools.

    ttprogram_oracle.py DUMP-PROGRAM FONT...

DUMP-PROGRAM (tests/truetype/ProgramDump.cpp) prints the library's text of
each program of the font; fontTools' ttProgram.Program.getAssembly() (push
instructions preserved, as the library's Load does) gives the reference.
The two are compared line by line.

The two text forms are the same notation: "MNEMONIC[ ]\t/* LongName */",
argument bits as zero-padded binary ("MIRP[10110]"), a push as
"PUSHB[ ]\t/* 2 values pushed */" with each value on a line of its own
(words signed), an undefined opcode as "INSTR146[ ]", 0x91 as
"GETVARIATION[ ]" and the long name "LessThenOrEqual" kept as it is. On
DejaVu's programs (and on every glyph program of the DejaVu family) the
texts are identical, so no line is rewritten before comparing.

Systematic differences, none of which occurs in these programs:

  NPUSHB/NPUSHW with a count of 0  the library prints "0 values pushed";
                      fontTools fails an assertion and prints nothing.
  a push cut short    the library's disassembly fails (false); fontTools
                      raises IndexError.
  INSTRn[ ]           fontTools assembles it to byte n; the library's
                      assembler stops at the "[ ]" and fails, so a program
                      with an undefined opcode does not assemble again.
  PUSH[ ] (merged)    both disassemblers merge neighbouring pushes into
                      this pseudo-instruction the same way; fontTools
                      assembles it to the shortest pushes, the library
                      emits nothing for it (its Load never writes it).
  unknown mnemonic    fontTools raises KeyError; the library assembles
                      "FOO[ ]" to byte 0.
  push at the end     fontTools assembles a program that ends in push
                      values; the library's assembler needs an instruction
                      after the values and fails.

A program fontTools cannot disassemble is reported and counted as a
disagreement.

Exit status: 0 pass, 1 disagreement, 77 fontTools or every font missing.
"""

import os
import subprocess
import sys

try:
    from fontTools.ttLib import TTFont
except ImportError:
    print("ttprogram_oracle: SKIP: fontTools is not installed")
    sys.exit(77)

TAGS = ("fpgm", "prep")


def library_text(dump, path):
    """{tag: [lines]} as the dump program prints it, None for a failure."""
    result = subprocess.run([dump, path], capture_output=True, text=True, check=False)
    if result.returncode != 0:
        raise RuntimeError("%s failed on %s: %s" % (dump, path, result.stderr.strip()))
    programs = {}
    current = None
    for line in result.stdout.split("\n")[:-1]:
        if line.startswith("== "):
            words = line[3:].split()
            current = words[0]
            programs[current] = None if words[1:] == ["failed"] else []
        elif current is not None and programs[current] is not None:
            programs[current].append(line)
    return programs


def fonttools_text(path):
    font = TTFont(path, fontNumber=0, lazy=True)
    programs = {}
    for tag in TAGS:
        if tag in font:
            programs[tag] = font[tag].program.getAssembly(preserve=True)
    return programs


def compare(dump, path):
    ours = library_text(dump, path)
    theirs = fonttools_text(path)
    problems = []
    if sorted(ours) != sorted(theirs):
        problems.append("programs present: library %s, fontTools %s" % (sorted(ours), sorted(theirs)))
    lines = 0
    for tag in TAGS:
        if tag not in ours or tag not in theirs:
            continue
        mine, reference = ours[tag], theirs[tag]
        if mine is None:
            problems.append("%s: the library failed to disassemble it" % tag)
            continue
        lines += len(reference)
        for index, (a, b) in enumerate(zip(mine, reference)):
            if a != b:
                problems.append("%s line %d: library %r, fontTools %r" % (tag, index + 1, a, b))
                break
        if len(mine) != len(reference):
            problems.append("%s: %d lines, fontTools %d" % (tag, len(mine), len(reference)))
    return lines, problems


def main(argv):
    if len(argv) < 3:
        print("usage: ttprogram_oracle.py DUMP-PROGRAM FONT...")
        return 2
    dump = argv[1]
    fonts = [path for path in argv[2:] if os.path.isfile(path)]
    if not fonts:
        print("ttprogram_oracle: SKIP: none of the fonts is present")
        return 77
    failed = False
    for path in fonts:
        lines, problems = compare(dump, path)
        if problems:
            failed = True
            for problem in problems:
                print("%s: %s" % (path, problem))
        else:
            print("%s: %d lines agree" % (path, lines))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
