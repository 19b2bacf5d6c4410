#!/usr/bin/env bash
# Screenshots of the real program under Xvfb: the frame with two windows, with
# four, and with a buried emitter on a coloured background.
#   tools/screenshots.sh [output folder]   (default: build/screenshots)
set -euo pipefail
cd "$(dirname "$0")/.."
out="${1:-build/screenshots}"
make build >/dev/null
cmake --build build --target ulvex-shots >/dev/null
mkdir -p "$out"
QT_QPA_PLATFORM=xcb xvfb-run -a -s "-screen 0 1920x1080x24" \
  build/tools/ulvex-shots "$out" "$PWD/assets/trickle.db"
