#!/usr/bin/env bash
# Installs a built tree into a scratch prefix, then builds and runs a small
# program against it twice (find_package and pkg-config), once where it was
# installed and once after the prefix has been moved elsewhere. The installed
# library carries no RPATH, so the programs find it through LD_LIBRARY_PATH.
#
# It also holds the installed headers to the layout hosts rely on
# (docs/install-layout.md): <prefix>/include has nothing at its top but
# typeframe/, every header of src/ is installed and differs from its source
# only in the typeframe/ prefix of project includes, and each one compiles on
# its own with nothing but -I<prefix>/include.
#
# With --examples DIR every DIR/*.cpp is built as a program against the
# installed prefix, through find_package and through pkg-config, and run as
# `program DATA_DIR OUT_DIR` (DATA_DIR: --data-dir, the test fonts; OUT_DIR: a
# fresh scratch folder). A program that fails to build or run fails the test.
#
# Exit status: 0 pass, 1 fail, 77 skipped (a needed program is missing).
set -euo pipefail

build_dir='' source_dir='' cmake=cmake cxx=c++ tool=0 examples_dir='' data_dir=''
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
        --examples) examples_dir=$2 ;;
        --data-dir) data_dir=$2 ;;
        *) echo "check_install: unknown argument $1" >&2; exit 1 ;;
    esac
    shift 2
done

skip() { echo "check_install: SKIP: $*"; exit 77; }
fail() { echo "check_install: FAIL: $*" >&2; exit 1; }

[[ -n $build_dir && -n $source_dir ]] || fail "--build-dir and --source-dir are required"
data_dir=${data_dir:-$source_dir/tests/data}
examples=()
if [[ -n $examples_dir ]]; then
    [[ -d $examples_dir ]] || fail "examples folder $examples_dir not found"
    [[ -d $data_dir ]] || fail "test data folder $data_dir not found"
    mapfile -t examples < <(find "$examples_dir" -maxdepth 1 -type f -name '*.cpp' | sort)
