#!/bin/sh
# Draws the status icon's images anew from menubar.svg, at one and two pixels a point.
# Needs rsvg-convert (Debian package librsvg2-bin).
set -eu
cd "$(dirname "$0")"
rsvg-convert --width 18 --height 18 --output menubar.png menubar.svg
rsvg-convert --width 36 --height 36 --output menubar@2x.png menubar.svg
