#!/bin/sh
# Fails when the manual page and the program's usage texts name different options: each
# command's options (`zelpgen COMMAND --help`) against its ".SS COMMAND" part of
# docs/zelpgen.1, and the program's own (`zelpgen --help`, less the commands') against OPTIONS.
#   scripts/man-options.sh ZELPGEN
set -eu
zelpgen=$1
root=$(cd "$(dirname "$0")/.." && pwd)
page=$root/docs/zelpgen.1
status=0

# The options named in a text: words that start with - or -- after a blank or a bracket.
options() {
  sed 's/\\-/-/g' | grep -oE '(^|[][ (|,`])--?[a-z][a-z-]*' | sed 's/^[^-]*//' | sort -u
}
# The lines of the page from the heading $1 up to the next heading.
part() {
  awk -v head="$1" '$0 == head { on = 1; next } /^\.S[HS]( |$)/ { on = 0 } on' "$page"
}
compare() {
  what=$1 program=$2 documented=$3
  for o in $(comm -23 "$program" "$documented"); do
    echo "docs/zelpgen.1: $what: $o is not listed (the usage text has it)" >&2
    status=1
  done
  for o in $(comm -13 "$program" "$documented"); do
    echo "docs/zelpgen.1: $what: $o is listed, but the usage text has no such option" >&2
    status=1
  done
}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
: >"$work/commands"
for command in print check inspect render; do
  "$zelpgen" "$command" --help | options >"$work/$command"
  cat "$work/$command" >>"$work/commands"
  part ".SS $command" | options >"$work/$command.page"
  compare "$command" "$work/$command" "$work/$command.page"
done
sort -u "$work/commands" -o "$work/commands"
"$zelpgen" --help | options | comm -23 - "$work/commands" >"$work/own"
part ".SH OPTIONS" | options >"$work/own.page"
compare "OPTIONS" "$work/own" "$work/own.page"
exit $status
