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
# Every CI run builds a fresh clone, often at a new path: paths below the
# clone are hashed relative to it, and the build folder is not hashed, so
# that one clone's objects serve the next.
export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$root}
export CCACHE_NOHASHDIR=${CCACHE_NOHASHDIR:-true}

cmake -S "$root" -B "$build_dir" -G Ninja -DCMAKE_BUILD_TYPE="$build_type" "$@"
cmake --build "$build_dir"
