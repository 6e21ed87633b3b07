#!/bin/sh
# Makes sure that the packages for the named groups are there: build, test, bench, check, docs.
# Installs what is missing where it may (root, or sudo that asks no password) and otherwise names it in one line.
# TOV_SETUP=0 leaves everything as it is. Packages carry Debian's names.
set -eu

[ "${TOV_SETUP:-1}" = 0 ] && exit 0

missing=
# need PACKAGE [COMMAND]: a package counts as present when its command is there, however it came.
need() {
    if [ $# -gt 1 ] && command -v "$2" >/dev/null 2>&1; then
        return
    fi
    if dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null | grep -qx installed; then
        return
    fi
    missing="$missing $1"
}

optional=
for group in "$@"; do
    case $group in
        build)
            need g++ g++
            need cmake cmake
            need ninja-build ninja
            ;;
        test)
            need libgtest-dev
            need pkg-config pkg-config
            need binutils readelf
            ;;
        bench)
            need libbenchmark-dev
            need pkg-config pkg-config
            optional="libpixman-1-dev libyuv-dev libvips-dev libleptonica-dev libswscale-dev"
            ;;
        check)
            need clang clang++
            need clang-format clang-format
            need clang-tidy clang-tidy
            need libbenchmark-dev
            need python3 python3
            ;;
        docs)
            need doxygen doxygen
            ;;
        *)
            echo "setup.sh: no such group: $group (build, test, bench, check, docs)" >&2
            exit 2
            ;;
    esac
done

required=$missing
missing=
for package in $optional; do
    need "$package"
done
wished=$missing

# An optional package that could not be had is not asked for again before the next `make clean`.
cd "$(dirname "$0")/.."
tried=build/optional-packages-tried
if [ -n "$wished" ] && [ "$(cat $tried 2>/dev/null)" = "$wished" ]; then
    wished=
fi

[ -z "$required$wished" ] && exit 0

if [ "$(id -u)" = 0 ]; then
    asRoot=
elif sudo -n true 2>/dev/null; then
    asRoot="sudo -n"
else
    asRoot=no
fi

if [ "$asRoot" = no ] || ! command -v apt-get >/dev/null 2>&1; then
    [ -n "$wished" ] && echo "Optional packages not installed:$wished" >&2
    [ -z "$required" ] && exit 0
    echo "Please install these packages (Debian's names), then try again, or set TOV_SETUP=0 if they are there:$required" >&2
    exit 1
fi

# install PACKAGE...
install() {
    $asRoot env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "$@" </dev/null >"$log" 2>&1
}

log=$(mktemp)
trap 'rm -f "$log"' EXIT
echo "Installing:$required$wished" >&2
$asRoot apt-get update -qq </dev/null >"$log" 2>&1 || true
if [ -n "$required" ] && ! install $required; then
    cat "$log" >&2
    echo "Please install these packages, then try again:$required" >&2
    exit 1
fi
failed=
for package in $wished; do
    if ! install "$package"; then
        echo "Going on without $package" >&2
        failed="$failed $package"
    fi
done
if [ -n "$failed" ]; then
    mkdir -p build
    echo "$failed" >$tried
fi
