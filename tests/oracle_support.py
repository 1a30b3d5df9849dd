"""Helpers shared by the oracle scripts of the test suite: finding fonts and
asking ots-sanitize. Imported by path (the scripts put tests/ on sys.path)."""

import logging
import os
import shutil
import subprocess
import sys

FONT_SUFFIXES = (".ttf", ".otf", ".ttc")


def collect_fonts(paths, suffixes=FONT_SUFFIXES):
    """The font files named by paths: files as given, folders walked in a
    fixed order."""
    fonts = []
    for path in paths:
        if os.path.isfile(path):
            fonts.append(path)
        elif os.path.isdir(path):
            for root, dirs, files in os.walk(path):
                dirs.sort()
                fonts += [os.path.join(root, f) for f in sorted(files) if f.lower().endswith(suffixes)]
    return fonts


def ots_accepts(path, index=None, timeout=300):
    """Whether ots-sanitize accepts the font (font `index` of a collection);
    a run past the timeout counts as a rejection."""
    command = ["ots-sanitize", path]
    if index is not None:
        command += [os.devnull, str(index)]
    try:
        result = subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=timeout)
    except subprocess.TimeoutExpired:
        return False
    return result.returncode == 0


SFNT_TAGS = {b"\x00\x01\x00\x00", b"OTTO", b"true", b"ttcf"}


def sfnt_files(roots):
    """The files under roots (files as given, folders walked in a fixed
    order) whose first four bytes are a font's or a collection's tag."""
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
                    if handle.read(4) in SFNT_TAGS:
                        yield path
            except OSError:
                continue


def start_checks(paths, skip_if_absent, skip_code=77):
    """The common start of a tool oracle: fontTools must import (else skip),
    its logging is silenced, and some path must exist (else skip with
    skip_if_absent, fail without). Returns (exit code or None to go on,
    whether ots-sanitize is there)."""
    try:
        import fontTools.ttLib  # noqa: F401
    except ImportError:
        print("skipped: fontTools can't be imported by %s" % sys.executable)
        return skip_code, False
    logging.getLogger("fontTools").setLevel(logging.CRITICAL)
    if not any(os.path.exists(p) for p in paths):
        print("skipped: none of %s exists" % ", ".join(paths))
        return (skip_code if skip_if_absent else 1), False
    ots = shutil.which("ots-sanitize") is not None
    if not ots:
        print("note: ots-sanitize not found, its check is left out")
    return None, ots
