#!/bin/sh
# Rewrites, or with --check compares, the blocks of the docs that quote the program's own
# output: the common errors of configuration.md and the image problems of README.md (messages
# and statuses taken from the command-line cases, which tests/cli/run.sh holds against the real
# program), the inspect listing of command-definitions.md (the raw-packets example printed and
# inspected by ZELPGEN), and the printer application's options table in printer-app.md (from
# its mapping table).
#   scripts/doc-blocks.sh [--check] ZELPGEN
set -eu
check=0
if [ "${1:-}" = --check ]; then check=1; shift; fi
zelpgen=$(cd "$(dirname "$1")" && pwd)/$(basename "$1")
root=$(cd "$(dirname "$0")/.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export TZ=UTC LC_ALL=C
status=0

# replace DOC NAME FILE: the lines between <!-- output:NAME --> and <!-- end:NAME --> become FILE.
replace() {
  doc=$1 name=$2 block=$3
  grep -q "^<!-- output:$name -->\$" "$doc" || { echo "$doc has no block $name" >&2; exit 1; }
  awk -v open="<!-- output:$name -->" -v stop="<!-- end:$name -->" -v block="$block" '
    $0 == stop { skip = 0 }
    !skip { print }
    $0 == open { while ((getline line < block) > 0) print line; skip = 1 }
  ' "$doc" >"$work/doc"
  if cmp -s "$doc" "$work/doc"; then return; fi
  if [ $check = 1 ]; then
    echo "the $name block of $doc is out of date; run scripts/update-docs.sh" >&2
    diff -u "$doc" "$work/doc" >&2 || true
    status=1
  else
    cp "$work/doc" "$doc"
  fi
}

# Common errors: one row per case of docs/common-errors.tsv, its message as the program says it.
{
  echo '| The job has | `zelpgen check` says |'
  echo '|---|---|'
  grep -v '^#' "$root/docs/common-errors.tsv" | while IFS='	' read -r name what; do
    [ -n "$name" ] || continue
    message=$(sed -n 's/^zelpgen: //p' "$root/tests/cli/cases/$name/expected.stderr" | head -n 1)
    [ -n "$message" ] || { echo "no message in tests/cli/cases/$name" >&2; exit 1; }
    printf '| %s | `%s` |\n' "$what" "$message"
  done
} >"$work/errors"
replace "$root/docs/configuration.md" common-errors "$work/errors"

# Image problems: one row per case of docs/image-problems.tsv, with how `zelpgen job.cfg` ends
# and the first line it says on stderr.
{
  echo '| The image | `zelpgen JOB.cfg` ends with | and says on stderr (`check` and `--strict`: status 1) |'
  echo '|---|---|---|'
  grep -v '^#' "$root/docs/image-problems.tsv" | while IFS='	' read -r name what; do
    [ -n "$name" ] || continue
    case=$root/tests/cli/cases/$name
    [ ! -f "$case/args" ] || { echo "tests/cli/cases/$name is not run as zelpgen job.cfg" >&2; exit 1; }
    message=$(head -n 1 "$case/expected.stderr")
    printf '| %s | %s | `%s` |\n' "$what" "$(cat "$case/expected.status")" "$message"
  done
} >"$work/images"
replace "$root/README.md" image-problems "$work/images"

# The raw-packets example as inspect shows it.
mkdir "$work/job"
cp "$root"/examples/raw-packets/* "$work/job/"
(cd "$work/job" && "$zelpgen" job.cfg >/dev/null)
{
  echo '```'
  (cd "$work/job" && "$zelpgen" inspect job.dat)
  echo '```'
} >"$work/listing"
replace "$root/docs/command-definitions.md" raw-packets-inspect "$work/listing"

if [ -f "$root/tools/zelpgen-printer/drivers.cpp" ]; then
  sh "$root/scripts/printer-options.sh" >"$work/options"
  replace "$root/docs/printer-app.md" printer-options "$work/options"
fi
exit $status
