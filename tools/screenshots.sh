#!/usr/bin/env bash
# Screenshots of the real program under Xvfb: the frame with two windows, three
# and four tiled in the first frame size, four in a wide frame, a buried
# emitter on a coloured background, My Soils adding a soil (computed by the
# real builder: half a minute); then an installed copy run by an ordinary
# user (nobody, when this runs as root) opening the options dialog for the
# first time and saving its settings.
#   tools/screenshots.sh [output folder]   (default: build/screenshots)
set -euo pipefail
cd "$(dirname "$0")/.."
out="${1:-build/screenshots}"
make build >/dev/null
cmake --build build --target ulvex-shots >/dev/null
mkdir -p "$out"
out=$(cd "$out" && pwd)
QT_QPA_PLATFORM=xcb xvfb-run -a -s "-screen 0 1920x1080x24" \
  build/tools/ulvex-shots "$out" "$PWD/assets/trickle.db" "$PWD/build/bin/trickle-build"

# The installed program, as an ordinary user.
work=$(mktemp -d)
trap 'chmod -R u+w "$work" 2>/dev/null; rm -rf "$work"; [ -n "${xvfb:-}" ] && kill "$xvfb" 2>/dev/null || true' EXIT
chmod 755 "$work"
cmake --install build --prefix "$work/usr" >/dev/null
cp build/tools/ulvex-shots "$work/usr/bin/"
home="$work/home"
mkdir -p "$home"
display=":$((200 + RANDOM % 500))"
Xvfb "$display" -ac -screen 0 1920x1080x24 >/dev/null 2>&1 &
xvfb=$!
sleep 1
run=(env -i PATH=/usr/bin:/bin HOME="$home" DISPLAY="$display" QT_QPA_PLATFORM=xcb)
if [ "$(id -u)" -eq 0 ]; then
  chown nobody:nogroup "$home"
  run=(setpriv --reuid=nobody --regid=nogroup --clear-groups "${run[@]}")
else
  chmod -R a-w "$work/usr/lib/ulvex"
fi
"${run[@]}" "$work/usr/bin/ulvex-shots" --installed "$work/usr/lib/ulvex" "$home/shots"
cp "$home"/shots/*.png "$out/"
echo "program folder after the run: $(ls "$work/usr/lib/ulvex" | tr '\n' ' ')"
