#!/usr/bin/env bash
# Fails when a tracked C or C++ file differs from what clang-format 14 makes of it. The version
# is pinned because each release formats some constructs differently.
set -euo pipefail
cd "$(dirname "$0")/.."
format=clang-format-14
bad=0
while IFS= read -r file; do
  if ! "$format" --style=file "$file" | cmp -s - "$file"; then
    echo "not formatted: $file (run: $format -i $file)"
    bad=1
  fi
done < <(git ls-files '*.c' '*.cpp' '*.h')
exit "$bad"
