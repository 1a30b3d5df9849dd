#!/usr/bin/env bash
# Fails when a C++ source or header under src, tools, tests, bench or fuzz is
# not formatted as .clang-format says. Reformat with:
#   clang-format -i FILE...
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

clang_format=${CLANG_FORMAT:-clang-format}
if ! command -v "$clang_format" >/dev/null 2>&1; then
    echo "check-format.sh: $clang_format not found (scripts/install-deps.sh installs it)" >&2
    exit 1
fi

dirs=()
for dir in src tools tests bench fuzz; do
    [[ -d $dir ]] && dirs+=("$dir")
done
files=()
if [[ ${#dirs[@]} -gt 0 ]]; then
    mapfile -d '' files < <(find "${dirs[@]}" -type f \( -name '*.h' -o -name '*.cpp' \) -print0 | sort -z)
fi
if [[ ${#files[@]} -eq 0 ]]; then
    echo "check-format.sh: no sources to check"
    exit 0
fi

if "$clang_format" --dry-run -Werror "${files[@]}"; then
    echo "check-format.sh: ${#files[@]} files formatted"
else
    echo "check-format.sh: formatting differs (run clang-format -i on the files above)" >&2
    exit 1
fi
