#!/usr/bin/env bash
# CUPS as the client: a cupsd of the test's own (configuration, spool, cache, state and logs in
# the test's folder, one loopback port, no browsing, no DNS-SD) makes a driverless queue for the
# running printer and prints a two-page PDF made by Ghostscript through it. Each page's print
# file that reaches the file:// device passes `zelpgen inspect`, carries the queue's options,
# and its render shows the PDF's page within printer_check compare's tolerance (same shape
# within 3%, colours of a 24-cell grid within 12 on average, blocks in place within 4 dots).
set -euo pipefail
. "${PRINTER_TESTS:?}/server.sh"

# CUPS turns a PDF into the queue's PDF with pdftopdf (Debian: cups-filters-core-drivers).
PATH=$PATH:/usr/sbin
for tool in cupsd lpadmin lp lpstat gs /usr/lib/cups/filter/pdftopdf; do
  command -v "$tool" >/dev/null || { echo "SKIP: $tool is not installed"; exit 77; }
done

CUPSD_PID=
cups_exit() {
  local status=$?
  set +e
  stop_pid CUPSD_PID
  if [ $status -ne 0 ] && [ -f "$WORK/cups/error_log" ]; then
    echo "--- last errors of cupsd:" >&2
    grep '^[EW] ' "$WORK/cups/error_log" | grep -v 'Filter .* not found\|banner' | tail -20 >&2
  fi
  (exit $status)
  on_exit
}
trap cups_exit EXIT

# As root, cupsd runs its filters and the ipp backend as lp, which must reach the test's folder.
chmod 755 "$WORK"
export HOME=$WORK LC_ALL=C

# Two A4 pages (72 points an inch) of blocks on white, in colours whose inks draw back exactly:
# four blocks, then one tall bar, so that a page swapped or lost shows.
gs -q -dSAFER -dBATCH -dNOPAUSE -sDEVICE=pdfwrite -o "$WORK/blocks.pdf" -c '
  <</PageSize [595 842]>> setpagedevice
  1 0 0 setrgbcolor 60 441 220 340 rectfill   0 1 0 setrgbcolor 315 441 220 340 rectfill
  0 0 1 setrgbcolor 60 60 220 340 rectfill     0.5 setgray 315 60 220 340 rectfill
  showpage
  0 1 1 setrgbcolor 200 100 150 640 rectfill   showpage'
# At 150 dpi a pixel is two of the printer's dots at 300 dpi.
gs -q -dSAFER -dBATCH -dNOPAUSE -sDEVICE=png16m -r150 -o "$WORK/source-%d.png" "$WORK/blocks.pdf"

server_start
mkdir "$WORK/out"
printer_add sheet zelpgen_sheet "file://$WORK/out"

cups=$WORK/cups
mkdir -p "$cups/conf" "$cups/spool/tmp" "$cups/cache" "$cups/state"
sed "s|@CUPS@|$cups|" "$PRINTER_TESTS/cups-files.conf.in" >"$cups/conf/cups-files.conf"
if [ "$(id -u)" = 0 ]; then printf 'User lp\nGroup lp\n' >>"$cups/conf/cups-files.conf"; fi

for _ in 1 2 3 4 5; do
  CUPS_PORT=$((20000 + RANDOM % 30000))
  port_in_use "$CUPS_PORT" && continue
  sed "s|@PORT@|$CUPS_PORT|" "$PRINTER_TESTS/cupsd.conf.in" >"$cups/conf/cupsd.conf"
  cupsd -t -c "$cups/conf/cupsd.conf" -s "$cups/conf/cups-files.conf" >"$cups/check.txt" 2>&1 ||
    fail "cupsd rejects the test's configuration: $(cat "$cups/check.txt")"
  cupsd -f -c "$cups/conf/cupsd.conf" -s "$cups/conf/cups-files.conf" >"$cups/out.txt" 2>&1 &
  CUPSD_PID=$!
  for _ in $(seq 200); do
    kill -0 "$CUPSD_PID" 2>/dev/null || break
    port_in_use "$CUPS_PORT" && break 2
    sleep 0.1
  done
  stop_pid CUPSD_PID
done
[ -n "$CUPSD_PID" ] || fail "cupsd did not start"
export CUPS_SERVER=127.0.0.1:$CUPS_PORT

timeout 60 lpadmin -p zelpgen -E -v "$(uri_of sheet)" -m everywhere ||
  fail "lpadmin -m everywhere failed"
# cupsd writes the queue's PPD from the printer's attributes in the background.
queue_ready() { lpoptions -p zelpgen -l 2>/dev/null | grep -q '^PageSize.*A4'; }
for _ in $(seq 120); do queue_ready && break; sleep 0.25; done
queue_ready || fail "the queue does not offer the printer's A4"

# Draft quality: the printer's lowest resolution, 300 dpi.
job=$(timeout 60 lp -d zelpgen -t blocks -o media=iso_a4_210x297mm -o print-quality=3 \
  "$WORK/blocks.pdf" | sed -n 's/^request id is zelpgen-\([0-9]*\) .*/\1/p')
[ -n "$job" ] || fail "lp did not queue the PDF"
# CUPS's ipp backend follows the printer's job, so CUPS's job ends when the printer's does.
cups_done() { grep -qE "\[Job $job\] Job (completed|stopped|canceled|aborted)" "$cups/error_log"; }
for _ in $(seq 1200); do cups_done && break; sleep 0.25; done
grep -q "\[Job $job\] Job completed" "$cups/error_log" ||
  fail "CUPS job $job did not complete: $(grep "\[Job $job\] \(Job\|Backend\)" "$cups/error_log" | tail -3)"
[ "$(job_wait sheet 1)" = completed ] || fail "the printer's job: $(job_message sheet 1)"

file=$WORK/out/blocks.prn
[ -s "$file" ] || fail "nothing reached the device"
count=$("$PRINTER_CHECK" split "$file" "$WORK/blocks") || fail "not a sequence of print files"
[ "$count" = 2 ] || fail "$count print files for two pages"
for page in 1 2; do
  "$ZELPGEN" inspect "$WORK/blocks-$page.dat" >"$WORK/inspect.txt" ||
    fail "page $page: inspect says $(tail -1 "$WORK/inspect.txt")"
  # The queue's options arrive: A4, draft at 300 dpi.
  for line in 'SET PAPER=A4$' 'SET HRESOLUTION=300$' 'Quality\(2042\) = [0-9]+ \(draft\)'; do
    grep -qE "$line" "$WORK/inspect.txt" || fail "page $page: the print file has no '$line'"
  done
  "$ZELPGEN" render "$WORK/blocks-$page.dat" -o "$WORK/render-$page-%d.png" --scale 2 ||
    fail "page $page: cannot render"
  # Rows lose their trailing white, so the render is only as wide as the rightmost ink; the
  # blocks must still sit where the PDF has them, within 2 pixels (4 dots) on every side.
  "$PRINTER_CHECK" compare "$WORK/render-$page-1.png" "$WORK/source-$page.png" 2 ||
    fail "page $page: the render does not show the PDF's page"
done
spool_clean
echo "cups_test: a two-page PDF printed through CUPS's driverless queue"
