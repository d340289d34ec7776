#!/usr/bin/env bash
# Installs what is missing, builds, and runs Morvane. With a display it opens
# the window; without one it runs the headless start-up and a fixed number of
# frames and says where its files went.
set -euo pipefail
root=$(cd "$(dirname "$0")" && pwd)
"$root/scripts/deps.sh"
"$root/scripts/build.sh"
build=${MORVANE_BUILD:-$root/build}
rundir="$build/run"
mkdir -p "$rundir"
# The program opens Xmls/, Shaders/, textures/ ... relative to its working folder.
for d in "$root"/data/*/; do
  ln -sfn "$d" "$rundir/$(basename "$d")"
done
cd "$rundir"
if [[ -z "${DISPLAY:-}" && -z "${WAYLAND_DISPLAY:-}" ]]; then
  exec "$build/bin/morvane" --headless "$@"
fi
exec "$build/bin/morvane" "$@"
