#!/usr/bin/env bash
# Runs a fuzzing campaign: fuzz.sh TARGET [SECONDS]; TARGET names a file of tests/fuzz.
# Builds the target with libFuzzer, AddressSanitizer and UndefinedBehaviorSanitizer when
# needed, fuzzes from its corpus and past findings, merges new coverage into the corpus and
# exits non-zero on a finding (its input is kept under build/fuzz/findings/TARGET).
set -euo pipefail
cd "$(dirname "$0")/.."
target="${1:?usage: fuzz.sh TARGET [SECONDS]}"
seconds="${2:-60}"
[ -f "tests/fuzz/$target.cpp" ] || { echo "no fuzz target tests/fuzz/$target.cpp" >&2; exit 2; }
bash scripts/deps.sh fuzz
dir=build/fuzz
if [ ! -f "$dir/CMakeCache.txt" ]; then
  cmake -S . -B "$dir" -DCMAKE_CXX_COMPILER=clang++-14 -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DZELPGEN_FUZZ=ON -DZELPGEN_SANITIZE=ON -DCMAKE_CXX_FLAGS=-fsanitize=fuzzer-no-link >/dev/null
fi
cmake --build "$dir" -j2 --target "fuzz_$target"

# Images need room for a header, a table and some strips; text and rows do not. The cap keeps
# the committed corpus small.
case "$target" in
  tiff_reader | bmp_reader) max_len=8192 ;;
  *) max_len=4096 ;;
esac
corpus="tests/fuzz/corpus/$target"
regressions="tests/fuzz/regressions/$target"
found="$dir/campaign/$target"  # what this campaign adds, merged below
findings="$dir/findings/$target"
mkdir -p "$corpus" "$found" "$findings"
inputs=("$found" "$corpus")
[ -d "$regressions" ] && inputs+=("$regressions")
options=(-max_len="$max_len" -close_fd_mask=3 -timeout=30 -rss_limit_mb=2048)
# Configurations and definition files share one syntax dictionary.
case "$target" in
  config_reader | cmdfile_loader) options+=(-dict=tests/fuzz/config.dict) ;;
esac

status=0
"$dir/tests/fuzz/fuzz_$target" "${options[@]}" -max_total_time="$seconds" \
  -artifact_prefix="$findings/" -print_final_stats=1 "${inputs[@]}" || status=$?
"$dir/tests/fuzz/fuzz_$target" "${options[@]}" -merge=1 "$corpus" "$found"
rm -rf "$found"
if [ "$status" -ne 0 ]; then
  echo "finding in $findings; once fixed, copy it to $regressions" >&2
fi
exit "$status"
