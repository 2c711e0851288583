#!/usr/bin/env bash
# Figures of zelpgen-printer for an A0 page at 600 dpi from a PDF (bench/printer_bench.ps):
#  1. Ghostscript alone, with the arguments the printer gives it: the page rendered to nothing,
#     and rendered to a CMYK TIFF (tiff32nc) in the work folder, which is what a job must get to.
#  2. The printer's PDF path without the server (printer_bench: Ghostscript through the pipe,
#     rows converted to ink and dropped), when that program was built.
#  3. The whole job through a zelpgen-printer server on a loopback port with a file:// device:
#     time from submission to the job's completion, the server's peak RSS (VmHWM; Ghostscript
#     and zelpgen run as children and are not counted), the spool folder's peak size (sampled
#     every 0.25 s) beside the page's TIFF size and the print file's. CPU seconds beside the
#     times: on a shared machine they say more than the wall clock.
# Usage: bench/printer_bench.sh [BUILD-DIR]   (default build/dev)
# Environment: BENCH_DRIVER (zelpgen_sheet), BENCH_DPI (600), KEEP_WORK=1 keeps the folder.
set -euo pipefail
ROOT=$(cd "$(dirname "$0")/.." && pwd)
BUILD=$(cd "${1:-$ROOT/build/dev}" && pwd)
DPI=${BENCH_DPI:-600}
DRIVER=${BENCH_DRIVER:-zelpgen_sheet}
PRINTER=$(find "$BUILD" -name zelpgen-printer -type f -perm -u+x | head -1)
ZELPGEN=$(find "$BUILD" -name zelpgen -type f -perm -u+x | head -1)
MODULE_BENCH=$(find "$BUILD" -name printer_bench -type f -perm -u+x | head -1)

WORK=$(mktemp -d "${TMPDIR:-/tmp}/zelpgen-printer-bench.XXXXXX")
SERVER_PID=
TAIL_PID=
cleanup() {
  [ -z "$TAIL_PID" ] || kill "$TAIL_PID" 2>/dev/null || true
  if [ -n "$SERVER_PID" ]; then
    kill "$SERVER_PID" 2>/dev/null || true
    for _ in $(seq 50); do kill -0 "$SERVER_PID" 2>/dev/null || break; sleep 0.1; done
    kill -9 "$SERVER_PID" 2>/dev/null || true
    wait "$SERVER_PID" 2>/dev/null || true
  fi
  [ -n "${KEEP_WORK:-}" ] || rm -rf "$WORK"
}
trap cleanup EXIT
trap 'exit 1' INT TERM

now() { date +%s.%N; }
since() { echo "$(now) $1" | awk '{printf "%.2f", $1 - $2}'; }
mb() { awk -v b="$1" 'BEGIN {printf "%.0f MB", b / 1e6}'; }

PDF=$WORK/a0.pdf
gs -q -dSAFER -dBATCH -dNOPAUSE -sDEVICE=pdfwrite -sOutputFile="$PDF" "$ROOT/bench/printer_bench.ps"
echo "document: A0 poster ($(stat -c %s "$PDF") bytes of PDF) at $DPI dpi"

GS=(gs -q -dSAFER -dBATCH -dNOPAUSE -dNOPROMPT "-r$DPI" -sBandListStorage=memory
  -dMaxBitmap=10000000 -dBufferSpace=4000000)
# CPU seconds (user + system) of a process and the children it waited for, from /proc.
cpu_of() { awk -v hz="$(getconf CLK_TCK)" '{print ($14 + $15 + $16 + $17) / hz}' "/proc/$1/stat"; }
start=$(now)
TIMEFORMAT=%U+%S
{ time "${GS[@]}" -sDEVICE=ppmraw -sOutputFile=/dev/null "$PDF" 2>&3; } 3>&2 2>"$WORK/gs_null.cpu"
gs_null=$(since "$start")
start=$(now)
{ time "${GS[@]}" -sDEVICE=tiff32nc -sOutputFile="$WORK/page.tif" "$PDF" 2>&3; } 3>&2 2>"$WORK/gs_tiff.cpu"
gs_tiff=$(since "$start")
tiff_bytes=$(stat -c %s "$WORK/page.tif")
rm -f "$WORK/page.tif"
cpu() { awk -F+ '{printf "%.2f", $1 + $2}' "$1"; }
echo "ghostscript alone: $gs_null s to nothing, $gs_tiff s to a CMYK TIFF of $(mb "$tiff_bytes")" \
  "(CPU $(cpu "$WORK/gs_null.cpu") s and $(cpu "$WORK/gs_tiff.cpu") s)"

if [ -n "$MODULE_BENCH" ]; then
  (cd "$WORK" && "$MODULE_BENCH" "$PDF" "$DPI" | sed 's/^/printer_bench: /')
else
  echo "printer_bench: not built (configure with -DZELPGEN_BUILD_BENCH=ON)"
fi

