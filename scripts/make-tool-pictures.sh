#!/usr/bin/env bash
# Draws the pictures the voxel tools ship with ImageMagick: the logo tool's
# default picture and the three views of the sketch replay (a pawn seen from
# the front and the side, and from above). Odd sizes and asymmetric shapes,
# so that a flipped or shifted row shows. Run from the source tree's root.
set -euo pipefail
cd "$(dirname "$0")/.."
mkdir -p data/ToolsPresets data/Replays
convert -size 121x77 xc:black -fill white \
  -draw "polygon 8,68 8,10 60,10 60,26 26,26 26,34 52,34 52,48 26,48 26,68" \
  -draw "circle 88,40 88,14" -fill black -draw "circle 92,36 92,28" -fill white \
  -draw "rectangle 70,60 114,70" -type TrueColor BMP3:data/ToolsPresets/LogoSample.bmp
# The pawn's profile: a head, a collar, a body widening to a foot; the side
# view carries a notch on its right so the two are told apart.
pawn="circle 32,14 32,4 rectangle 22,24 42,28 polygon 26,28 38,28 46,70 18,70 rectangle 12,70 52,78"
convert -size 65x83 xc:black -fill white -draw "$pawn" -type Grayscale data/Replays/sketch_front.png
convert -size 65x83 xc:black -fill white -draw "$pawn" -fill black -draw "rectangle 37,46 60,54" \
  -type Grayscale data/Replays/sketch_side.png
convert -size 65x83 xc:black -fill white -draw "circle 32,41 32,21" -type Grayscale data/Replays/sketch_top.png
