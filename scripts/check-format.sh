#!/bin/sh
# Checks the layout of every C and C++ file against .clang-format; with --fix, puts it right.
set -eu
cd "$(dirname "$0")/.."

# Versions of clang-format differ in detail, so the one that the project is written with comes first.
clangFormat=clang-format
if command -v clang-format-14 >/dev/null 2>&1; then
    clangFormat=clang-format-14
fi

mode="--dry-run -Werror"
[ "${1:-}" = --fix ] && mode=-i
find include src tests bench examples \( -name '*.h' -o -name '*.c' -o -name '*.cpp' \) -print0 |
    xargs -0 -r "$clangFormat" --style=file $mode
