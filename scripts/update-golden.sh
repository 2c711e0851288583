#!/usr/bin/env bash
# Rewrites the expected/ folder of every case under tests/golden (or of the cases named) from
# what the library does now; review the change with `git diff tests/golden`.
set -euo pipefail
cd "$(dirname "$0")/.."
dir=build/golden
cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZELPGEN_BUILD_TESTS=ON >/dev/null
cmake --build "$dir" -j"$(nproc)" --target golden_tests
filter='*'
if [ $# -gt 0 ]; then
  filter=$(printf 'Cases/Golden.JobGivesItsExpectedOutcome/%s:' "${@//[^A-Za-z0-9]/_}")
fi
TZ=UTC ZELPGEN_UPDATE_GOLDEN=1 "$dir/tests/golden_tests" --gtest_filter="$filter"
git status --short tests/golden
