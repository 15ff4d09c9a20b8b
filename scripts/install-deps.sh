#!/usr/bin/env bash
# Installs every Debian package that QV_Tools needs to build, test and benchmark.
# Idempotent: packages that are already installed are left alone. Works as root or through sudo.
set -euo pipefail

packages=(
  build-essential g++ cmake pkg-config ninja-build
  libxerces-c-dev
  libopencv-dev
  libgsl-dev
  libboost-thread-dev libboost-date-time-dev libboost-stacktrace-dev
  libgtest-dev libgmock-dev libbenchmark-dev
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  echo "install-deps: all ${#packages[@]} packages present"
  exit 0
fi

sudo_cmd=()
if [ "$(id -u)" -ne 0 ]; then
  sudo_cmd=(sudo)
fi
echo "install-deps: installing ${missing[*]}"
"${sudo_cmd[@]}" apt-get update -qq
DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
