#!/bin/sh
# Draws the 48 pixel icon anew from the scalable one. Needs rsvg-convert (Debian package librsvg2-bin).
set -eu
cd "$(dirname "$0")"
rsvg-convert --width 48 --height 48 --output audio.orvane.Orvane.png audio.orvane.Orvane.svg
