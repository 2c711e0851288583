#!/bin/sh
# Progress lines: on a terminal (a pseudo-terminal from script(1)) print, check and render show
# how far they are once ZELPGEN_PROGRESS_AFTER seconds have passed; with stderr in a file, or
# before the delay, nothing is shown.
#   usage: progress.sh ZELPGEN WORK
set -u
zelpgen=$1 work=$2
here=$(cd "$(dirname "$0")" && pwd)
command -v script >/dev/null || { echo "no script(1): skipped"; exit 77; }
rm -rf "$work" && mkdir -p "$work" && cd "$work" || exit 1
export TZ=UTC LC_ALL=C
failed=0

cp "$here"/progress.tif tall.tif  # 16 x 700 gray: three bands of rows
sed -e "s|@PAGES@|1|" -e "s|@OUT@|job.dat|" -e "s|@IMAGE@|tall.tif|" "$here/job.cfg.in" >job.cfg

# on_terminal DELAY COMMAND: what COMMAND writes to a terminal, given the delay.
on_terminal() {
  delay=$1
  shift
  ZELPGEN_PROGRESS_AFTER=$delay script -qec "$*" /dev/null </dev/null | tr '\r' '\n'
}
expect() {
  grep -q "$2" "$1" || { echo "FAIL: no '$2' in:"; cat -v "$1"; failed=1; }
}
refuse() {
  if grep -q "$2" "$1"; then echo "FAIL: '$2' shown in:"; cat -v "$1"; failed=1; fi
}

on_terminal 0 "$zelpgen" print job.cfg >print.out
expect print.out '^zelpgen print: 300 of 700 rows (42%), [0-9]* rows/s'
on_terminal 0 "$zelpgen" check job.cfg >check.out
expect check.out '^zelpgen check: 300 of 700 rows (42%), [0-9]* rows/s'
expect check.out 'job: job.cfg'
on_terminal 0 "$zelpgen" render job.dat -o page-%d.png >render.out
if ! grep -q 'without libpng' render.out; then
  expect render.out '^zelpgen render: page 1, [0-9]* KiB of [0-9]* KiB ([0-9]*%), [0-9.]* MiB/s'
fi
# Not before the delay, and never into a file.
on_terminal 3600 "$zelpgen" print job.cfg >late.out
refuse late.out 'rows'
ZELPGEN_PROGRESS_AFTER=0 "$zelpgen" print job.cfg >file.out 2>file.err
[ ! -s file.err ] || { echo "FAIL: stderr in a file:"; cat -v file.err; failed=1; }
exit $failed
