#!/usr/bin/env bash
# Checks that folders include one way, then builds and runs every test twice: a plain build,
# then one with AddressSanitizer and UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/check-includes.sh
bash scripts/deps.sh test
jobs="$(nproc)"
for variant in plain sanitize; do
  dir="build/test-$variant"
  flags=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DZELPGEN_BUILD_TESTS=ON)
  [ "$variant" = sanitize ] && flags+=(-DZELPGEN_SANITIZE=ON)
  echo "== $variant build =="
  cmake -S . -B "$dir" "${flags[@]}" >/dev/null
  cmake --build "$dir" -j"$jobs"
  echo "== $variant tests =="
  ASAN_OPTIONS=allocator_may_return_null=1:detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
    ctest --test-dir "$dir" -j"$jobs" --output-on-failure
done
