#!/usr/bin/env bash
# Configures and builds libtypeframe with clang and sanitizers, at -O1 -g,
# from the presets in CMakePresets.json.
#
#   scripts/sanitize-build.sh asan|tsan|fuzz [TARGET...]
#
#   asan   AddressSanitizer + UndefinedBehaviorSanitizer: library, tests,
#          tool and the fuzz targets' replay programs
#   tsan   ThreadSanitizer: library and tests
#   fuzz   libFuzzer programs fuzz/fuzz_<name> with ASan + UBSan
#
# With TARGETs only those are built, else everything the preset configures.
# BUILD_DIR   build tree (default: build-<kind>/ in the clone)
# CCACHE_DIR  compiler cache, as in scripts/build.sh
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
kind=${1:-}
case $kind in
    asan | tsan | fuzz) shift ;;
    *)
        echo "usage: scripts/sanitize-build.sh asan|tsan|fuzz [TARGET...]" >&2
        exit 2
        ;;
esac
build_dir=${BUILD_DIR:-$root/build-$kind}

export CCACHE_DIR=${CCACHE_DIR:-${XDG_CACHE_HOME:-$HOME/.cache}/typeframe-ccache}
mkdir -p "$CCACHE_DIR"
# As in scripts/build.sh: one clone's objects serve the next, wherever it is.
export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$root}
export CCACHE_NOHASHDIR=${CCACHE_NOHASHDIR:-true}

cd "$root"
cmake --preset "$kind" -B "$build_dir" >/dev/null
if [[ $# -gt 0 ]]; then
    cmake --build "$build_dir" --target "$@"
else
    cmake --build "$build_dir"
fi
