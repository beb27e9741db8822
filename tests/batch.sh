#!/bin/sh
# tests/batch.sh TAVO: tries "tavo batch" from outside; a Windows program runs under Wine.
# The last line says "N passed, N failed".
exec /usr/bin/python3 "$(dirname "$0")/batch_test.py" "$@"
