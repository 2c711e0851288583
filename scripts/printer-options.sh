#!/bin/sh
# Prints the options table of docs/printer-app.md (scripts/doc-blocks.sh puts it in place): one
# row per IPP value of the printer application's mapping table (kTable of
# tools/zelpgen-printer/drivers.cpp) with the job configuration lines it becomes, in table order.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
source=$root/tools/zelpgen-printer/drivers.cpp
header=$root/tools/zelpgen-printer/drivers.h
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export LC_ALL=C

# Names the table uses for vendor attributes: inline constexpr const char* kName = "value";
sed -n 's/^inline constexpr const char\* \(k[A-Za-z]*\) = "\([^"]*\)";$/\1 \2/p' "$header" \
  >"$work/names"

# The rows: the initializer of kTable, comments dropped, each {...} split into its five fields
# (string literals unescaped, names looked up), one tab-separated line each.
awk '
  FILENAME == ARGV[1] { name[$1] = $2; next }
  /kTable = \{/ { inside = 1; next }
  inside && /^};/ { inside = 0 }
  inside { sub(/[ \t]*\/\/.*$/, ""); text = text " " $0 }
  END {
    depth = 0; n = 0
    for (i = 1; i <= length(text); i++) {
      c = substr(text, i, 1)
      if (c == "\"") {
        s = ""
        for (i++; substr(text, i, 1) != "\""; i++) {
          if (substr(text, i, 1) == "\\") i++
          s = s substr(text, i, 1)
        }
        field[n++] = s
      } else if (c ~ /[A-Za-z_]/) {
        id = ""
        for (; substr(text, i, 1) ~ /[A-Za-z0-9_]/; i++) id = id substr(text, i, 1)
        i--
        if (!(id in name)) { print "unknown name " id > "/dev/stderr"; exit 1 }
        field[n++] = name[id]
      } else if (c == "{") {
        n = 0
      } else if (c == "}") {
        if (n != 5) { print "a row without five fields near: " substr(text, i - 60, 60) > "/dev/stderr"; exit 1 }
        print field[0] "\t" field[1] "\t" field[2] "\t" field[3] "\t" field[4]
      }
    }
  }
' "$work/names" "$source" >"$work/rows"
[ -s "$work/rows" ] || { echo "no rows found in $source" >&2; exit 1; }

# One table row per attribute and value, its lines joined.
awk -F '\t' '
  function flush() {
    if (key != "") printf "| `%s` | %s | %s |\n", attr, shown(value), lines
  }
  function shown(v) {
    if (v == "*") return "a number *n*"
    if (v == "*named") return "any size named above"
    if (v == "*custom") return "any other size, roll lengths"
    return "`" v "`"
  }
  BEGIN {
    print "| IPP attribute | value | job configuration |"
    print "| --- | --- | --- |"
  }
  {
    line = "`[" $3 "] " $4 "=" $5 "`"
    gsub(/\{n\}/, "`*n*`", line)
    gsub(/``/, "", line)
    if ($1 "\t" $2 == key) { lines = lines "<br>" line; next }
    flush()
    key = $1 "\t" $2; attr = $1; value = $2; lines = line
  }
  END { flush() }
' "$work/rows"
