#!/bin/sh
# Stands in for the server. First it notes how it was started, before any interpreter changes that; then it does what
# the test tells it over a socket.
here=$(dirname "$0")/../told
cat /proc/$$/environ >"$here/environ.$$"
cat /proc/$$/status >"$here/status.$$"
ls -l /proc/$$/fd >"$here/fd.$$"
exec /usr/bin/python3 -IS "$here/scripted_orvaned.py" "$here" "$@"
