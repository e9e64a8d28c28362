#!/usr/bin/env bash
# Runs every test: installs what it needs, then
#  1. g++ build with warnings as errors, address and undefined-behaviour
#     sanitizers: the whole suite;
#  2. clang build with warnings as errors and the thread sanitizer: the
#     suites labelled "threaded".
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh

start=$(date +%s)
step() { echo; echo "== $* ($(( $(date +%s) - start ))s)"; }

step "layers: every include follows the allowed arrows"
scripts/check-includes.sh

step "g++, address + undefined sanitizers"
cmake --preset asan >/dev/null
cmake --build --preset asan
ctest --preset asan

step "clang, thread sanitizer"
cmake --preset tsan >/dev/null
cmake --build --preset tsan
ctest --preset tsan

step "all tests passed"
