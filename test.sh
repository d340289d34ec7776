#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test through ctest.
set -euo pipefail
root=$(cd "$(dirname "$0")" && pwd)
"$root/scripts/deps.sh" --tests
"$root/scripts/build.sh"
cd "${MORVANE_BUILD:-$root/build}"
ctest --output-on-failure -j "$(nproc)" --timeout 600
