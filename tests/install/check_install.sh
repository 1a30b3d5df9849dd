#!/usr/bin/env bash
# Installs a built tree into a scratch prefix, then builds and runs a small
# program against it twice (find_package and pkg-config), once where it was
# installed and once after the prefix has been moved elsewhere. The installed
# library carries no RPATH, so the programs find it through LD_LIBRARY_PATH.
#
# Exit status: 0 pass, 1 fail, 77 skipped (a needed program is missing).
set -euo pipefail

build_dir= source_dir= cmake=cmake cxx=c++ tool=0
libdir=lib includedir=include bindir=bin datadir=share
while [[ $# -gt 0 ]]; do
    case $1 in
        --build-dir) build_dir=$2 ;;
        --source-dir) source_dir=$2 ;;
        --cmake) cmake=$2 ;;
        --cxx) cxx=$2 ;;
        --libdir) libdir=$2 ;;
        --includedir) includedir=$2 ;;
        --bindir) bindir=$2 ;;
        --datadir) datadir=$2 ;;
        --tool) tool=$2 ;;
        *) echo "check_install: unknown argument $1" >&2; exit 1 ;;
    esac
    shift 2
done

skip() { echo "check_install: SKIP: $*"; exit 77; }
fail() { echo "check_install: FAIL: $*" >&2; exit 1; }

[[ -n $build_dir && -n $source_dir ]] || fail "--build-dir and --source-dir are required"
command -v "$cmake" >/dev/null 2>&1 || skip "cmake not found"
command -v pkg-config >/dev/null 2>&1 || skip "pkg-config not found"
command -v "$cxx" >/dev/null 2>&1 || skip "C++ compiler $cxx not found"
for dir in "$libdir" "$includedir" "$bindir" "$datadir"; do
    [[ $dir != /* ]] || skip "absolute install folder $dir cannot go to a scratch prefix"
done
generator=()
if command -v ninja >/dev/null 2>&1; then generator=(-G Ninja); fi

work=$(mktemp -d "${TMPDIR:-/tmp}/typeframe-install.XXXXXX")
trap 'rm -rf "$work"' EXIT

# Runs a consumer against the prefix and checks that the library it loads is
# the one in that prefix.
run_consumer() {
    local prefix=$1 program=$2 loaded
    LD_LIBRARY_PATH="$prefix/$libdir" "$program" || fail "$program failed against $prefix"
    if command -v ldd >/dev/null 2>&1; then
        loaded=$(LD_LIBRARY_PATH="$prefix/$libdir" ldd "$program" | awk '/libtypeframe/ {print $3}')
        [[ $loaded == "$prefix/$libdir/"* ]] || fail "$program loads libtypeframe from '$loaded', not $prefix"
    fi
}

check_prefix() {
    local prefix=$1 name=$2 out=$work/$2
    mkdir -p "$out"

    [[ -f $prefix/$includedir/typeframe/base/Counted.h ]] || fail "headers missing under $prefix/$includedir/typeframe"
    [[ -f $prefix/$libdir/cmake/typeframe/typeframeConfig.cmake ]] || fail "CMake package file missing"
    [[ -f $prefix/$libdir/cmake/typeframe/typeframeConfigVersion.cmake ]] || fail "CMake version file missing"
    [[ -f $prefix/$libdir/pkgconfig/typeframe.pc ]] || fail "pkg-config file missing"
    if [[ $tool == 1 ]]; then
        [[ -x $prefix/$bindir/typeframe ]] || fail "typeframe tool not installed in $prefix/$bindir"
    fi
    if [[ -d $source_dir/resources ]]; then
        [[ -d $prefix/$datadir/typeframe ]] || fail "resources not installed in $prefix/$datadir/typeframe"
    fi

    # find_package, with nothing but this prefix to look in.
    "$cmake" -S "$source_dir/tests/install/consumer" -B "$out/cmake-build" "${generator[@]}" \
        -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$prefix" \
        -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF -DCMAKE_FIND_USE_SYSTEM_PACKAGE_REGISTRY=OFF \
        -DCMAKE_SKIP_RPATH=ON >"$out/cmake-configure.log" 2>&1 ||
        { cat "$out/cmake-configure.log"; fail "find_package consumer did not configure ($name)"; }
    local found
    found=$(sed -n 's/^typeframe_DIR:PATH=//p' "$out/cmake-build/CMakeCache.txt")
    [[ $found == "$prefix/"* ]] || fail "find_package found typeframe in '$found', not in $prefix"
    "$cmake" --build "$out/cmake-build" >"$out/cmake-build.log" 2>&1 ||
        { cat "$out/cmake-build.log"; fail "find_package consumer did not build ($name)"; }
    run_consumer "$prefix" "$out/cmake-build/consumer"

    # pkg-config, with only this prefix's .pc folder on the search path.
    local flags
    flags=$(PKG_CONFIG_LIBDIR="$prefix/$libdir/pkgconfig" PKG_CONFIG_PATH= \
        pkg-config --cflags --libs typeframe) || fail "pkg-config does not know typeframe ($name)"
    # shellcheck disable=SC2086  # the flags are meant to split into words
    "$cxx" -std=c++20 -o "$out/consumer-pc" "$source_dir/tests/install/consumer/consumer.cpp" $flags ||
        fail "pkg-config consumer did not build ($name) with: $flags"
    run_consumer "$prefix" "$out/consumer-pc"
    echo "check_install: $name prefix $prefix passes (pkg-config flags: $flags)"
}

prefix=$work/prefix
"$cmake" --install "$build_dir" --prefix "$prefix" >"$work/install.log" 2>&1 ||
    { cat "$work/install.log"; fail "cmake --install failed"; }
check_prefix "$prefix" installed

moved=$work/elsewhere/moved-prefix
mkdir -p "$(dirname "$moved")"
mv "$prefix" "$moved"
check_prefix "$moved" moved
