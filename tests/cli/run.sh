#!/bin/sh
# Runs the command-line cases: each folder under cases/ is a job run from its own folder with
# the arguments in `args` (default: job.cfg), against expected.stdout, expected.stderr and
# expected.status. A job.cfg case is also run through the library alone, which must print what
# the program prints less its own "zelpgen:" lines, end the same way and write the same file;
# and `check` must end as `print --strict` does. A case with an expected.refused file is one the
# program refuses before the library runs (the library alone would harm an input): print must
# then fail with nothing on stdout. No run of the program may change a file of the case.
#
# usage: run.sh ZELPGEN MAKE_DATA WORK [--update] [CASE...]
set -u
zelpgen=$1 makedata=$2 work=$3
shift 3
update=0
if [ "${1:-}" = --update ]; then update=1; shift; fi
here=$(cd "$(dirname "$0")" && pwd)
mkdir -p "$work" && work=$(cd "$work" && pwd)
[ $# -gt 0 ] || set -- $(ls "$here/cases")
export TZ=UTC LC_ALL=C
failed=0

fail() { echo "FAIL $name: $*"; failed=1; }

# A fresh copy of the case with the shared images beside it; prints its path.
fresh() {
  d=$work/$name/$1
  rm -rf "$d" && mkdir -p "$d"
  cp "$here"/images/* "$d"/
  cp -R "$here/cases/$name"/. "$d"/
  rm -f "$d"/args "$d"/expected.*
  echo "$d"
}

# Fails when a run changed an input of the case in DIR (anything but the print file).
unchanged() {
  for f in "$here"/images/* "$here/cases/$name"/*; do
    base=${f##*/}
    case $base in args | expected.* | job.dat) continue ;; esac
    [ -f "$here/cases/$name/$base" ] && f=$here/cases/$name/$base
    [ -f "$f" ] || continue
    cmp -s "$f" "$1/$base" || fail "$base changed in the $(basename "$1") run"
  done
}

# run DIR OUT COMMAND...: stdout, stderr and status of COMMAND run in DIR into OUT.*; the
# folder it ran in reads CWD in them.
run() {
  dir=$1 out=$2
  shift 2
  (cd "$dir" && "$@" >"$out.stdout" 2>"$out.stderr"; echo $? >"$out.status")
  for part in stdout stderr; do
    if grep -qF "$dir" "$out.$part"; then
      sed "s|$dir|CWD|g" "$out.$part" >"$out.tmp" && mv "$out.tmp" "$out.$part"
    fi
  done
}

for name in "$@"; do
  case_dir=$here/cases/$name
  args=job.cfg
  [ -f "$case_dir/args" ] && args=$(cat "$case_dir/args")
  d=$(fresh cli)
  # shellcheck disable=SC2086
  run "$d" "$work/$name/got" "$zelpgen" $args
  unchanged "$d"
  for part in stdout stderr status; do
    if [ $update = 1 ]; then
      cp "$work/$name/got.$part" "$case_dir/expected.$part"
    elif ! diff -u "$case_dir/expected.$part" "$work/$name/got.$part"; then
      fail "$part differs"
    fi
  done
  [ -e "$case_dir/job.cfg" ] || continue

  p=$(fresh print) l=$(fresh library)
  run "$p" "$work/$name/print" "$zelpgen" print job.cfg
  if [ -f "$case_dir/expected.refused" ]; then
    [ "$(cat "$work/$name/print.status")" = 1 ] && [ ! -s "$work/$name/print.stdout" ] ||
      fail "print did not refuse before the library ran"
  else
    run "$l" "$work/$name/library" "$makedata" job.cfg
    cmp -s "$work/$name/print.stdout" "$work/$name/library.stdout" || fail "library stdout differs"
    grep -v '^zelpgen: ' "$work/$name/print.stderr" | cmp -s - "$work/$name/library.stderr" ||
      fail "library stderr differs"
    cmp -s "$work/$name/print.status" "$work/$name/library.status" ||
      fail "library status differs"
    # A failed print keeps what it wrote as job.dat.failed, never as job.dat.
    if [ "$(cat "$work/$name/print.status")" != 0 ] && [ -f "$p/job.dat" ]; then
      fail "print failed and left job.dat"
    elif [ -f "$p/job.dat.failed" ]; then
      cmp -s "$p/job.dat.failed" "$l/job.dat" || fail "job.dat.failed is not what the library left"
    elif [ -f "$l/job.dat" ] || [ -f "$p/job.dat" ]; then
      cmp -s "$p/job.dat" "$l/job.dat" || fail "print files differ"
    fi
  fi

  s=$(fresh strict) c=$(fresh check)
  run "$s" "$work/$name/strict" "$zelpgen" print --strict job.cfg
  run "$c" "$work/$name/check" "$zelpgen" check job.cfg
  cmp -s "$work/$name/strict.status" "$work/$name/check.status" ||
    fail "check and print --strict end differently"
  [ "$(cat "$work/$name/strict.status")" = 0 ] || [ ! -f "$s/job.dat" ] ||
    fail "print --strict failed and left job.dat"
  for dir in "$p" "$l" "$s" "$c"; do unchanged "$dir"; done
done
exit $failed
