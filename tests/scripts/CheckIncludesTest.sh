#!/usr/bin/env bash
# The include check must refuse each kind of forbidden include planted in a
# copy of a small tree, and accept the same tree without it.
set -euo pipefail
check="$1"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

make_tree() {
  rm -rf "$work/tree"
  mkdir -p "$work/tree"/{platform,host,diag,model,views,shell}
  printf '#include "platform/URL.h"\n#include <thread>\n' >"$work/tree/host/Ok.cpp"
  printf '#include "diag/DRLogging.h"\n#include "views/UIUtils.h"\n#include <mutex>\n' >"$work/tree/model/Ok.cpp"
  printf '#include "host/Drive.h"\n#include "platform/URL.h"\n' >"$work/tree/shell/Ok.cpp"
}

expect() {  # expect pass|fail description
  local want="$1" what="$2" status=0
  "$check" "$work/tree" >/dev/null 2>"$work/err" || status=$?
  if [[ "$want" == pass && $status -ne 0 ]] || [[ "$want" == fail && $status -eq 0 ]]; then
    echo "FAILED: $what (exit $status)"; cat "$work/err"; exit 1
  fi
  echo "ok: $what"
}

make_tree
expect pass "a tree that follows the layers"

for plant in \
  'model/Bad.cpp:#include "host/drive/Drive.h"' \
  'views/Bad.h:#include "shell/Server.h"' \
  'host/Bad.cpp:#include "diag/DRLogging.h"' \
  'host/Bad.cpp:#include "model/DRItem.h"' \
  'diag/Bad.cpp:#include "model/DRItem.h"' \
  'platform/Bad.cpp:#include "host/HomeLayout.h"' \
  'shell/Bad.cpp:#include "app/AppDelegate.h"' \
  'model/Bad.cpp:#include <filesystem>' \
  'views/Bad.cpp:#include <thread>' \
  'model/Bad.cpp:#include <sys/stat.h>' \
  'model/Bad.cpp:#include "../host/HomeLayout.h"' \
  'model/Bad.cpp:  #  include "host/HomeLayout.h"'; do
  make_tree
  printf '%s\n' "${plant#*:}" >"$work/tree/${plant%%:*}"
  expect fail "refuses ${plant}"
done
