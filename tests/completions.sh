#!/bin/bash
# tests/completions.sh DIR: what bash completes with the script in DIR, and whether zsh and fish can
# read theirs. The last line says "N passed, N failed".
# shellcheck source=/dev/null
source "$1/tavo.bash"
passed=0 failed=0

verdict() {  # NAME STATUS
  if [ "$2" -eq 0 ]; then
    passed=$((passed + 1))
  else
    failed=$((failed + 1))
    echo "FAILED: $1"
  fi
}

completes() {  # EXPECTED WORD...: what the last word is completed to
  local expected=$1
  shift
  COMP_WORDS=(tavo "$@") COMP_CWORD=$#
  _tavo
  [ "${COMPREPLY[*]}" = "$expected" ]
  verdict "$* gives \"${COMPREPLY[*]}\", not \"$expected\"" $?
}

completes 'convert' con
completes 'stucki stevenson-arce' convert in.tif out.gif --dither st
completes '--subsampling' convert in.bmp --subs
completes '2x1 2x2' convert in.bmp --subsampling 2
completes 'gif' stamp x.cmp --to gi
completes '' info file
zsh -n "$1/_tavo"
verdict 'zsh reads its script' $?
fish --no-execute "$1/tavo.fish"
verdict 'fish reads its script' $?
echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
