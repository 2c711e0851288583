#!/bin/sh
# Rewrites the expected stdout, stderr and status of the command-line cases from the programs
# in BUILD (default: build). Review the diff before committing it.
#   scripts/update-cli-tests.sh [BUILD] [CASE...]
set -e
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "${1:-$root/build}" && pwd)
[ $# -gt 0 ] && shift
cmake --build "$build" -j2 --target zelpgen_cli cli_make_data
sh "$root/tests/cli/run.sh" "$build/tools/zelpgen/zelpgen" "$build/tests/cli_make_data" \
  "$build/tests/cli-work" --update "$@"
