"""Helpers shared by the oracle scripts of the test suite: finding fonts and
asking ots-sanitize. Imported by path (the scripts put tests/ on sys.path)."""

import os
import subprocess

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
