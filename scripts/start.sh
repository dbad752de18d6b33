#!/usr/bin/env bash
# Sets up, builds and starts the helper, which puts its icon in the panel's
# tray (and tracks without one if the desktop has none). Extra arguments go
# to the helper.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh"
cmake -S "$root" -B "$root/build" -G Ninja -DVORLIX_TESTS=OFF -DVORLIX_BENCH=OFF >/dev/null
cmake --build "$root/build" --target vorlix-helper
exec "$root/build/src/app/vorlix-helper" "$@"