if [ -z "$PRINTER" ] || [ -z "$ZELPGEN" ]; then
  echo "whole job: zelpgen-printer or zelpgen not built in $BUILD"
  exit 0
fi
export TMPDIR=$WORK SNAP_COMMON=$WORK # the clients find the server's socket here
mkdir -p "$WORK/spool" "$WORK/out"
port_in_use() { (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null; }
for _ in 1 2 3 4 5; do
  PORT=$((20000 + RANDOM % 30000))
  port_in_use "$PORT" && continue
  "$PRINTER" server -o server-port="$PORT" -o spool-directory="$WORK/spool" \
    -o log-file="$WORK/server.log" -o log-level=debug -o zelpgen="$ZELPGEN" \
    >"$WORK/server.out" 2>&1 &
  SERVER_PID=$!
  for _ in $(seq 200); do
    kill -0 "$SERVER_PID" 2>/dev/null || break
    port_in_use "$PORT" && break
    sleep 0.1
  done
  port_in_use "$PORT" && break
  kill "$SERVER_PID" 2>/dev/null || true
  wait "$SERVER_PID" 2>/dev/null || true
  SERVER_PID=
done
[ -n "$SERVER_PID" ] || { cat "$WORK/server.out" >&2; echo "the server did not start" >&2; exit 1; }
sleep 0.5
timeout 60 "$PRINTER" add -d bench -m "$DRIVER" -v "file://$WORK/out" >/dev/null
timeout 60 "$PRINTER" modify -d bench -o media-default=iso_a0_841x1189mm \
  -o printer-resolution-default="${DPI}dpi" -o print-color-mode-default=color >/dev/null
rss_before=$(awk '/^VmHWM/ {print $2}' "/proc/$SERVER_PID/status")
cpu_before=$(cpu_of "$SERVER_PID")

cat >"$WORK/get-job.test" <<'EOF'
{
  OPERATION Get-Job-Attributes
  GROUP operation-attributes-tag
  ATTR charset attributes-charset utf-8
  ATTR naturalLanguage attributes-natural-language en
  ATTR uri printer-uri $uri
  ATTR integer job-id $job
  ATTR name requesting-user-name bench
  STATUS successful-ok
  DISPLAY job-state
  DISPLAY job-state-message
}
EOF
# The debug log rotates at 1 MB: its job lines are kept as they come (tail ends with the server).
tail -n +1 -F --pid="$SERVER_PID" "$WORK/server.log" 2>/dev/null | grep --line-buffered '\[Job ' >"$WORK/job.log" &
TAIL_PID=$!
start=$(now)
out=$(timeout 60 "$PRINTER" submit -d bench -t a0 "$PDF")
job=${out##*-}
spool_peak=0
state=
for _ in $(seq 12000); do
  used=$(du -sb "$WORK/spool" | cut -f1)
  [ "$used" -gt "$spool_peak" ] && spool_peak=$used
  state=$(ipptool -c -d job="$job" "ipp://localhost:$PORT/ipp/print/bench" "$WORK/get-job.test" |
    sed -n 2p)
  case "$state" in completed* | aborted* | canceled*) break ;; esac
  sleep 0.25
done
job_time=$(since "$start")
sleep 0.5
kill "$TAIL_PID" 2>/dev/null || true
rss_peak=$(awk '/^VmHWM/ {print $2}' "/proc/$SERVER_PID/status")
job_cpu=$(awk -v a="$cpu_before" -v b="$(cpu_of "$SERVER_PID")" 'BEGIN {printf "%.2f", b - a}')
print_bytes=$(find "$WORK/out" -type f -printf '%s\n' | awk '{s += $1} END {print s + 0}')
echo "whole job: $job_time s, ended $state (CPU $job_cpu s: the server, Ghostscript, zelpgen)"
# Where the time went, from the job log: rendering and band images, then zelpgen.
stamp() { grep -m1 "\[Job $job\] $1" "$WORK/job.log" | sed 's/^. \[[^T]*T\([^Z]*\)Z.*/\1/' |
  awk -F: '{print $1 * 3600 + $2 * 60 + $3}'; }
t_start=$(stamp "Starting print job") t_bands=$(stamp "Page 1 written") t_end=$(stamp "zelpgen ended")
if [ -n "$t_start" ] && [ -n "$t_bands" ] && [ -n "$t_end" ]; then
  awk -v a="$t_start" -v b="$t_bands" -v c="$t_end" \
    'BEGIN {printf "  of which: %.2f s PDF to band images, %.2f s zelpgen\n", b - a, c - b}'
fi
echo "server peak RSS: $((rss_peak / 1024)) MB ($((rss_before / 1024)) MB before the job)"
echo "spool peak: $(mb "$spool_peak"); page TIFF $(mb "$tiff_bytes") + print file $(mb "$print_bytes")"
echo "job / ghostscript: $(awk -v j="$job_time" -v n="$gs_null" -v t="$gs_tiff" \
  'BEGIN {printf "%.2fx of rendering to nothing, %.2fx of rendering to a TIFF", j / n, j / t}')"
