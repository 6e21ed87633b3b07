#!/bin/sh
# Checks the shared library's exported names against a list, and that it needs nothing but the C run time.
# Usage: check_symbols.sh LIBRARY LIST NM READELF
set -eu
library=$1 list=$2 nm=$3 readelf=$4
status=0

# The version node itself is a defined absolute symbol.
names=$("$nm" -D --defined-only --format=posix "$library" |
    awk '!($2 == "A" && $1 ~ /^TOV_[0-9.]+(@@?TOV_[0-9.]+)?$/) { print $1 }' | LC_ALL=C sort)
wanted=$(awk '{ print $1 "@@TOV_2.1" }' "$list" | LC_ALL=C sort)
if [ "$names" != "$wanted" ]; then
    echo "exported names differ from $list (< wanted, > exported):"
    work=$(mktemp -d)
    echo "$wanted" >"$work/wanted"
    echo "$names" >"$work/names"
    diff "$work/wanted" "$work/names" || true
    rm -r "$work"
    status=1
fi

needed=$("$readelf" -d "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\].*/\1/p')
for need in $needed; do
    case $need in
        libc.so.* | libm.so.* | libpthread.so.* | ld-linux*.so.*) ;;
        *)
            echo "the library needs $need"
            status=1
            ;;
    esac
done
if "$readelf" -d "$library" | grep -E 'RPATH|RUNPATH'; then
    echo "the library carries a search path"
    status=1
fi
if ! "$readelf" -d "$library" | grep -q 'SONAME.*\[libtov\.so\.2\]'; then
    echo "the library's SONAME is not libtov.so.2"
    status=1
fi
exit $status
