#!/usr/bin/env bash
# Feeds damaged copies of real fonts to the typeframe tool built with
# AddressSanitizer + UndefinedBehaviorSanitizer: random byte flips, field
# overwrites, truncations and splices of the shared test fonts, each through
# `typeframe save --rebuild all` and, for variable fonts, `typeframe instance`
# (at random axis values, and now and then --all-named).
# A run may fail cleanly (status 1, one line on stderr); a crash, a hang (10 s)
# or any sanitizer report is a finding, kept with its log. Not part of CI.
#
#   scripts/mutation-run.sh [COUNT] [SEED]    (default: 3000 files, seed 1)
#
# The same COUNT and SEED give the same files.
# ASAN_BUILD_DIR  the ASan build (default: build-asan/ in the clone); its
#                 tool is built first with scripts/sanitize-build.sh asan
# OUT_DIR         where findings are kept (default: a new temporary folder)
# JOBS            runs at a time (default: 2)
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
count=${1:-3000}
seed=${2:-1}
asan_dir=${ASAN_BUILD_DIR:-$root/build-asan}
out_dir=${OUT_DIR:-$(mktemp -d -t typeframe-mutation.XXXXXX)}
jobs=${JOBS:-2}
shared=$root/../shared/testdata

if [[ ! -d $shared ]]; then
    echo "mutation-run.sh: $shared not found: the shared test fonts are needed" >&2
    exit 1
fi
BUILD_DIR=$asan_dir bash "$root/scripts/sanitize-build.sh" asan typeframe_tool
tool=$asan_dir/tools/typeframe

# A report of any sanitizer ends the run with status 86.
export ASAN_OPTIONS=detect_leaks=1:exitcode=86
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1:exitcode=86

exec python3 - "$tool" "$count" "$seed" "$out_dir" "$jobs" "$shared" "$root/tests/data" <<'PYTHON'
import concurrent.futures
import os
import random
import shutil
import struct
import subprocess
import sys
import tempfile
import time

tool, count, seed, out_dir, jobs = sys.argv[1], int(sys.argv[2]), int(sys.argv[3]), sys.argv[4], int(sys.argv[5])
sources = sys.argv[6:]
TIMEOUT = 10
INTERESTING = [0, 1, 0x7F, 0x80, 0xFF, 0x7FFF, 0x8000, 0xFFFF, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF]

fonts = []
for folder in sources:
    for base, _, names in sorted(os.walk(folder)):
        for name in sorted(names):
            if name.lower().endswith((".ttf", ".otf", ".ttc")):
                with open(os.path.join(base, name), "rb") as f:
                    fonts.append((os.path.relpath(os.path.join(base, name), folder), f.read()))


def directory(data, offset=0):
    """(tag, offset, length) of each table; empty for what doesn't parse."""
    try:
        n = struct.unpack(">H", data[offset + 4:offset + 6])[0]
        return [struct.unpack(">4sII", data[offset + 12 + 16 * i:offset + 12 + 16 * i + 4] +
                              data[offset + 20 + 16 * i:offset + 28 + 16 * i]) for i in range(n)]
    except struct.error:
        return []


def axes(data):
    """(tag, min, default, max) of the fvar axes of the first font."""
    offset = struct.unpack(">I", data[12:16])[0] if data[:4] == b"ttcf" else 0
    for tag, start, length in directory(data, offset):
        if tag == b"fvar":
            fvar = data[start:start + length]
            first, _, n, size = struct.unpack(">HHHH", fvar[4:12])
            return [(fvar[first + i * size:first + i * size + 4].decode("latin-1"),) +
                    tuple(v / 65536 for v in struct.unpack(">iii", fvar[first + i * size + 4:first + i * size + 16]))
                    for i in range(n)]
    return []


