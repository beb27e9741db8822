# Parts of a test run: builds, what they run, and the sum. bash; source scripts/lib.sh first.
#
# A part is a function part_NAME. It writes what it saw to standard output and ends with
# "N passed, N failed". Those that serve several builds stand here; each is given the preset.

start_parts() {  # FOLDER for the logs
  results=$root/$1
  rm -rf "$results"
  mkdir -p "$results"
  note_commit "$results"
  jobs=$(nproc)
  names=()
}

is_windows() { [[ $1 = win* ]]; }

# Sums up what a GoogleTest program printed. A crash, and a run of no test, is a failure too.
count_gtest() {  # EXIT-STATUS LOG
  local ok bad skipped
  ok=$(grep -ac '^\[       OK \]' "$2")
  bad=$(grep -acE '^\[  FAILED  \] .*\([0-9]+ ms\)' "$2")
  skipped=$(grep -acE '^\[  SKIPPED \] .*\([0-9]+ ms\)' "$2")
  if { [ "$1" -ne 0 ] && [ "$bad" -eq 0 ]; } || [ "$ok" -eq 0 ]; then
    echo "the test program ended early (exit status $1)"
    bad=$((bad + 1))
  fi
  [ "$skipped" -eq 0 ] || echo "note: $skipped tests skipped"
  echo "$ok passed, $bad failed"
}

gtest() {  # LOG COMMAND...; beside the log what GoogleTest tells in JSON, with the tests' own counts
  local log=$1 status=0
  shift
  local relative=${log#"$root"/}
  local -x GTEST_OUTPUT=json:${relative%.gtest}.json  # a path that Windows takes, too
  TMPDIR=$(mktemp -d)
  export TMPDIR
  timeout 900 "$@" > "$log" 2>&1 < /dev/null || status=$?
  rm -rf "$TMPDIR"
  sed -i 's/\r$//' "$log"
  if [ "$status" -ne 0 ]; then
    grep -aE -B 12 '^\[  FAILED  \] .*\([0-9]+ ms\)|ERROR: |runtime error' "$log" | head -n 60
    tail -n 25 "$log"
  fi
  count_gtest "$status" "$log"
}

part_replay() {  # PRESET: every seed and every former crash through the fuzz targets' entry points
  local program name files
  for program in build/"$1"/fuzz/replay_*; do
    case $program in *.exe) is_windows "$1" || continue ;; *) [ -x "$program" ] || continue ;; esac
    name=$(basename "${program%.exe}")
    name=${name#replay_}
    files=$(find fuzz/seeds/"$name" fuzz/regressions/"$name" -type f 2> /dev/null | sort)
    [ -n "$files" ] || continue
    is_windows "$1" && program="wine $program"
    check "$name" timeout 300 $program $files
  done
  [ $((passed + failed)) -gt 0 ] || echo 'note: there are no fuzz targets'
  echo "$passed passed, $failed failed"
}

part_cli() {  # PRESET: the command line from outside
  local program=build/$1/tools/tavo
  is_windows "$1" && program+=.exe
  timeout 900 tests/cli.sh "$program" < /dev/null 2>&1
}

part_batch() {  # PRESET: many files at once
  local program=build/$1/tools/tavo
  is_windows "$1" && program+=.exe
  timeout 900 tests/batch.sh "$program" < /dev/null 2>&1
}

part_installed() { scripts/check-install "$1"; }

# ---- Running them ----

built() {  # PRESET
  build_preset "$1" && return
  echo '0 passed, 1 failed' > "$results/build_$1.log"
  names+=("build $1")
  return 1
}

run_part() { "part_${1%% *}" ${1#"${1%% *}"} > "$results/${1// /_}.log" 2>&1; }

# The parts side by side, as many as there are processors.
run_parts() {  # PART...
  local part
  for part in "$@"; do
    while [ "$(jobs -rp | wc -l)" -ge "$jobs" ]; do wait -n; done
    run_part "$part" &
    names+=("$part")
  done
  wait
}

# What failed, a line for each part, and the sum as the last line and as the exit status.
sum_up() {
  local total_passed=0 total_failed=0 name log last good bad
  for name in "${names[@]}"; do
    log=$results/${name// /_}.log
    last=$(tail -n 1 "$log")
    if [[ $last =~ ^([0-9]+)\ passed,\ ([0-9]+)\ failed$ ]]; then
      good=${BASH_REMATCH[1]} bad=${BASH_REMATCH[2]}
    else
      good=0 bad=1
    fi
    total_passed=$((total_passed + good))
    total_failed=$((total_failed + bad))
    [ "$bad" -eq 0 ] || sed "s/^/    /" "$log"
    grep -h '^note: ' "$log" | sed "s/^/$name: /"
    printf '%-24s %5d passed %5d failed\n' "$name" "$good" "$bad"
  done
  [ -n "${TAVO_CORPUS:-}" ] || echo 'note: TAVO_CORPUS is not set; the tests on sample files did not run'
  echo "$total_passed passed, $total_failed failed"
  [ "$total_failed" -eq 0 ] && [ "$total_passed" -gt 0 ]
}
