#!/usr/bin/env bash
# Checks that folders include one way and that the sources are formatted (clang-format 14),
# then builds and runs every test: GCC plain, GCC under AddressSanitizer and
# UndefinedBehaviorSanitizer, and Clang; the tests that run whole jobs again under
# ThreadSanitizer (images of several bands are read on a second thread); then installs the plain
# build and uses it as a host would (consumer-test.sh). The first three variants take different
# build types, so that one run compiles Release, RelWithDebInfo and Debug. The printer
# application's tests (label printer: its server with ipptool, CUPS and Chromium as clients) run
# in the plain build only.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/check-includes.sh
bash scripts/deps.sh test
bash scripts/check-format.sh
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
  # The printer application's tests start servers and real clients: once, in the plain build.
  only=()
  [ "$variant" = plain ] || only=(-LE printer)
  ASAN_OPTIONS=allocator_may_return_null=1:detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
    ctest --test-dir "$dir" -j"$jobs" --output-on-failure --no-tests=error "${only[@]}"
done
dir=build/test-thread
echo "== thread build =="
cmake -S . -B "$dir" -DZELPGEN_BUILD_TESTS=ON -DZELPGEN_BUILD_BENCH=OFF -DZELPGEN_WERROR=ON \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=g++ -DZELPGEN_TSAN=ON >/dev/null
cmake --build "$dir" -j"$jobs" --target driver_tests golden_tests
echo "== thread tests =="
TSAN_OPTIONS=halt_on_error=1 ctest --test-dir "$dir" -j"$jobs" --output-on-failure \
  --no-tests=error -R '^(Jobs/RasterModes|RasterPages|Cases/Golden)'
echo "== consumer tests =="
bash scripts/consumer-test.sh build/test-plain
