#!/usr/bin/env bash
# Installs, idempotently, every Debian package the project needs to build,
# test and run on a fresh Debian 12 machine. Safe to run again: packages that
# are already present are not touched.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config ccache
  g++ clang libclang-rt-14-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  libicu-dev libcairo2-dev libjpeg-dev nlohmann-json3-dev libsystemd-dev
  libspdlog-dev
  fonts-dejavu-core
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ "${#missing[@]}" -eq 0 ]; then
  exit 0
fi

echo "setup: installing ${missing[*]}" >&2
sudo_cmd=()
if [ "$(id -u)" -ne 0 ]; then
  sudo_cmd=(sudo)
fi
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
