#!/usr/bin/env bash
# Installs the dependencies, builds, and runs the typeframe tool on bundled
# fonts: prints the tables of FONT, writes it back out and reads the written
# copy; then makes a static instance of the bundled variable font halfway
# along its weight axis and reads that.
#
#   scripts/run-example.sh [FONT]    (default: tests/data/TestTTF.ttf)
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"
build_dir=${BUILD_DIR:-$root/build}
font=${1:-tests/data/TestTTF.ttf}

bash scripts/install-deps.sh
BUILD_DIR=$build_dir bash scripts/build.sh

tool=$build_dir/tools/typeframe
if [[ ! -x "$tool" ]]; then
    echo "run-example.sh: $tool was not built" >&2
    exit 1
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
out=$work/$(basename "${font%.*}")-saved.${font##*.}

echo "== typeframe info $font"
"$tool" info "$font"
echo "== typeframe save $font $out"
"$tool" save "$font" "$out"
echo "== typeframe info $out"
"$tool" info "$out"

# The variable font's weight axis runs from 400 to 700.
variable=tests/data/PartialInstancerTest3-VF.ttf
instance=$work/PartialInstancerTest3-550.ttf
echo "== typeframe info $variable"
"$tool" info "$variable"
echo "== typeframe instance $variable $instance wght=550"
"$tool" instance "$variable" "$instance" wght=550
echo "== typeframe info $instance"
"$tool" info "$instance"
