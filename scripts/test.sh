#!/usr/bin/env bash
# Checks that folders include one way, then builds and runs every test: GCC plain, GCC under
# AddressSanitizer and UndefinedBehaviorSanitizer, and Clang; then installs the plain build and
# uses it as a host would (consumer-test.sh). Each variant takes its own build type, so one run
# compiles all four between them.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/check-includes.sh
bash scripts/deps.sh test
jobs="$(nproc)"
for variant in plain sanitize clang; do
  dir="build/test-$variant"
  flags=(-DZELPGEN_BUILD_TESTS=ON -DZELPGEN_BUILD_BENCH=OFF -DZELPGEN_WERROR=ON)
  case "$variant" in
    plain) flags+=(-DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER=g++) ;;
    sanitize) flags+=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=g++ -DZELPGEN_SANITIZE=ON) ;;
    clang) flags+=(-DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER=clang++) ;;
  esac
  echo "== $variant build =="
  cmake -S . -B "$dir" "${flags[@]}" >/dev/null
  cmake --build "$dir" -j"$jobs"
  echo "== $variant tests =="
  ASAN_OPTIONS=allocator_may_return_null=1:detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
    ctest --test-dir "$dir" -j"$jobs" --output-on-failure --no-tests=error
done
echo "== consumer tests =="
bash scripts/consumer-test.sh build/test-plain
