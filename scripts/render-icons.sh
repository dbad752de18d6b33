#!/usr/bin/env bash
# Renders the PNG icons from their SVG sources in src/ui/icons (needs
# rsvg-convert, Debian package librsvg2-bin). The PNGs are committed, so a
# build never needs the renderer; run this after changing an SVG.
#   - the status item's images at 22 and 44 px (the item's own size and twice
#     that for 2x screens), built into the helper;
#   - the application icon at the hicolor theme's sizes, installed.
set -euo pipefail
icons=$(cd "$(dirname "$0")/../src/ui/icons" && pwd)
command -v rsvg-convert >/dev/null || { echo "rsvg-convert is missing (librsvg2-bin)" >&2; exit 1; }
for name in vorlix-menubar vorlix-menubar-70 vorlix-menubar-faded vorlix-menubar-white; do
  for size in 22 44; do
    rsvg-convert -w "$size" -h "$size" "$icons/$name.svg" -o "$icons/$name-$size.png"
  done
done
mkdir -p "$icons/hicolor"
for size in 16 22 24 32 48 64 128 256; do
  rsvg-convert -w "$size" -h "$size" "$icons/vorlix-helper.svg" -o "$icons/hicolor/vorlix-helper-$size.png"
done
