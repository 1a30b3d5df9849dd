#!/usr/bin/env bash
# Times three instancers on the same TrueType variable fonts and locations:
# `typeframe instance` from a build tree, fontTools' varLib.instancer and
# HarfBuzz's hb-subset, each making a full static instance (every axis
# pinned). Each font and location is one hyperfine run holding the three
# commands, so they share the machine's state; a table of the means and of
# the ratios to typeframe is printed at the end.
#
#   bench/compare-instancers.sh [options] [FONT...]
#
#   --build-dir DIR   build tree holding tools/typeframe
#                     (default: $BUILD_DIR, else build/ in the clone); the
#                     program is copied first, so a rebuild of that tree
#                     during the run changes nothing
#   --warmup N        hyperfine warm-up runs per command (default 1)
#   --min-runs N      hyperfine's least number of runs per command (default 5;
#                     fast commands still run for hyperfine's 3 seconds)
#   --verbose         show hyperfine's own report of each run
#   --keep            keep the temporary folder (outputs and JSON exports)
#
# FONT defaults to the small test font of the tree and, when present, Inter
# (shared test data and Debian's fonts-inter-variable) and Karla
# (fonts-karla). Locations: every axis at its default; an interior point,
# each axis halfway from its default to its maximum (to its minimum when the
# default is the maximum); every axis at its maximum.
#
# hb-subset is given every axis in --instance and told to keep everything
# (all code points, glyphs, glyph ids, names, layout features and scripts,
# and the tables it does not know). When it lacks --instance, fails or leaves
# a variable font at a location, its column says so and is not timed.
#
# Needs hyperfine, /usr/bin/fonttools and /usr/bin/python3 with fontTools
# (Debian's python3-fonttools); hb-subset is in libharfbuzz-bin.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build_dir=${BUILD_DIR:-$root/build}
warmup=1
min_runs=5
verbose=0
keep=0
fonts=()

die() {
    echo "compare-instancers: $*" >&2
    exit 1
}

while [[ $# -gt 0 ]]; do
    case "$1" in
        --build-dir) build_dir=${2:?--build-dir needs a folder}; shift 2 ;;
        --build-dir=*) build_dir=${1#*=}; shift ;;
        --warmup) warmup=${2:?--warmup needs a number}; shift 2 ;;
        --warmup=*) warmup=${1#*=}; shift ;;
        --min-runs) min_runs=${2:?--min-runs needs a number}; shift 2 ;;
        --min-runs=*) min_runs=${1#*=}; shift ;;
        --verbose) verbose=1; shift ;;
        --keep) keep=1; shift ;;
        -h | --help) sed -n '2,/^set -euo/{/^set -euo/d;s/^# \{0,1\}//;p}' "${BASH_SOURCE[0]}"; exit 0 ;;
        --) shift; fonts+=("$@"); break ;;
        -*) die "unknown option '$1' (see --help)" ;;
        *) fonts+=("$1"); shift ;;
    esac
done
[[ "$warmup" =~ ^[0-9]+$ ]] || die "--warmup needs a whole number, not '$warmup'"
[[ "$min_runs" =~ ^[1-9][0-9]*$ ]] || die "--min-runs needs a positive whole number, not '$min_runs'"

typeframe=$build_dir/tools/typeframe
python=/usr/bin/python3
fonttools=/usr/bin/fonttools
[[ -x "$typeframe" ]] || die "no $typeframe (build it: scripts/build.sh, or give --build-dir)"
command -v hyperfine >/dev/null 2>&1 || die "hyperfine is not installed (scripts/install-deps.sh)"
[[ -x "$fonttools" ]] || die "$fonttools is not installed (Debian's fonttools)"
"$python" -c 'import fontTools' 2>/dev/null || die "$python cannot import fontTools (Debian's python3-fonttools)"

hb_subset=$(command -v hb-subset || true)
hb_note=""
if [[ -z "$hb_subset" ]]; then
    hb_note="hb-subset is not installed (libharfbuzz-bin)"
elif ! "$hb_subset" --help-all 2>/dev/null | grep -q -- '--instance'; then
    hb_note="$("$hb_subset" --version 2>/dev/null | head -n 1) has no --instance"
    hb_subset=""
fi

