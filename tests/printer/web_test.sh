#!/usr/bin/env bash
# The web interface in a real browser: headless Chromium loads the system page and a roll
# printer's pages, which must show the printer, its media, its defaults (with the vendor
# options) and a printed job; the printer's page is saved as a screenshot, copied to
# $WEB_SCREENSHOT when that is set.
set -euo pipefail
. "${PRINTER_TESTS:?}/server.sh"

browser=$(command -v chromium || command -v chromium-browser || true)
[ -n "$browser" ] || { echo "SKIP: chromium is not installed"; exit 77; }
export HOME=$WORK LC_ALL=C

server_start
mkdir "$WORK/out"
printer_add plotter zelpgen_roll44 "file://$WORK/out"

# A job to list: a small gray PNG.
gs -q -dSAFER -dBATCH -dNOPAUSE -sDEVICE=pnggray -r10 -g100x80 -o "$WORK/web-test-job.png" \
  -c '0.3 setgray 0 0 50 80 rectfill showpage'
out=$(client submit -d plotter -o print-quality=draft "$WORK/web-test-job.png") ||
  fail "submit failed"
id=${out##*-}
[ "$(job_wait plotter "$id")" = completed ] || fail "the job: $(job_message plotter "$id")"

# Chromium with nothing of its own going out: no sync, updates or other hosts.
browse() {
  timeout 90 "$browser" --headless --no-sandbox --disable-gpu --disable-quic --no-first-run \
    --disable-background-networking --disable-component-update --disable-sync \
    --disable-default-apps --disable-extensions \
    --host-resolver-rules="MAP * ~NOTFOUND, EXCLUDE localhost" \
    --user-data-dir="$(mktemp -d "$WORK/chromium.XXXXXX")" --window-size=1280,1600 "$@" \
    2>>"$WORK/chromium.log"
}
base=http://localhost:$PORT

# page URL TEXT...: the page, as the browser built it, holds every TEXT.
pages=0
page() {
  local url=$1 file=$WORK/page-$((++pages)).html text
  shift
  browse --dump-dom "$url" >"$file" || fail "chromium could not load $url"
  for text in "$@"; do
    grep -qF -- "$text" "$file" || fail "$url does not show '$text'"
  done
}
page "$base/" plotter "zelpgen Large Format 44in roll"
# The printer: its model, state and the job.
page "$base/plotter" "zelpgen Large Format 44in roll" "Idle" "web-test-job.png" "Completed"
# Defaults, as selected in their forms: resolution, the vendor options of a roll printer.
page "$base/plotter/printing" 'name="print-quality"' 'name="print-color-mode"' \
  'selected="">600dpi' '<select name="cutting-type"' '<select name="drying-method"' \
  'name="drying-time"' 'selected="">Auto'
# Media: the roll and what is loaded on it by default.
page "$base/plotter/media" "Main roll" 'selected="">A0' 'selected="">Stationery'

browse --screenshot="$WORK/printer.png" "$base/plotter" >/dev/null ||
  fail "chromium could not take the screenshot"
[ "$(head -c 8 "$WORK/printer.png" | od -An -tx1 | tr -d ' \n')" = 89504e470d0a1a0a ] ||
  fail "the screenshot is not a PNG"
if [ -n "${WEB_SCREENSHOT:-}" ]; then cp "$WORK/printer.png" "$WEB_SCREENSHOT"; fi
echo "web_test: the web interface shows the printer, its media, defaults and jobs"
