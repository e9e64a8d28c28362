#!/usr/bin/env bash
# Runs the app on the built-in demo drive (or on --home DIR), made when it is
# missing. Installs what it needs and builds first. The app prints the address
# of its screen and opens it in a browser when a desktop is there. Pass
# further options to the app, e.g. scripts/run-app.sh --port 8080 -DRLogLevel 6
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release
exec build/release/programs/velunedriveapp --open "$@"
