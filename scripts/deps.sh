#!/usr/bin/env bash
# Installs the Debian packages that Morvane needs to build, run and test.
# Idempotent: when every package is present it makes no apt call at all.
#   scripts/deps.sh          build, run and test needs
#   scripts/deps.sh --tests  also the test inputs that Debian ships (meshes, images)
#   scripts/deps.sh --peers  also the peer libraries of the side-by-side benchmarks
set -euo pipefail

packages=(
  g++ cmake ninja-build pkg-config
  libsdl2-dev libepoxy-dev libegl-dev libegl1-mesa-dev libgl1-mesa-dri
  zlib1g-dev
  libgtest-dev libgmock-dev libbenchmark-dev
)
# Inputs for the tests that nobody here wrote, and the tools that make them.
testdata=(
)
peers=(libopenvdb-dev libtbb-dev)

want=("${packages[@]}")
for arg in "$@"; do
  case "$arg" in
    --tests) want+=("${testdata[@]}") ;;
    --peers) want+=("${peers[@]}") ;;
    *) echo "deps.sh: unknown option $arg" >&2; exit 2 ;;
  esac
done

missing=()
for p in "${want[@]}"; do
  status=$(dpkg-query -W -f='${Status}' "$p" 2>/dev/null || true)
  [[ "$status" == "install ok installed" ]] || missing+=("$p")
done

if ((${#missing[@]} == 0)); then
  exit 0
fi

echo "Installing: ${missing[*]}"
sudo=""
if [[ $(id -u) -ne 0 ]]; then sudo="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
