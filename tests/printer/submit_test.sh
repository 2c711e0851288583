#!/usr/bin/env bash
# A PNG, a PWG raster page and a two-page PDF, each sent with ipptool and with
# `zelpgen-printer submit`: every print file that reaches the file:// device passes
# `zelpgen inspect` and its render shows the source page (printer_check compare: same shape,
# colours within 12 on average and within 80 in 90% of a 24-cell grid).
. "$PRINTER_TESTS/server.sh"

server_start
mkdir "$WORK/out"
printer_add lf zelpgen_sheet "file://$WORK/out"

# The documents, all from the same two pages; the source pictures at 30 dpi.
gs_run() { gs -q -dSAFER -dBATCH -dNOPAUSE "$@" "$PRINTER_TESTS/pages.ps"; }
gs_run -sDEVICE=png16m -r30 -sOutputFile="$WORK/source-%d.png"
gs_run -sDEVICE=png16m -r30 -dLastPage=1 -sOutputFile="$WORK/page.png"
# 8-bit sRGB, as the printer announces (pwg-raster-document-type-supported).
gs_run -sDEVICE=pwgraster -r300 -dcupsColorSpace=19 -dcupsBitsPerColor=8 -dLastPage=1 \
  -sOutputFile="$WORK/page.pwg"
gs_run -sDEVICE=pdfwrite -sOutputFile="$WORK/pages.pdf"

# Checks what job $1 ($2 pages) left on the device.
check_arrival() {
  local name=$1 pages=$2 file=$WORK/out/$1.prn
  [ -s "$file" ] || fail "$name: nothing reached the device"
  local count
  count=$("$PRINTER_CHECK" split "$file" "$WORK/$name") || fail "$name: not a sequence of print files"
  [ "$count" = "$pages" ] || fail "$name: $count print files for $pages pages"
  for page in $(seq "$pages"); do
    "$ZELPGEN" inspect "$WORK/$name-$page.dat" >"$WORK/inspect.txt" ||
      fail "$name page $page: inspect says $(tail -1 "$WORK/inspect.txt")"
    "$ZELPGEN" render "$WORK/$name-$page.dat" -o "$WORK/$name-render-%d.png" --width 240 ||
      fail "$name page $page: cannot render"
    "$PRINTER_CHECK" compare "$WORK/$name-render-1.png" "$WORK/source-$page.png" ||
      fail "$name page $page: the render does not show the source page"
  done
  rm -f "$file"
  spool_clean
}

ipptool_print() { # NAME FORMAT FILE
  timeout 120 ipptool -c -d name="$1" -d format="$2" -f "$3" "$(uri_of lf)" \
    "$PRINTER_TESTS/print-job.test" | sed -n 2p
}
submit_print() { # NAME FILE
  local out
  out=$(client submit -d lf -t "$1" -o media=iso_a4_210x297mm -o printer-resolution=300dpi "$2") ||
    fail "$1: submit failed"
  echo "${out##*-}"
}

while read -r name format file pages; do
  id=$(ipptool_print "ipp-$name" "$format" "$WORK/$file") && [ -n "$id" ] || fail "ipp-$name: refused"
  [ "$(job_wait lf "$id")" = completed ] || fail "ipp-$name: $(job_message lf "$id")"
  check_arrival "ipp-$name" "$pages"

  id=$(submit_print "submit-$name" "$WORK/$file")
  [ "$(job_wait lf "$id")" = completed ] || fail "submit-$name: $(job_message lf "$id")"
  check_arrival "submit-$name" "$pages"
done <<LIST
png image/png page.png 1
pwg image/pwg-raster page.pwg 1
pdf application/pdf pages.pdf 2
LIST
echo "submit_test: all documents printed"
