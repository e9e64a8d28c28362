#!/usr/bin/env bash
# Fails when a source includes what its layer may not use. The allowed arrows
# (drawn in docs/architecture.md):
#
#   app-code (model views preview browse app) -> diag, platform, each other
#   diag  -> platform
#   host  -> platform
#   shell -> host, platform
#   programs, tests, bench -> anything
#
# The app's code also stays off the machine: no files, sockets, threads or
# clocks of its own (it goes through the platform). Includes are by path from
# the project root; "../" paths are refused everywhere, since they would slip
# past the build's per-layer include roots.
#
#   scripts/check-includes.sh [ROOT]     (ROOT defaults to the project)
set -euo pipefail
root="${1:-$(cd "$(dirname "$0")/.." && pwd)}"
cd "$root"

allowed_layers() {
  case "$1" in
    platform) echo "platform" ;;
    diag) echo "platform diag" ;;
    host) echo "platform host" ;;
    model | views | preview | browse | app) echo "platform diag model views preview browse app" ;;
    shell) echo "platform host shell" ;;
    *) echo "*" ;;
  esac
}

# System headers the app's code must not use directly.
forbidden_system='^(filesystem|fstream|thread|chrono|ctime|time\.h|dirent\.h|fcntl\.h|unistd\.h|pthread\.h|sys/.*|netinet/.*|arpa/.*|poll\.h|signal\.h|csignal|future)$'

failures=0
fail() {
  echo "check-includes: $1" >&2
  failures=$((failures + 1))
}

while IFS= read -r -d '' file; do
  layer="${file%%/*}"
  allowed="$(allowed_layers "$layer")"
  lineno=0
  while IFS= read -r line; do
    lineno=$((lineno + 1))
    [[ "$line" =~ ^[[:space:]]*#[[:space:]]*include[[:space:]]*([\"\<])([^\"\>]+)[\"\>] ]] || continue
    kind="${BASH_REMATCH[1]}"
    target="${BASH_REMATCH[2]}"
    if [[ "$target" == *../* || "$target" == ..* ]]; then
      fail "$file:$lineno: relative include \"$target\" (include by path from the project root)"
      continue
    fi
    if [[ "$kind" == '"' ]]; then
      included="${target%%/*}"
      [[ "$allowed" == "*" ]] && continue
      if [[ " $allowed " != *" $included "* ]]; then
        fail "$file:$lineno: $layer/ may not include $target"
      fi
    elif [[ " platform diag host shell programs tests bench " != *" $layer "* ]]; then
      if [[ "$target" =~ $forbidden_system ]]; then
        fail "$file:$lineno: $layer/ may not use <$target> (go through the platform)"
      fi
    fi
  done <"$file"
done < <(find platform host diag model views preview browse app shell -type f \
  \( -name '*.h' -o -name '*.cpp' \) -print0 2>/dev/null)

if ((failures > 0)); then
  echo "check-includes: $failures forbidden include(s)" >&2
  exit 1
fi
echo "check-includes: every include follows the layers"
