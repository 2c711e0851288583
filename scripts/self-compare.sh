#!/bin/sh
# Runs the same generated jobs through two builds and reports the first differing byte of any
# print file, stdout, stderr or exit status (see scripts/self-compare/). Exit 1 on a difference.
#   scripts/self-compare.sh BUILD_A BUILD_B [--seed N] [--jobs N] [--work DIR] [--first]
#                           [--skip host|cli|check]...
# --first stops at the first differing job (for mutation runs); --skip leaves out a run whose
# output is meant to differ between the builds (check, when the program's checks changed).
set -eu
here=$(cd "$(dirname "$0")/self-compare" && pwd)
[ $# -ge 2 ] || { echo "usage: $0 BUILD_A BUILD_B [--seed N] [--jobs N] [--work DIR] [--first]" >&2; exit 2; }
a=$1 b=$2
shift 2
seed=1 jobs=2000 work=${TMPDIR:-/tmp}/zelpgen-self-compare first= skip=
while [ $# -gt 0 ]; do
  case $1 in
    --seed) seed=$2; shift 2 ;;
    --jobs) jobs=$2; shift 2 ;;
    --work) work=$2; shift 2 ;;
    --first) first=--first; shift ;;
    --skip) skip="$skip --skip $2"; shift 2 ;;
    *) echo "unknown option $1" >&2; exit 2 ;;
  esac
done
rm -rf "$work/jobs" && mkdir -p "$work"
python3 "$here/gen_jobs.py" "$work/jobs" --seed "$seed" --jobs "$jobs"
python3 "$here/compare.py" "$a" "$b" "$work/jobs" "$work" $first $skip
