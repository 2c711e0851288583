#!/usr/bin/env bash
# Installs the Debian packages that are missing: deps.sh [build|test|bench|fuzz]
set -euo pipefail
export DEBIAN_FRONTEND=noninteractive
packages=(cmake g++ make libpng-dev libtiff-dev pkg-config)
case "${1:-build}" in
  test) packages+=(libgtest-dev libgmock-dev libtiff-dev libpng-dev pkg-config binutils clang clang-format-14) ;;
  bench) packages+=(libgtest-dev libgmock-dev libtiff-dev libpng-dev libbenchmark-dev pkg-config libtiff-tools) ;;
  fuzz) packages+=(libgtest-dev libgmock-dev libtiff-dev pkg-config clang-14 libclang-rt-14-dev) ;;
esac
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if ((${#missing[@]})); then
  apt-get update
  apt-get install -y "${missing[@]}"
fi