def mutate(rng, data):
    data = bytearray(data)
    kind = rng.choice(["flip", "flip", "field", "table", "truncate", "splice"])
    if kind == "flip":
        for _ in range(rng.randint(1, 16)):
            data[rng.randrange(len(data))] ^= 1 << rng.randrange(8)
    elif kind == "field":
        # Big-endian values that bounds checks get wrong, at even offsets
        # inside the header, the directory or a table.
        for _ in range(rng.randint(1, 4)):
            width = rng.choice([2, 4])
            at = rng.randrange(0, max(1, len(data) - width)) & ~1
            value = rng.choice(INTERESTING) & ((1 << (8 * width)) - 1)
            data[at:at + width] = value.to_bytes(width, "big")
    elif kind == "table":
        tables = [t for t in directory(data) if t[2] and t[1] + t[2] <= len(data)]
        if tables:
            _, start, length = rng.choice(tables)
            for _ in range(rng.randint(1, 8)):
                data[start + rng.randrange(length)] = rng.randrange(256)
    elif kind == "truncate":
        data = data[:rng.randrange(len(data))]
    else:
        _, other = rng.choice(fonts)
        data = data[:rng.randrange(len(data) + 1)] + other[rng.randrange(len(other)):]
    return kind, bytes(data)


def run(job):
    index, name, data, font_axes, rng_seed = job
    rng = random.Random(rng_seed)
    work = tempfile.mkdtemp(prefix="m%05d-" % index)
    try:
        path = os.path.join(work, "in" + os.path.splitext(name)[1])
        with open(path, "wb") as f:
            f.write(data)
        commands = [[tool, "save", path, os.path.join(work, "saved"), "--rebuild", "all"]]
        if font_axes:
            values = []
            for tag, low, default, high in font_axes:
                choice = rng.random()
                value = default if choice < 0.3 else rng.uniform(low, high) if choice < 0.8 else \
                    rng.uniform(-32768, 32767)
                values.append("%s=%.3f" % (tag.rstrip(" ") or "x", value))
            commands.append([tool, "instance", path, os.path.join(work, "instance")] + values)
            if rng.random() < 0.25:
                commands.append([tool, "instance", path, "--all-named", os.path.join(work, "named")])
        results = []
        for command in commands:
            try:
                done = subprocess.run(command, capture_output=True, timeout=TIMEOUT)
                status, stderr = done.returncode, done.stderr.decode("utf-8", "replace")
            except subprocess.TimeoutExpired:
                status, stderr = "hang", ""
            if status == "hang":
                outcome = "hang"
            elif status == 86 or "Sanitizer" in stderr or "runtime error:" in stderr:
                outcome = "sanitizer"
            elif status < 0 or status > 1:
                outcome = "crash"
            else:
                outcome = "ok" if status == 0 else "error"
            results.append((command[1], outcome, command[4:] if command[1] == "instance" else [], stderr))
        return index, name, data, results
    finally:
        shutil.rmtree(work, ignore_errors=True)


variable = [font for font in fonts if axes(font[1])]
rng = random.Random(seed)
jobs_list = []
kinds = {}
for index in range(count):
    # Variable fonts are few among the test fonts: two in five files come
    # from one, so that the instancer sees many.
    name, original = rng.choice(variable if variable and rng.random() < 0.4 else fonts)
    kind, data = mutate(rng, original)
    kinds[kind] = kinds.get(kind, 0) + 1
    jobs_list.append((index, name, data, axes(original), rng.getrandbits(32)))

os.makedirs(out_dir, exist_ok=True)
tally = {}
findings = 0
started = time.time()
with concurrent.futures.ThreadPoolExecutor(max_workers=jobs) as pool:
    for index, name, data, results in pool.map(run, jobs_list):
        for command, outcome, _, stderr in results:
            tally[(command, outcome)] = tally.get((command, outcome), 0) + 1
            if outcome in ("hang", "crash", "sanitizer"):
                findings += 1
                stem = os.path.join(out_dir, "%05d-%s-%s" % (index, command, outcome))
                with open(stem + ".font", "wb") as f:
                    f.write(data)
                with open(stem + ".log", "w") as f:
                    f.write("source: %s\n%s\n" % (name, stderr))

print("mutation-run: %d files from %d fonts, seed %d, %.0f s" % (count, len(fonts), seed, time.time() - started))
print("  mutations: " + ", ".join("%s %d" % item for item in sorted(kinds.items())))
for command in ("save", "instance"):
    row = {outcome: tally.get((command, outcome), 0) for outcome in ("ok", "error", "crash", "hang", "sanitizer")}
    print("  %-8s runs %5d: ok %d, clean error %d, crash %d, hang %d, sanitizer report %d" %
          ((command, sum(row.values())) + tuple(row.values())))
print("  findings: %d%s" % (findings, " (inputs and logs in %s)" % out_dir if findings else ""))
sys.exit(1 if findings else 0)
PYTHON
