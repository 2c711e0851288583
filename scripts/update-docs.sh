#!/usr/bin/env bash
# Rewrites the generated key and symbol tables of docs/configuration.md from the reader's own
# tables; the notes beside them come from docs/keys.tsv.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh build
cmake -S . -B build/docgen -DZELPGEN_BUILD_TESTS=OFF >/dev/null
cmake --build build/docgen -j"$(nproc)" --target zelpgen_docgen
build/docgen/tools/docgen/docgen --write docs/configuration.md docs/keys.tsv
echo "docs/configuration.md is up to date"
