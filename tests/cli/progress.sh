#!/bin/sh
# Progress lines: on a terminal (a pseudo-terminal from script(1)) print, check and render show
# how far they are once ZELPGEN_PROGRESS_AFTER seconds have passed; with stderr in a file, or
# before the delay, nothing is shown.
#   usage: progress.sh ZELPGEN WORK
set -u
zelpgen=$1 work=$2
command -v script >/dev/null || { echo "no script(1): skipped"; exit 77; }
rm -rf "$work" && mkdir -p "$work" && cd "$work" || exit 1
export TZ=UTC LC_ALL=C
failed=0

# le VALUE BYTES: VALUE as BYTES little-endian bytes.
le() {
  n=$1 i=0
  while [ "$i" -lt "$2" ]; do
    printf "\\$(printf %03o $((n & 255)))"
    n=$((n >> 8)) i=$((i + 1))
  done
}
entry() { le "$1" 2; le "$2" 2; le 1 4; le "$3" "$4"; [ "$4" = 2 ] && le 0 2; }

# A 16 x 700 gray TIFF: three bands of rows.
{
  printf 'II*\000'; le 8 4; le 9 2
  entry 256 3 16 2; entry 257 3 700 2; entry 258 3 8 2; entry 259 3 1 2; entry 262 3 1 2
  entry 273 4 122 4; entry 277 3 1 2; entry 278 3 700 2; entry 279 4 11200 4; le 0 4
  head -c 11200 /dev/zero
} >tall.tif
cat >job.cfg <<'CFG'
[Global]
OutFilePath="job.dat"
[ZELP]
JobTime="01/02/2026 03:04:05 GMT"
[KELM]
PrinterResolutionH=600
PrinterResolutionV=600
PaperName="A4"
PaperOrient="SHORTEDGE"
MarginTop=0
MarginBottom=0
MarginLeft=0
MarginRight=0
[Image]
ImageFileK="tall.tif"
ColorSpace=kelm_id_val_image_format_row_rgb_multi_level
CompressionMode=kelm_id_val_compression_packbits
NumOfPlanes=1
PixelDepthK=8
GraphicResolutionH=300
GraphicResolutionV=300
CFG

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
