#!/bin/sh
# tests/cli.sh TAVO: tries the command line from outside; a Windows program runs under Wine.
# The last line says "N passed, N failed".
exec /usr/bin/python3 "$(dirname "$0")/cli_test.py" "$@"
