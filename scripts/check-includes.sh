#!/usr/bin/env bash
# Fails when a file under src/ includes a header of a folder its own folder may not use.
# Folders depend one way; each row names what a folder may include besides itself: a folder
# name allows all its headers, a folder/header.h path that header alone.
set -euo pipefail
cd "$(dirname "$0")/.."

declare -A allowed=(
  [text]=""
  [diag]=""
  [image]="diag"
  [zelp]=""
  [cmdfile]="text"
  [kelm]="zelp image diag"
  [config]="cmdfile text image zelp kelm diag"
  [inspect]="zelp/codes.h kelm/codes.h"
  [driver]="config cmdfile kelm zelp image diag zelpgen"
)

status=0
for dir in src/*/; do
  folder="$(basename "$dir")"
  if [ -z "${allowed[$folder]+set}" ]; then
    echo "check-includes: src/$folder has no row in the table of allowed folders" >&2
    status=1
    continue
  fi
  while IFS=: read -r file line target; do
    target="${target#*\"}"
    target="${target%%\"*}"
    case "$target" in
      */*) used="${target%%/*}" ;;
      *) used="$folder" ;;  # a header beside the file
    esac
    ok=0
    if [[ "$target" == ../* || "$target" == */../* ]]; then
      ok=0
    elif [ "$used" = "$folder" ]; then
      ok=1
    else
      for entry in ${allowed[$folder]}; do
        if [ "$entry" = "$used" ] || [ "$entry" = "$target" ]; then ok=1; fi
      done
    fi
    if [ "$ok" = 0 ]; then
      echo "check-includes: $file:$line: src/$folder may not include \"$target\"" >&2
      status=1
    fi
  done < <(grep -Hn '^[[:space:]]*#[[:space:]]*include[[:space:]]*"' "$dir"*.h "$dir"*.cpp 2>/dev/null || true)
done
exit "$status"
