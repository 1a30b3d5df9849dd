#!/usr/bin/env bash
# Installs the dependencies, builds, and runs the typeframe tool on a bundled
# font: prints its tables, writes it back out, and reads the written copy.
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
