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
  zlib1g-dev libfreetype-dev fonts-dejavu-core libxi-dev libx11-dev libxtst-dev
  libgtest-dev libgmock-dev libbenchmark-dev xvfb xdotool x11-apps locales
  libpng-dev libjpeg-dev libtiff-dev libopenexr-dev libassimp-dev libtinyobjloader-dev
)
# Inputs for the tests that nobody here wrote, and the tools that make them.
testdata=(
  glmark2-data openscad-testing-data minetest-data libcgal-demo assimp-testmodels imagemagick
  clang libclang-rt-dev
)
peers=(libopenvdb-dev libtbb-dev libboost-dev libmeshoptimizer-dev)

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

sudo=""
if [[ $(id -u) -ne 0 ]]; then sudo="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
if ((${#missing[@]} > 0)); then
  echo "Installing: ${missing[*]}"
  $sudo apt-get update -qq
  $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

# The number-format tests write files under a German locale, which must exist
# for them to prove anything.
if [[ " $* " == *" --tests "* ]] && ! locale -a 2>/dev/null | grep -qi '^de_DE\.utf-\?8$'; then
  echo "Generating the de_DE.UTF-8 locale"
  $sudo sed -i 's/^# *de_DE.UTF-8 UTF-8/de_DE.UTF-8 UTF-8/' /etc/locale.gen
  $sudo locale-gen >/dev/null
fi
