#!/usr/bin/env bash
# Installs the Debian 12 packages needed to build libtypeframe, run its tests
# and its reference checks. Packages already installed are left alone, and the
# package lists are refreshed only when something is missing.
set -euo pipefail

packages=(
    # build
    build-essential cmake ninja-build ccache pkg-config clang clang-format libclang-rt-14-dev
    # libraries
    libgtest-dev libgmock-dev libbenchmark-dev libicu-dev icu-devtools lib2geom-dev libboost-dev
    unicode-data libfreetype-dev
    # Perl's Encode tables (in libperl5.36) feed the ICU converters built in
    perl
    # reference checks (fontTools, OTS, FreeType) and the fonts they run on
    python3-fonttools fonttools opentype-sanitizer python3-freetype python3-brotli
    fonts-dejavu-core fonts-inter-variable fonts-karla
    # tools
    hyperfine libharfbuzz-bin
)

missing=()
for package in "${packages[@]}"; do
    status=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
    if [[ "$status" != "install ok installed" ]]; then
        missing+=("$package")
    fi
done

if [[ ${#missing[@]} -eq 0 ]]; then
    echo "install-deps: all ${#packages[@]} packages already installed"
    exit 0
fi

sudo=()
if [[ $(id -u) -ne 0 ]]; then
    if ! command -v sudo >/dev/null 2>&1; then
        echo "install-deps: missing packages (${missing[*]}) and not root, and sudo is not available" >&2
        exit 1
    fi
    sudo=(sudo)
fi

echo "install-deps: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
"${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update
"${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}"
