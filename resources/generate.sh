#!/bin/sh
# Draws the status icon's images anew from menubar.svg, at one, two and eight pixels a point (the last for
# large panels on sharp screens).
# Needs rsvg-convert (Debian package librsvg2-bin).
set -eu
cd "$(dirname "$0")"
rsvg-convert --width 18 --height 18 --output menubar.png menubar.svg
rsvg-convert --width 36 --height 36 --output menubar@2x.png menubar.svg
rsvg-convert --width 144 --height 144 --output menubar@8x.png menubar.svg
