#!/usr/bin/python3
"""The README's C++ snippets are the programs under examples/, verbatim.

usage: readme_examples.py README EXAMPLES_DIR

Every ```cpp block of the README must be the whole text of one
examples/*.cpp file, and every such file must appear in the README, so that
what a reader copies is what the install test builds and runs against an
installed tree. Prints one line per snippet and a summary; exit 0 when all
match, 1 otherwise.
"""

import os
import re
import sys


def main():
    if len(sys.argv) != 3:
        print(__doc__)
        return 2
    readme, folder = sys.argv[1:]
    with open(readme, encoding="utf-8") as handle:
        blocks = re.findall(r"^```cpp\n(.*?)^```$", handle.read(), re.S | re.M)
    examples = {}
    for name in sorted(os.listdir(folder)):
        if name.endswith(".cpp"):
            with open(os.path.join(folder, name), encoding="utf-8") as handle:
                examples[name] = handle.read()
    passed = failed = 0
    shown = set()
    for number, block in enumerate(blocks, 1):
        match = [name for name, text in examples.items() if text == block]
        if match:
            shown.add(match[0])
            passed += 1
            print("ok   snippet %d is examples/%s" % (number, match[0]))
        else:
            failed += 1
            first = block.splitlines()[0] if block else ""
            print("FAIL snippet %d (%r) is no file of examples/, as it stands" % (number, first))
    for name in sorted(set(examples) - shown):
        failed += 1
        print("FAIL examples/%s is not in the README" % name)
    if not examples:
        failed += 1
        print("FAIL no examples in %s" % folder)
    print("%d passed, %d failed" % (passed, failed))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
