#!/usr/bin/env bash
# Installs the Debian packages that building (and, with --test, testing)
# needs. Idempotent: apt-get runs only when something is missing, and then
# updates its lists once. Works as root or through sudo.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=packages.sh
source "$here/packages.sh"

wanted=("${BUILD_PACKAGES[@]}")
if [[ "${1:-}" == "--test" ]]; then wanted+=("${TEST_PACKAGES[@]}"); fi

missing=()
for pkg in "${wanted[@]}"; do
  status=$(dpkg-query -W -f='${db:Status-Status}' "$pkg" 2>/dev/null || true)
  [[ "$status" == "installed" ]] || missing+=("$pkg")
done
if ((${#missing[@]} == 0)); then exit 0; fi

sudo=()
if [[ $(id -u) -ne 0 ]]; then sudo=(sudo); fi
echo "Installing: ${missing[*]}"
"${sudo[@]}" apt-get update -qq
DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y -qq --no-install-recommends \
  "${missing[@]}"
