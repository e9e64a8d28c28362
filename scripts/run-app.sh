#!/usr/bin/env bash
# Runs the app on the built-in demo drive (or on --home DIR).
# Installs what it needs and builds first; pass further options to the app,
# e.g. scripts/run-app.sh -DRLogLevel 6
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release
exec build/release/programs/velunedriveapp "$@"
