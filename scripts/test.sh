#!/usr/bin/env bash
# Installs the dependencies, checks the formatting, builds and runs every test.
# BUILD_DIR, BUILD_TYPE and CCACHE_DIR are passed on to scripts/build.sh.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"
build_dir=${BUILD_DIR:-$root/build}

bash scripts/install-deps.sh

# A formatting fault should not hide the test results: note it, run the
# tests, and fail at the end.
format_status=0
bash scripts/check-format.sh || format_status=$?

BUILD_DIR=$build_dir bash scripts/build.sh
ctest --test-dir "$build_dir" --output-on-failure -j2

if [[ $format_status -ne 0 ]]; then
    echo "test.sh: tests passed but the formatting check failed (see above)" >&2
    exit "$format_status"
fi
