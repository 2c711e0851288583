#!/usr/bin/env bash
# Rewrites the generated key and symbol tables of docs/configuration.md from the reader's own
# tables (the notes beside them come from docs/keys.tsv), and the blocks that quote the
# program's output (scripts/doc-blocks.sh).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh build
cmake -S . -B build/docgen -DZELPGEN_BUILD_TESTS=OFF >/dev/null
cmake --build build/docgen -j"$(nproc)" --target zelpgen_docgen zelpgen_cli
build/docgen/tools/docgen/docgen --write docs/configuration.md docs/keys.tsv
sh scripts/doc-blocks.sh build/docgen/tools/zelpgen/zelpgen
echo "docs/ are up to date"
