#!/usr/bin/env bash
# Installs the dependencies, checks the formatting, builds and runs every test,
# then runs the unit, golden and fuzz-replay tests again in an
# AddressSanitizer + UndefinedBehaviorSanitizer build and the instancer tests
# in a ThreadSanitizer build (scripts/sanitize-build.sh, docs/fuzzing.md).
#
# BUILD_DIR, BUILD_TYPE and CCACHE_DIR are passed on to scripts/build.sh.
# ASAN_BUILD_DIR, TSAN_BUILD_DIR  sanitizer build trees
#                                 (default: BUILD_DIR with -asan, -tsan)
# SANITIZE=0                      skips the sanitizer builds
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"
build_dir=${BUILD_DIR:-$root/build}
asan_dir=${ASAN_BUILD_DIR:-$build_dir-asan}
tsan_dir=${TSAN_BUILD_DIR:-$build_dir-tsan}
export CCACHE_DIR=${CCACHE_DIR:-${XDG_CACHE_HOME:-$HOME/.cache}/typeframe-ccache}

bash scripts/install-deps.sh

# A fault in one stage should not hide the results of the others: note it,
# run the rest, and fail at the end.
failed=()

bash scripts/check-format.sh || failed+=("formatting check")

BUILD_DIR=$build_dir bash scripts/build.sh
ctest --test-dir "$build_dir" --output-on-failure -j2 || failed+=("tests")

if [[ ${SANITIZE:-1} != 0 ]]; then
    # Any report fails the test that caused it.
    export ASAN_OPTIONS=detect_leaks=1:check_initialization_order=1
    export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
    export TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1

    # The install check builds a program without the sanitizer runtime
    # against the installed library; it runs in the plain build only.
    if BUILD_DIR=$asan_dir bash scripts/sanitize-build.sh asan; then
        ctest --test-dir "$asan_dir" --output-on-failure --no-tests=error -j2 -L '^(unit|golden|fuzz-replay)$' \
            -E '^install\.consumer$' || failed+=("tests under ASan+UBSan")
    else
        failed+=("ASan+UBSan build")
    fi

    # Only the programs of the instancer's tests are built (their folder
    # label is "instancer").
    mapfile -t instancer_tests < <(grep -oP 'typeframe_add_test\(\K\S+(?= instancer )' tests/CMakeLists.txt)
    if [[ ${#instancer_tests[@]} -eq 0 ]]; then
        failed+=("TSan build (no instancer test programs found in tests/CMakeLists.txt)")
    elif BUILD_DIR=$tsan_dir bash scripts/sanitize-build.sh tsan "${instancer_tests[@]}"; then
        ctest --test-dir "$tsan_dir" --output-on-failure --no-tests=error -j2 -L '^instancer$' || failed+=("instancer tests under TSan")
    else
        failed+=("TSan build")
    fi
fi

if [[ ${#failed[@]} -ne 0 ]]; then
    printf 'test.sh: failed: %s\n' "${failed[@]}" >&2
    exit 1
fi
echo "test.sh: all passed"
