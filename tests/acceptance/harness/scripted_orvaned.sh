#!/bin/sh
# Stands in for the server. First it notes how it was started, before any interpreter changes that; then it does what
# the test tells it over a socket.
here=$(dirname "$0")/../told
cat /proc/$$/environ >"$here/environ.$$"
while read -r line; do echo "$line"; done </proc/$$/status >"$here/status.$$"
exec /usr/bin/python3 -IS "$here/scripted_orvaned.py" "$here" "$@"
