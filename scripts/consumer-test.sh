#!/usr/bin/env bash
# Installs a zelpgen build into a temporary prefix and uses it as a host would: a small C
# program built against the CMake package, through pkg-config and with add_subdirectory, the
# installed program, and examples/host. Each runs the example job and must write the expected
# print file.   consumer-test.sh [BUILD_DIR]
set -euo pipefail
cd "$(dirname "$0")/.."
root="$PWD"
build="${1:-build/test-plain}"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
prefix="$work/prefix"
cflags=(-DCMAKE_C_FLAGS="-Wall -Wextra -Werror")

fail() { echo "consumer test: $*" >&2; exit 1; }

# A staged install (DESTDIR) must hold the same files as a direct one, pkg-config file included.
cmake --install "$build" --prefix "$prefix" >/dev/null
DESTDIR="$work/stage" cmake --install "$build" --prefix "$prefix" >/dev/null
diff <(cd "$prefix" && find . | sort) <(cd "$work/stage$prefix" && find . | sort) ||
  fail "DESTDIR install differs"
pc="$(find "$prefix" -name zelpgen.pc)"
cmp "$pc" "$work/stage$prefix/${pc#"$prefix"/}" || fail "zelpgen.pc depends on DESTDIR"

export PKG_CONFIG_PATH="$(dirname "$pc")"
libdir="$(pkg-config --variable=libdir zelpgen)"
version="$(pkg-config --modversion zelpgen)"
grep -q "ZELPGEN_VERSION_STRING \"$version\"" "$prefix/include/zelpgen/version.h" ||
  fail "version.h does not say $version"
[ "$("$prefix/bin/zelpgen" --version)" = "zelpgen $version" ] || fail "zelpgen --version"
[ "$(readlink "$libdir/libzelpgen.so")" = libzelpgen.so.0 ] &&
  [ "$(readlink "$libdir/libzelpgen.so.0")" = "libzelpgen.so.$version" ] || fail "link chain"
readelf -d "$libdir/libzelpgen.so.$version" | grep -q 'SONAME.*\[libzelpgen\.so\.0\]' ||
  fail "SONAME is not libzelpgen.so.0"
[ "$(nm -D --defined-only "$libdir/libzelpgen.so.0" | awk '{print $3}')" = makeZELPData ] ||
  fail "the library exports more than makeZELPData"

# Runs the example job with PROGRAM in a fresh copy of examples/ and checks the print file.
run_example() {
  local name="$1" program="$2" dir="$work/run-$1"
  mkdir "$dir"
  cp examples/job.cfg examples/poster.tif examples/gray.bmp "$dir"
  (cd "$dir" && "$program" job.cfg >/dev/null)
  (cd "$dir" && sha256sum --quiet -c "$root/tests/consumer/job.dat.sha256") ||
    fail "$name: wrong print file"
  echo "consumer test: $name ok"
}

run_example installed-program "$prefix/bin/zelpgen"

cmake -S tests/consumer -B "$work/package" -DCMAKE_PREFIX_PATH="$prefix" "${cflags[@]}" >/dev/null
cmake --build "$work/package" >/dev/null
run_example find_package "$work/package/consumer"

cc -std=c99 -Wall -Wextra -Werror tests/consumer/consumer.c $(pkg-config --cflags --libs zelpgen) \
  -Wl,-rpath,"$libdir" -o "$work/consumer-pc"
run_example pkg-config "$work/consumer-pc"

# The embedded build compiles the library once more, in the one build type CI covers nowhere else.
cmake -S tests/consumer -B "$work/subdir" -DZELPGEN_SOURCE_DIR="$root" -DZELPGEN_WERROR=ON \
  -DCMAKE_BUILD_TYPE=MinSizeRel "${cflags[@]}" >/dev/null
cmake --build "$work/subdir" -j"$(nproc)" >/dev/null
run_example add_subdirectory "$work/subdir/consumer"

# The example host survives a job that ends its process and reports every outcome.
cmake -S examples/host -B "$work/host" -DCMAKE_PREFIX_PATH="$prefix" "${cflags[@]}" >/dev/null
cmake --build "$work/host" >/dev/null
(cd "$work/run-find_package" && rm job.dat &&
  { "$work/host/zelpgen-host" job.cfg missing.cfg job.cfg || true; } >"$work/host.out")
diff tests/consumer/host.expected "$work/host.out" || fail "example host"
(cd "$work/run-find_package" && sha256sum --quiet -c "$root/tests/consumer/job.dat.sha256") ||
  fail "example host: wrong print file"
echo "consumer test: example host ok"