fi
command -v "$cmake" >/dev/null 2>&1 || skip "cmake not found"
command -v pkg-config >/dev/null 2>&1 || skip "pkg-config not found"
command -v "$cxx" >/dev/null 2>&1 || skip "C++ compiler $cxx not found"
for dir in "$libdir" "$includedir" "$bindir" "$datadir"; do
    [[ $dir != /* ]] || skip "absolute install folder $dir cannot go to a scratch prefix"
done
generator=()
if command -v ninja >/dev/null 2>&1; then generator=(-G Ninja); fi
jobs=$(nproc 2>/dev/null || echo 2)

work=$(mktemp -d "${TMPDIR:-/tmp}/typeframe-install.XXXXXX")
trap 'rm -rf "$work"' EXIT

# Runs a program against the prefix, with any further arguments, and checks
# that the library it loads is the one in that prefix.
run_consumer() {
    local prefix=$1 program=$2 loaded
    shift 2
    LD_LIBRARY_PATH="$prefix/$libdir" "$program" "$@" || fail "$program failed against $prefix"
    if command -v ldd >/dev/null 2>&1; then
        loaded=$(LD_LIBRARY_PATH="$prefix/$libdir" ldd "$program" | awk '/libtypeframe/ {print $3}')
        [[ $loaded == "$prefix/$libdir/"* ]] || fail "$program loads libtypeframe from '$loaded', not $prefix"
    fi
}

# The project's folders: those of src/ that hold headers, and those installed.
project_folders() {
    local prefix=$1
    {
        find "$source_dir/src" -mindepth 2 -name '*.h' -printf '%P\n' | cut -d/ -f1
        find "$prefix/$includedir/typeframe" -mindepth 2 -name '*.h' -printf '%P\n' | cut -d/ -f1
    } | sort -u | paste -sd'|'
}

# The installed headers' layout and text, against the source tree.
check_header_layout() {
    local prefix=$1 inc=$1/$includedir folders top unprefixed rel
    top=$(find "$inc" -mindepth 1 -maxdepth 1 -printf '%f\n' | sort | paste -sd' ')
    [[ $top == typeframe ]] || fail "$inc holds '$top'; only typeframe/ belongs at the top of a host's include path"
    [[ -f $inc/typeframe/typeframe.h ]] || fail "umbrella header $inc/typeframe/typeframe.h missing"

    folders=$(project_folders "$prefix")
    [[ -n $folders ]] || fail "no header folders under $source_dir/src"
    # Angle brackets too: a project include spelled either way must carry the prefix.
    unprefixed=$(grep -rEn "^[[:space:]]*#[[:space:]]*include[[:space:]]*[\"<]($folders)/" "$inc" || true)
    [[ -z $unprefixed ]] || { echo "$unprefixed" >&2; fail "installed headers include project folders without typeframe/"; }

    # Same set of headers as the source tree, and the same text once the
    # prefix is taken off again.
    while IFS= read -r rel; do
        [[ -f $inc/typeframe/$rel ]] ||
            fail "src/$rel is not installed (a header without a source of its own belongs in src/Headers.cmake)"
        sed -E "s@^([[:space:]]*#[[:space:]]*include[[:space:]]*\")typeframe/(($folders)/)@\\1\\2@" \
            "$inc/typeframe/$rel" | cmp -s - "$source_dir/src/$rel" ||
            fail "installed $rel differs from src/$rel beyond the typeframe/ prefix of its includes (stale build?)"
    done < <(find "$source_dir/src" -name '*.h' -printf '%P\n' | sort)
    while IFS= read -r rel; do
        [[ -f $source_dir/src/$rel ]] || fail "installed $rel has no source in src/"
    done < <(find "$inc/typeframe" -type f -printf '%P\n' | sort)
}

# Each installed header alone in a translation unit, included the way a host
# includes it, with no include path but <prefix>/include (CPATH and
# CPLUS_INCLUDE_PATH unset): a header that leans on an include it does not
# make itself, or on a header that was not installed, fails here. Syntax only,
# one compiler per header, as many at once as there are processors.
check_headers_compile() {
    local prefix=$1 inc=$1/$includedir count
    count=$(find "$inc/typeframe" -name '*.h' | wc -l)
    # shellcheck disable=SC2016  # expanded by the inner shell, one header each
    (cd "$inc" && find typeframe -name '*.h' -print0 | sort -z |
        xargs -0 -P "$jobs" -n 1 bash -c '
            unset CPATH CPLUS_INCLUDE_PATH
            log=$(printf "#include <%s>\n" "$3" | "$1" -std=c++20 -fsyntax-only -x c++ -I"$2" - 2>&1) ||
                { printf "%s\n%s\n" "check_install: $3 does not compile on its own:" "$log" >&2; exit 1; }
        ' _ "$cxx" "$inc") || fail "installed headers do not compile on their own with -I$inc"
    echo "check_install: $count installed headers compile on their own with -I$inc"
}

# Runs every example built in folder $2 (named after its source) against the
# prefix, each with its own empty output folder.
run_examples() {
    local prefix=$1 bin_dir=$2 how=$3 example name out
    for example in "${examples[@]}"; do
        name=$(basename "$example" .cpp)
        out=$work/example-out/$how/$name
        mkdir -p "$out"
        [[ -x $bin_dir/$name ]] || fail "example $name was not built ($how)"
        LD_LIBRARY_PATH="$prefix/$libdir" "$bin_dir/$name" "$data_dir" "$out" >"$work/example.log" 2>&1 ||
            { cat "$work/example.log"; fail "example $name failed ($how): $bin_dir/$name $data_dir $out"; }
        echo "check_install: example $name runs ($how)"
    done
}

check_prefix() {
    local prefix=$1 name=$2 with_examples=$3 out=$work/$2
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
    check_header_layout "$prefix"

    # find_package, with nothing but this prefix to look in.
    local example_args=()
    if [[ $with_examples == 1 && ${#examples[@]} -gt 0 ]]; then
        example_args=(-DTYPEFRAME_EXAMPLES_DIR="$examples_dir")
    fi
    "$cmake" -S "$source_dir/tests/install/consumer" -B "$out/cmake-build" "${generator[@]}" \
        -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$prefix" \
        -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF -DCMAKE_FIND_USE_SYSTEM_PACKAGE_REGISTRY=OFF \
        -DCMAKE_SKIP_RPATH=ON "${example_args[@]}" >"$out/cmake-configure.log" 2>&1 ||
        { cat "$out/cmake-configure.log"; fail "find_package consumer did not configure ($name)"; }
    local found
    found=$(sed -n 's/^typeframe_DIR:PATH=//p' "$out/cmake-build/CMakeCache.txt")
    [[ $found == "$prefix/"* ]] || fail "find_package found typeframe in '$found', not in $prefix"
    local include_dirs
    include_dirs=$(sed -n 's/.*INTERFACE_INCLUDE_DIRECTORIES "\(.*\)"/\1/p' \
        "$prefix/$libdir/cmake/typeframe/typeframeTargets.cmake")
    # shellcheck disable=SC2016  # the package file's own text, not expanded
    [[ $include_dirs == '${_IMPORT_PREFIX}/'"$includedir" ]] ||
        fail "the CMake package puts '$include_dirs' on the include path, not <prefix>/$includedir"
    "$cmake" --build "$out/cmake-build" >"$out/cmake-build.log" 2>&1 ||
        { cat "$out/cmake-build.log"; fail "find_package consumer or examples did not build ($name)"; }
    run_consumer "$prefix" "$out/cmake-build/consumer"
    if [[ ${#example_args[@]} -gt 0 ]]; then
        run_examples "$prefix" "$out/cmake-build/examples" find_package
    fi

    # pkg-config, with only this prefix's .pc folder on the search path.
    local flags flag include_flags=()
    flags=$(PKG_CONFIG_LIBDIR="$prefix/$libdir/pkgconfig" PKG_CONFIG_PATH='' \
        pkg-config --cflags --libs typeframe) || fail "pkg-config does not know typeframe ($name)"
    for flag in $flags; do
        [[ $flag == -I* ]] && include_flags+=("$(realpath -m "${flag#-I}")")
    done
    [[ ${#include_flags[@]} -eq 1 && ${include_flags[0]} == "$(realpath -m "$prefix/$includedir")" ]] ||
        fail "pkg-config puts '${include_flags[*]}' on the include path, not $prefix/$includedir alone"
    # shellcheck disable=SC2086  # the flags are meant to split into words
    "$cxx" -std=c++20 -o "$out/consumer-pc" "$source_dir/tests/install/consumer/consumer.cpp" $flags ||
        fail "pkg-config consumer did not build ($name) with: $flags"
    run_consumer "$prefix" "$out/consumer-pc"
    if [[ ${#example_args[@]} -gt 0 ]]; then
        local example
        mkdir -p "$out/examples-pc"
        for example in "${examples[@]}"; do
            # shellcheck disable=SC2086
            "$cxx" -std=c++20 -O1 -o "$out/examples-pc/$(basename "$example" .cpp)" "$example" $flags \
                >"$out/example-pc.log" 2>&1 ||
                { cat "$out/example-pc.log"; fail "example $example did not build with pkg-config ($name)"; }
        done
        run_examples "$prefix" "$out/examples-pc" pkg-config
    fi
    echo "check_install: $name prefix $prefix passes (pkg-config flags: $flags)"
}

prefix=$work/prefix
"$cmake" --install "$build_dir" --prefix "$prefix" >"$work/install.log" 2>&1 ||
    { cat "$work/install.log"; fail "cmake --install failed"; }
check_headers_compile "$prefix"
if [[ -n $examples_dir && ${#examples[@]} -eq 0 ]]; then
    echo "check_install: no examples in $examples_dir"
fi
check_prefix "$prefix" installed 1

moved=$work/elsewhere/moved-prefix
mkdir -p "$(dirname "$moved")"
mv "$prefix" "$moved"
check_prefix "$moved" moved 0
