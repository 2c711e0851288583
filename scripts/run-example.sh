#!/usr/bin/env bash
# Builds zelpgen and runs the bundled example job; the print file lands in examples/.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh build
cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release -DZELPGEN_BUILD_TESTS=OFF \
  -DZELPGEN_BUILD_BENCH=OFF >/dev/null
cmake --build build/release -j"$(nproc)" --target zelpgen_cli
cd examples
../build/release/tools/zelpgen/zelpgen job.cfg
echo "wrote examples/job.dat ($(stat -c %s job.dat) bytes)"
