#!/usr/bin/env bash
# Configures and builds libtypeframe with Ninja.
#
#   scripts/build.sh [extra cmake -D options...]
#
# BUILD_DIR    build tree (default: build/ in the clone)
# BUILD_TYPE   CMake build type (default: RelWithDebInfo)
# CCACHE_DIR   compiler cache, kept outside the clone
#              (default: ${XDG_CACHE_HOME:-$HOME/.cache}/typeframe-ccache)
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build_dir=${BUILD_DIR:-$root/build}
build_type=${BUILD_TYPE:-RelWithDebInfo}

export CCACHE_DIR=${CCACHE_DIR:-${XDG_CACHE_HOME:-$HOME/.cache}/typeframe-ccache}
mkdir -p "$CCACHE_DIR"

cmake -S "$root" -B "$build_dir" -G Ninja -DCMAKE_BUILD_TYPE="$build_type" "$@"
cmake --build "$build_dir"
