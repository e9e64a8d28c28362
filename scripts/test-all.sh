#!/usr/bin/env bash
# Runs every test: installs what it needs, then
#  1. g++ build with warnings as errors, address and undefined-behaviour
#     sanitizers: the whole suite;
#  2. the browser tests of the screen: that build's program in Debian's
#     chromium, driven by playwright-core;
#  3. clang build with warnings as errors and the thread sanitizer: every
#     suite too (the model and view suites drive the real coordinator,
#     watchers and log queue);
#  4. the fuzz targets (clang, libFuzzer), each for a bounded time: the
#     screen's event parser, and the file-name rule held against ICU.
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

step "browser tests (chromium)"
(cd tests/browser && VELUNE_APP="$PWD/../../build/asan/programs/velunedriveapp" \
  ASAN_OPTIONS=detect_leaks=1 node --test --test-concurrency=1 .)

step "clang, thread sanitizer"
cmake --preset tsan >/dev/null
cmake --build --preset tsan
ctest --preset tsan

step "fuzzing the screen's event parser (${VELUNE_FUZZ_SECONDS:-60} s)"
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz
corpus="$(mktemp -d)"
trap 'rm -rf "$corpus"' EXIT
build/fuzz/shell/velune_screen_event_fuzzer -max_total_time="${VELUNE_FUZZ_SECONDS:-60}" -max_len=70000 \
  -rss_limit_mb=2048 -print_final_stats=0 "$corpus" shell/fuzz/corpus 2>&1 | tail -n 3

step "fuzzing the file-name rule against ICU (${VELUNE_FUZZ_SECONDS:-60} s)"
names="$(mktemp -d)"
trap 'rm -rf "$corpus" "$names"' EXIT
build/fuzz/model/velune_filename_fuzzer -max_total_time="${VELUNE_FUZZ_SECONDS:-60}" -max_len=256 \
  -rss_limit_mb=2048 -print_final_stats=0 "$names" model/fuzz/corpus 2>&1 | tail -n 3

step "all tests passed"
