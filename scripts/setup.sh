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
  # Names with emoji on the screen (the page's font stack falls back to it).
  fonts-noto-color-emoji
  # The screen: its HTTP server, and the browser of its browser tests.
  libcpp-httplib-dev chromium
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

# Node and npm run the browser tests; a machine that has Node from elsewhere
# (with its own npm) keeps it.
if ! command -v node >/dev/null 2>&1; then
  missing+=(nodejs)
fi
if ! command -v npm >/dev/null 2>&1; then
  missing+=(npm)
fi

if [ "${#missing[@]}" -gt 0 ]; then
  echo "setup: installing ${missing[*]}" >&2
  sudo_cmd=()
  if [ "$(id -u)" -ne 0 ]; then
    sudo_cmd=(sudo)
  fi
  export DEBIAN_FRONTEND=noninteractive
  "${sudo_cmd[@]}" apt-get update -qq
  "${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

# playwright-core for the browser tests, exactly as the lock file pins it.
# It drives Debian's chromium: no browser is ever downloaded.
browser_tests="$(cd "$(dirname "$0")/.." && pwd)/tests/browser"
if ! cmp -s "$browser_tests/package-lock.json" "$browser_tests/node_modules/.installed-lock.json"; then
  (cd "$browser_tests" && PLAYWRIGHT_SKIP_BROWSER_DOWNLOAD=1 npm ci --no-audit --no-fund --loglevel=error &&
    cp package-lock.json node_modules/.installed-lock.json)
fi
