#!/bin/sh
# What the cases of run.sh cannot hold: FIFOs and devices as files of a job, a print file that
# cannot be written whole, a signal during a job, two jobs for one print file and an image
# changed while it is read. Each ends the way the program says, and leaves the images as they
# were. Waits are bounded.
#
# usage: guard.sh ZELPGEN WORK
set -u
zelpgen=$1 work=$2
here=$(cd "$(dirname "$0")" && pwd)
rm -rf "$work" && mkdir -p "$work" && cd "$work" || exit 1
export TZ=UTC LC_ALL=C
failed=0
fail() { echo "FAIL $*"; failed=1; }

cp "$here"/images/gray.tif .
# job PAGES OUT: a job printing gray.tif on PAGES pages into OUT.
job() { sed -e "s|@PAGES@|$1|" -e "s|@OUT@|$2|" -e "s|@IMAGE@|gray.tif|" "$here/job.cfg.in"; }
job 1 job.dat >small.cfg
job 200 job.dat >pages.cfg
job 60000 job.dat >long.cfg
cp gray.tif gray.orig

# expect NAME STATUS STDERR-LINE COMMAND...: the exit status and the last line on stderr.
expect() {
  name=$1 want=$2 line=$3
  shift 3
  timeout 20 "$@" >out.txt 2>err.txt
  got=$?
  [ "$got" = "$want" ] || fail "$name: status $got, not $want"
  [ "$(tail -n 1 err.txt)" = "$line" ] || fail "$name: stderr: $(cat err.txt)"
}

# Until COMMAND succeeds (at most 10 s).
await() {
  i=0
  while ! "$@" && [ $i -lt 200 ]; do sleep 0.05; i=$((i + 1)); done
  "$@" || fail "waited in vain for: $*"
}
stderr_is() { [ "$(cat err.txt)" = "$1" ]; }

mkfifo fifo.tif
sed 's/gray.tif/fifo.tif/' small.cfg >fifo.cfg
expect fifo-image 1 'zelpgen: fifo.cfg:17: [Image] ImageFileK: fifo.tif is a FIFO, not a regular file' \
  "$zelpgen" print fifo.cfg
expect fifo-image-check 1 'zelpgen: fifo.cfg:17: [Image] ImageFileK: fifo.tif is a FIFO, not a regular file' \
  "$zelpgen" check fifo.cfg
mkfifo fifo.cfg.job
expect fifo-job 1 'zelpgen: fifo.cfg.job: the job file is a FIFO, not a regular file' \
  "$zelpgen" print fifo.cfg.job
mkdir definitions && mkfifo definitions/zelpgencmd.inf
(cd definitions && expect fifo-definitions 1 \
  'zelpgen: zelpgencmd.inf: the command definition file is a FIFO, not a regular file' \
  "$zelpgen" print ../small.cfg
  exit $failed) || failed=1

job 1 /dev/full >full.cfg
expect device-full 1 'zelpgen: /dev/full: the print file is not complete, writing it failed: No space left on device' \
  "$zelpgen" print full.cfg

# A file size limit: the write fails (SIGXFSZ is ignored), the partial file is set aside.
(ulimit -f 4 && expect size-limit 1 \
  'zelpgen: job.dat: the print file is not complete, writing it failed: File too large; kept as job.dat.failed' \
  "$zelpgen" print pages.cfg
  exit $failed) || failed=1
[ ! -e job.dat ] && [ -e job.dat.failed ] && [ ! -e job.dat.part ] || fail "size-limit: files left: $(ls job.dat*)"
expect print-after-failure 0 '' "$zelpgen" print pages.cfg
[ -e job.dat ] && [ ! -e job.dat.failed ] || fail "print-after-failure: files left: $(ls job.dat*)"
rm -f job.dat

for signal in TERM:143 INT:130; do
  status=${signal#*:} signal=${signal%:*}
  "$zelpgen" print long.cfg >out.txt 2>err.txt &
  pid=$!
  await test -s job.dat.part
  kill -$signal $pid
  wait $pid
  got=$?
  [ $got = "$status" ] || fail "signal $signal: status $got"
  stderr_is 'zelpgen: job.dat: stopped by a signal: the unfinished print file is kept as job.dat.failed' ||
    fail "signal $signal: stderr: $(cat err.txt)"
  [ ! -e job.dat ] && [ -e job.dat.failed ] && [ ! -e job.dat.part ] || fail "signal $signal: files left: $(ls job.dat*)"
  rm -f job.dat.failed
done

# The scratch file of --strict goes with the signal too.
mkdir scratch
TMPDIR=$work/scratch "$zelpgen" print --strict long.cfg >out.txt 2>err.txt &
pid=$!
await sh -c '[ -n "$(find scratch -type f -size +0)" ]'
kill -INT $pid
wait $pid
[ $? = 130 ] || fail "strict signal: status"
[ -z "$(ls scratch)" ] || fail "strict signal: scratch left: $(ls scratch)"
[ ! -e job.dat ] && [ ! -e job.dat.failed ] || fail "strict signal: files left: $(ls job.dat*)"

# Another job holding the print file: --no-wait fails, a plain print waits for it.
echo old >job.dat
exec 9>job.dat.part
flock 9
expect no-wait 1 'zelpgen: job.dat: another job is writing this print file (--no-wait)' \
  "$zelpgen" print --strict --no-wait small.cfg
"$zelpgen" print small.cfg >out.txt 2>err.txt 9>&- &
pid=$!
await stderr_is 'zelpgen: waiting for another job writing job.dat'
[ "$(cat job.dat)" = old ] && [ ! -e job.dat.failed ] || fail "wait: job.dat touched while held"
exec 9>&-
wait $pid
[ $? = 0 ] && "$zelpgen" inspect job.dat >/dev/null || fail "wait: no whole job.dat after the wait"
rm -f job.dat
# Two at once: both print, one after the other.
"$zelpgen" print pages.cfg >/dev/null 2>&1 &
pid=$!
"$zelpgen" print pages.cfg >/dev/null 2>&1 || fail "together: second job failed"
wait $pid || fail "together: first job failed"
"$zelpgen" inspect job.dat >/dev/null || fail "together: job.dat is not one whole job"
cp gray.orig gray.tif

# An image cut while the job reads it. The print file is a FIFO the test reads: once a byte
# has come the job has begun, and it cannot end before the FIFO is drained.
mkfifo out.fifo
job 2000 out.fifo >cut.cfg
"$zelpgen" print cut.cfg >out.txt 2>err.txt &
pid=$!
timeout 20 dd if=out.fifo bs=1 count=1 2>/dev/null >/dev/null
truncate -s 100 gray.tif
timeout 20 cat out.fifo >/dev/null
wait $pid
[ $? = 1 ] || fail "cut image: status"
stderr_is 'zelpgen: cut.cfg:17: [Image] ImageFileK: gray.tif changed while the job read it' ||
  fail "cut image: stderr: $(cat err.txt)"
cp gray.orig gray.tif

cmp -s gray.tif "$here/images/gray.tif" || fail "gray.tif changed"
exit $failed
