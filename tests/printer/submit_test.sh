#!/usr/bin/env bash
# A PNG, a PWG raster page, a two-page PDF and a print file, each sent with ipptool and with
# `zelpgen-printer submit` (which leaves the type to the server): every print file that reaches the file:// device passes
# `zelpgen inspect` and its render shows the source page (printer_check compare: same shape,
# colours within 12 on average and within 80 in 90% of a 24-cell grid, and but for the PNG, in
# place within 4 dots).
. "$PRINTER_TESTS/server.sh"

# Bands of at most 8 MB: an A4 page at 300 dpi (35 MB of ink) goes out as five images.
server_start -o image-limit=8
mkdir "$WORK/out"
printer_add lf zelpgen_sheet "file://$WORK/out"

# The documents, all from the same two pages; the source pictures at 150 dpi.
gs_run() { gs -q -dSAFER -dBATCH -dNOPAUSE "$@" "$PRINTER_TESTS/pages.ps"; }
gs_run -sDEVICE=png16m -r150 -sOutputFile="$WORK/source-%d.png"
gs_run -sDEVICE=png16m -r30 -dLastPage=1 -sOutputFile="$WORK/page.png"
# 8-bit sRGB, as the printer announces (pwg-raster-document-type-supported).
gs_run -sDEVICE=pwgraster -r300 -dcupsColorSpace=19 -dcupsBitsPerColor=8 -dLastPage=1 \
  -sOutputFile="$WORK/page.pwg"
gs_run -sDEVICE=pdfwrite -sOutputFile="$WORK/pages.pdf"

# Checks what job $1 ($2 pages) left on the device; $3: its one page's source picture.
check_arrival() {
  local name=$1 pages=$2 file=$WORK/out/$1.prn source=${3:-}
  [ -s "$file" ] || fail "$name: nothing reached the device"
  local count
  count=$("$PRINTER_CHECK" split "$file" "$WORK/$name") || fail "$name: not a sequence of print files"
  [ "$count" = "$pages" ] || fail "$name: $count print files for $pages pages"
  for page in $(seq "$pages"); do
    "$ZELPGEN" inspect "$WORK/$name-$page.dat" >"$WORK/inspect.txt" ||
      fail "$name page $page: inspect says $(tail -1 "$WORK/inspect.txt")"
    # Rendered at 150 dpi like the source: the patches must cover the paper from its edges,
    # within 2 pixels. The PNG page (and the native file made from it) is as large as the paper,
    # more than the printable area, so PAPPL fits it within the margins: its shape is checked.
    local dpi place=2
    case ${name#*-} in png | native) place= ;; esac
    dpi=$(sed -n 's/^ *@PJL SET HRESOLUTION=\([0-9]*\)$/\1/p' "$WORK/inspect.txt")
    "$ZELPGEN" render "$WORK/$name-$page.dat" -o "$WORK/$name-render-%d.png" --scale $((dpi / 150)) ||
      fail "$name page $page: cannot render"
    "$PRINTER_CHECK" compare "$WORK/$name-render-1.png" "${source:-$WORK/source-$page.png}" $place ||
      fail "$name page $page: the render does not show the source page"
  done
  if [ "${name#*-}" = native ]; then cmp -s "$file" "$WORK/native.dat" || fail "$name: changed on its way"; fi
  rm -f "$file"
  spool_clean
}

ipptool_print() { # NAME FORMAT FILE
  timeout 120 ipptool -c -d name="$1" -d format="$2" -f "$3" "$(uri_of lf)" \
    "$PRINTER_TESTS/print-job.test" | sed -n 2p
}
submit_print() { # NAME FILE: with the operator's options, which the first page must carry
  local out
  out=$(client submit -d lf -t "$1" -o media=iso_a4_210x297mm -o printer-resolution=300dpi \
    -o print-quality=high -o media-type=photographic-glossy -o cutting-type=cut \
    -o drying-method=time -o drying-time=30 "$2") || fail "$1: submit failed"
  echo "${out##*-}"
}

while read -r name format file pages; do
  id=$(ipptool_print "ipp-$name" "$format" "$WORK/$file") && [ -n "$id" ] || fail "ipp-$name: refused"
  [ "$(job_wait lf "$id")" = completed ] || fail "ipp-$name: $(job_message lf "$id")"
  check_arrival "ipp-$name" "$pages"
  # The print file of that page comes back as a document of its own, sent unchanged.
  [ "$name" = png ] && cp "$WORK/ipp-png-1.dat" "$WORK/native.dat"

  id=$(submit_print "submit-$name" "$WORK/$file")
  [ "$(job_wait lf "$id")" = completed ] || fail "submit-$name: $(job_message lf "$id")"
  "$ZELPGEN" inspect "$WORK/out/submit-$name.prn" >"$WORK/inspect.txt" || true
  for attribute in "Quality(2042) = 3" "Medium(2029) = 39" "(2217) = 2" "(2219) = 30"; do
    [ "$name" = native ] || grep -qF "$attribute" "$WORK/inspect.txt" ||
      fail "submit-$name: the print file lacks $attribute"
  done
  check_arrival "submit-$name" "$pages"
done <<LIST
png image/png page.png 1
pwg image/pwg-raster page.pwg 1
pdf application/pdf pages.pdf 2
native application/vnd.zelpgen-print native.dat 1
LIST

# A 3-inch square at 100 pixels an inch fits the printable area: printed at its size (not
# enlarged to fit), in the middle of the paper.
gs -q -dSAFER -dBATCH -dNOPAUSE -sDEVICE=png16m -r100 -g300x300 -o "$WORK/square.png" \
  -c '1 0 0 setrgbcolor 0 0 216 216 rectfill showpage'
gs -q -dSAFER -dBATCH -dNOPAUSE -sDEVICE=png16m -r150 -g1240x1754 -o "$WORK/source-square.png" \
  -c '1 0 0 setrgbcolor 189.5 313 216 216 rectfill showpage'
id=$(submit_print submit-square "$WORK/square.png")
[ "$(job_wait lf "$id")" = completed ] || fail "submit-square: $(job_message lf "$id")"
check_arrival submit-square 1 "$WORK/source-square.png"
echo "submit_test: all documents printed"
