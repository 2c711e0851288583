#!/usr/bin/env bash
# Installs the Debian packages that are missing: deps.sh [build|test|bench|fuzz]
set -euo pipefail
export DEBIAN_FRONTEND=noninteractive
packages=(cmake g++ make libpng-dev)
# The printer application and its tests: PAPPL, Ghostscript, LittleCMS, CUPS as a client and the
# IPP tools. Installed without recommends, so no avahi-daemon comes with them.
printer=(libpappl-dev ghostscript liblcms2-dev cups-daemon cups-client cups-ipp-utils)
case "${1:-build}" in
  test) packages+=(libgtest-dev libgmock-dev libtiff-dev libpng-dev pkg-config binutils clang
                   "${printer[@]}") ;;
  bench) packages+=(libgtest-dev libgmock-dev libtiff-dev libpng-dev libbenchmark-dev pkg-config libtiff-tools) ;;
  fuzz) packages+=(libgtest-dev libgmock-dev libtiff-dev pkg-config clang-14 libclang-rt-14-dev) ;;
esac
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if ((${#missing[@]})); then
  apt-get update
  apt-get install -y --no-install-recommends "${missing[@]}"
  # Nothing here may announce or send on the network.
  if dpkg-query -W -f='${Status}' avahi-daemon 2>/dev/null | grep -q 'install ok installed'; then
    echo "deps.sh: avahi-daemon is installed; remove it (apt-get purge avahi-daemon)" >&2
    exit 1
  fi
fi
