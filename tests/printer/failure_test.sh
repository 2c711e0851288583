#!/usr/bin/env bash
# Jobs that must fail, each inside itself: refused formats, unreadable documents, a failing or
# warning zelpgen child, a PDF reaching for a file outside its job, a page over the spool limit,
# a device that takes no data and one that cannot be opened. Every such job ends with its reason
# in job-state-message, the server answers, nothing stays in the spool, and the next job prints.
. "$PRINTER_TESTS/server.sh"

# A zelpgen that fails the pages of jobs named fail-child, warns on those of warn-child (and
# succeeds), and runs the real one otherwise.
cat >"$WORK/zelpgen" <<SCRIPT
#!/bin/sh
for cfg; do :; done
if /bin/grep -q '^JobName="fail-child' "\$cfg"; then echo "zelpgen: made to fail" >&2; exit 1; fi
if /bin/grep -q '^JobName="warn-child' "\$cfg"; then
  "$ZELPGEN" "\$@" || exit
  echo "zelpgen: warning: made to warn" >&2
  exit 0
fi
exec "$ZELPGEN" "\$@"
SCRIPT
chmod +x "$WORK/zelpgen"

server_start -o zelpgen="$WORK/zelpgen" -o spool-limit=64 -o time-limit=60
mkdir "$WORK/out" "$WORK/held"
printer_add lf zelpgen_sheet "file://$WORK/out"
printer_add full zelpgen_sheet "file:///dev/full"
printer_add held zelpgen_sheet "file://$WORK/held"

gs_run() { gs -q -dSAFER -dBATCH -dNOPAUSE "$@"; }
gs_run -sDEVICE=png16m -r30 -dLastPage=1 -sOutputFile="$WORK/page.png" "$PRINTER_TESTS/pages.ps"
# An A0 page: 558 MB of ink planes at 300 dpi, over the 64 MB spool limit.
printf '%%!PS\n<< /PageSize [2384 3370] >> setpagedevice 0 0 1 setrgbcolor 0 0 99 99 rectfill showpage\n' |
  gs_run -sDEVICE=pdfwrite -sOutputFile="$WORK/a0.pdf" -
head -c 3000 /dev/urandom >"$WORK/noise.bin"
printf '\211PNG\r\n\032\nnot really a picture' >"$WORK/bad.png"
printf '\377\330\377\340 not really a picture' >"$WORK/bad.jpg"
head -c 400 "$WORK/a0.pdf" >"$WORK/cut.pdf"
# PostScript under a PDF's name, with and without a PDF header: it must not read /etc/passwd
# (-dSAFER) nor print it.
reader='/Courier findfont 12 scalefont setfont 72 720 moveto (/etc/passwd) (r) file 100 string readstring pop show showpage'
printf '%%!PS\n%s\n' "$reader" >"$WORK/passwd.pdf"
printf '%%PDF-1.4\n%s\n%%%%EOF\n' "$reader" >"$WORK/passwd2.pdf"

send() { # PRINTER NAME FORMAT FILE: the job id
  timeout 120 ipptool -c -d name="$2" -d format="$3" -f "$4" "$(uri_of "$1")" \
    "$PRINTER_TESTS/print-job.test" | sed -n 2p
}

# The next job on lf prints a print file that inspects ok.
next_job_prints() {
  local id
  id=$(send lf "next-after-$1" image/png "$WORK/page.png")
  [ "$(job_wait lf "$id")" = completed ] || fail "after $1: the next job did not print"
  "$ZELPGEN" inspect "$WORK/out/next-after-$1.prn" | tail -1 | grep -qx ok ||
    fail "after $1: the next job's print file does not inspect ok"
}

# Documents the printer does not take: refused, or (PAPPL 1.3.1) aborted when they start.
for format in text/plain application/octet-stream; do
  id=$(timeout 60 ipptool -c -d format="$format" -f "$WORK/noise.bin" "$(uri_of lf)" \
    "$PRINTER_TESTS/refused.test" | sed -n 2p) || fail "$format: neither refused nor taken"
  if [ -n "$id" ]; then
    [ "$(job_wait lf "$id")" = aborted ] || fail "a $format document printed"
  fi
done

# Jobs that are aborted: printer, name, format, file, and what their message must say.
while IFS='|' read -r printer name format file reason; do
  id=$(send "$printer" "$name" "$format" "$WORK/$file")
  state=$(job_wait "$printer" "$id")
  message=$(job_message "$printer" "$id")
  [ "$state" = aborted ] || fail "$name: $state, not aborted ($message)"
  echo "$message" | grep -q -- "$reason" || fail "$name: message '$message' lacks '$reason'"
  echo "$name: aborted: $message"
  # Not a byte of a failed job reaches the device (PAPPL leaves the empty file it opened).
  [ ! -s "$WORK/out/$name.prn" ] || fail "$name: print data reached the device"
  server_answers "$printer"
  spool_clean
  next_job_prints "$name"
done <<LIST
lf|bad-png|image/png|bad.png|the PNG cannot be read
lf|bad-jpeg|image/jpeg|bad.jpg|
lf|cut-pdf|application/pdf|cut.pdf|
lf|fail-child|image/png|page.png|making the print file failed
lf|warn-child|image/png|page.png|failed: made to warn
lf|passwd|application/pdf|passwd.pdf|
lf|passwd2|application/pdf|passwd2.pdf|
lf|huge|application/pdf|a0.pdf|spool limit of 64
full|device-full|image/png|page.png|the device stopped taking data
LIST

# A device that cannot be opened holds the job until it can: here the file's name is taken by a
# folder, which is then removed.
mkdir "$WORK/held/held-job.prn"
id=$(send held held-job image/png "$WORK/page.png")
sleep 3
state=$(job_attribute held "$id" job-state)
[ "$state" = processing ] || [ "$state" = pending ] || fail "held-job: $state while the device is unavailable"
next_job_prints held-device
rmdir "$WORK/held/held-job.prn"
[ "$(job_wait held "$id")" = completed ] || fail "held-job did not print when the device came back"
"$ZELPGEN" inspect "$WORK/held/held-job.prn" | tail -1 | grep -qx ok || fail "held-job: bad print file"
echo "failure_test: every failure stayed inside its job"