if [[ ${#fonts[@]} -eq 0 ]]; then
    fonts=("$root/tests/data/PartialInstancerTest3-VF.ttf")
    for candidate in "$root/../shared/testdata/debian/Inter-VariableFont_slnt,wght.ttf" \
        /usr/share/fonts/truetype/inter-vf/Inter.var.ttf \
        "/usr/share/fonts/truetype/karla-variable/Karla[wght].ttf"; do
        [[ -f "$candidate" ]] && fonts+=("$candidate")
    done
fi

work=$(mktemp -d "${TMPDIR:-/tmp}/compare-instancers.XXXXXX")
if [[ $keep -eq 0 ]]; then
    trap 'rm -rf "$work"' EXIT
else
    echo "compare-instancers: keeping $work"
fi
# The tree may be rebuilt while this runs: time one fixed copy.
cp "$typeframe" "$work/typeframe"
typeframe=$work/typeframe
rows=$work/rows.tsv
: >"$rows"
notes=()

# A word quoted for hyperfine's own splitting (POSIX shell rules).
quote() { printf "'%s'" "${1//\'/\'\\\'\'}"; }

# The three locations of a font, one line each: NAME<TAB>TAG=VALUE,... with
# the tags as the font spells them (trailing spaces kept). Nothing, and a
# message on stderr, when the font is not a TrueType variable font.
locations_of() {
    "$python" - "$1" <<'EOF'
import sys
from fontTools.ttLib import TTFont

path = sys.argv[1]
try:
    font = TTFont(path, lazy=True)
except Exception as error:
    sys.exit(f"{path}: cannot be read by fontTools: {error}")
if "fvar" not in font or "glyf" not in font:
    sys.exit(f"{path}: not a TrueType variable font (needs fvar and glyf)")

def text(value):
    return f"{value:.6f}".rstrip("0").rstrip(".")

axes = font["fvar"].axes
def interior(axis):
    end = axis.maxValue if axis.maxValue > axis.defaultValue else axis.minValue
    return axis.defaultValue + (end - axis.defaultValue) / 2

for name, pick in (("default", lambda a: a.defaultValue), ("interior", interior), ("max", lambda a: a.maxValue)):
    print(name + "\t" + ",".join(f"{a.axisTag}={text(pick(a))}" for a in axes))
EOF
}

# Fails unless every output exists, is a font fontTools can open and has no
# 'fvar' left: NAME=PATH pairs; prints the names that fail, one per line.
check_outputs() {
    "$python" - "$@" <<'EOF'
import os, sys
from fontTools.ttLib import TTFont

for pair in sys.argv[1:]:
    name, path = pair.split("=", 1)
    reason = None
    if not os.path.isfile(path) or os.path.getsize(path) == 0:
        reason = "wrote no output"
    else:
        try:
            if "fvar" in TTFont(path, lazy=True):
                reason = "left a variable font"
        except Exception as error:
            reason = f"wrote a font fontTools can't read ({error})"
    if reason:
        print(f"{name}\t{reason}")
EOF
}

hb_keep_all=(--unicodes='*' --glyphs='*' --retain-gids --notdef-outline --glyph-names --name-IDs='*'
    --name-languages='*' --layout-features='*' --layout-scripts='*' --passthrough-tables)

run=0
for font in "${fonts[@]}"; do
    [[ -f "$font" ]] || die "$font: no such file"
    if ! listing=$(locations_of "$font"); then
        notes+=("$(basename "$font"): skipped, not a TrueType variable font fontTools can read")
        continue
    fi
    while IFS=$'\t' read -r location_name location; do
        run=$((run + 1))
        out=$work/$run
        mkdir -p "$out"
        IFS=',' read -r -a settings <<<"$location"
        shown=${location// /}

        tf_args=("$typeframe" instance "$font" "$out/typeframe.ttf")
        ft_args=("$fonttools" varLib.instancer -q -o "$out/fonttools.ttf" "$font")
        for setting in "${settings[@]}"; do
            tag=${setting%%=*}
            # typeframe pads a short tag with spaces itself.
            tf_args+=("${tag%"${tag##*[! ]}"}=${setting#*=}")
            ft_args+=("$setting")
        done
        hb_args=()
        if [[ -n "$hb_subset" ]]; then
            hb_args=("$hb_subset" --font-file="$font" --output-file="$out/hb-subset.ttf" "${hb_keep_all[@]}"
                --instance="$location")
        fi

        # One run of each, checked, before anything is timed.
        echo "compare-instancers: $(basename "$font") at $location_name ($shown)" >&2
        "${tf_args[@]}" >"$out/typeframe.log" 2>&1 || die "typeframe failed on $font at $shown: $(cat "$out/typeframe.log")"
        "${ft_args[@]}" >"$out/fonttools.log" 2>&1 || die "fontTools failed on $font at $shown: $(cat "$out/fonttools.log")"
        checks=("typeframe=$out/typeframe.ttf" "fonttools=$out/fonttools.ttf")
        hb_ok=0
        if [[ -n "$hb_subset" ]]; then
            if "${hb_args[@]}" >"$out/hb-subset.log" 2>&1; then
                hb_ok=1
                checks+=("hb-subset=$out/hb-subset.ttf")
            else
                notes+=("$(basename "$font") $location_name: hb-subset failed, not timed: $(head -n 1 "$out/hb-subset.log")")
            fi
        fi
        failures=$(check_outputs "${checks[@]}")
        while IFS=$'\t' read -r tool reason; do
            [[ -n "$tool" ]] || continue
            [[ "$tool" == hb-subset ]] || die "$tool $reason for $font at $shown"
            hb_ok=0
            notes+=("$(basename "$font") $location_name: hb-subset $reason, not timed")
        done <<<"$failures"

        commands=(--command-name typeframe "$(for a in "${tf_args[@]}"; do quote "$a"; printf ' '; done)"
            --command-name fonttools "$(for a in "${ft_args[@]}"; do quote "$a"; printf ' '; done)")
        if [[ $hb_ok -eq 1 ]]; then
            commands+=(--command-name hb-subset "$(for a in "${hb_args[@]}"; do quote "$a"; printf ' '; done)")
        fi
        # hyperfine's report (and its warnings about outliers) only with
        # --verbose, or when it fails.
        report=$out/hyperfine.log
        [[ $verbose -eq 1 ]] && report=/dev/stderr
        if ! hyperfine -N --style basic --warmup "$warmup" --min-runs "$min_runs" --export-json "$out/times.json" \
            "${commands[@]}" >"$report" 2>&1; then
            [[ $verbose -eq 1 ]] || cat "$report" >&2
            die "hyperfine failed on $font at $shown"
        fi
        "$python" - "$out/times.json" "$(basename "$font")" "$location_name" "$shown" >>"$rows" <<'EOF'
import json, sys
path, font, name, location = sys.argv[1:5]
means = {r["command"]: r["mean"] * 1000 for r in json.load(open(path))["results"]}
cells = [f"{means[t]:.2f}" if t in means else "" for t in ("typeframe", "fonttools", "hb-subset")]
print("\t".join([font, f"{name} {location}"] + cells))
EOF
    done <<<"$listing"
done

echo
echo "Mean wall time in ms (hyperfine -N, warmup $warmup, min runs $min_runs); ratios are the other tool's time over typeframe's."
"$python" - "$rows" <<'EOF'
import sys
rows = [line.rstrip("\n").split("\t") for line in open(sys.argv[1]) if line.strip()]
header = ["font", "location", "typeframe", "fontTools", "hb-subset", "fontTools/tf", "hb-subset/tf"]
table = []
for font, location, tf, ft, hb in rows:
    def ratio(other):
        if not other or float(tf) <= 0:
            return "-"
        value = float(other) / float(tf)
        return f"{value:.1f}x" if value >= 10 else f"{value:.2f}x"
    table.append([font, location, tf, ft or "-", hb or "-", ratio(ft), ratio(hb)])
widths = [max(len(r[i]) for r in [header] + table) for i in range(len(header))]
for i, r in enumerate([header] + table):
    print("  ".join(c.ljust(w) if j < 2 else c.rjust(w) for j, (c, w) in enumerate(zip(r, widths))).rstrip())
    if i == 0:
        print("  ".join("-" * w for w in widths))
EOF
if [[ -n "$hb_note" ]]; then
    notes+=("$hb_note: its column is empty")
fi
for note in "${notes[@]}"; do
    echo "note: $note"
done
