#!/bin/sh
# Runs clang-tidy over the library, the benchmarks and the examples; the tests have the compilers' warnings.
# With file names, runs over those alone.
set -eu
cd "$(dirname "$0")/.."

runner=run-clang-tidy
if command -v run-clang-tidy-14 >/dev/null 2>&1; then
    runner=run-clang-tidy-14
fi

# clang's own command lines: clang-tidy does not know all of g++'s options.
cmake --preset clang >/dev/null
log=$(mktemp)
trap 'rm -f "$log"' EXIT
status=0
root=$(pwd)
[ $# -gt 0 ] || set -- "^$root/(src|bench|examples)/"
"$runner" -quiet -p build/clang -j "${JOBS:-2}" "$@" >"$log" 2>&1 || status=$?
# What is left out is the runner's own account of its commands and of warnings it has not shown.
sed 's/\x1b\[[0-9;]*m//g' "$log" | grep -Ev '^clang-tidy|^[0-9]+ warnings? generated|^$|^Enabled checks' || true
exit $status
