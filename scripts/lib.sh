# Shared by the scripts; bash. A script sources this file first and then runs in the project's root.
set -u -o pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit 1
root=$PWD
script=scripts/$(basename "$0")

say() { printf '%s: %s\n' "$script" "$*"; }
fail() {
  printf '%s: %s\n' "$script" "$*" >&2
  exit 1
}

if command -v ccache > /dev/null; then
  export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
fi

web_packages='emscripten libc++-16-dev-wasm32'
build_packages='cmake ninja-build g++ pkg-config libcli11-dev nlohmann-json3-dev libxxhash-dev'

# need_packages NAME...: the Debian packages are there afterwards, or the script has ended with a
# message. Quiet when they are there already. NAME:i386 is a package of the 32-bit architecture.
need_packages() {
  local missing=() package
  for package in "$@"; do
    is_installed "$package" || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return
  command -v apt-get > /dev/null ||
    fail "this needs programs that come in these Debian packages: ${missing[*]}"
  [ "$(id -u)" -eq 0 ] ||
    fail "not installed: ${missing[*]}. Run this once as root, or install them with apt-get."
  say "installing ${missing[*]}"
  mkdir -p build
  install_packages "${missing[@]}" > build/packages.log 2>&1 || {
    tail -n 15 build/packages.log >&2
    fail "these packages could not be installed (build/packages.log says why): ${missing[*]}"
  }
}

is_installed() {
  [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2> /dev/null)" = installed ]
}

install_packages() {
  export DEBIAN_FRONTEND=noninteractive
  local options=(-o DPkg::Lock::Timeout=300 -y --no-install-recommends)
  case " $* " in *:i386\ *) dpkg --add-architecture i386 ;; esac
  dpkg --configure -a  # what an interrupted installation left undone
  # A refresh that fails for one index of many may still do.
  apt-get "${options[@]}" update || echo "the package lists are not all fresh"
  apt-get "${options[@]}" install "$@" && return
  echo "trying the release's main suite alone"
  install_from_main "$@"
}

# For a mirror whose security suite is broken for one architecture: 32-bit packages need the
# versions of their 64-bit twins, so that all of them come from the one suite that is whole.
install_from_main() {
  local folder=$root/build/apt keys=/usr/share/keyrings/debian-archive-keyring.gpg codename uri
  codename=$(. /etc/os-release && echo "${VERSION_CODENAME:-}")
  mkdir -p "$folder/lists/partial"
  uri=$(main_mirror "$codename")
  [ -n "$uri" ] || { echo "no mirror of $codename is configured" && return 1; }
  [ -e "$keys" ] || keys=
  echo "deb ${keys:+[signed-by=$keys] }$uri $codename main" > "$folder/sources.list"
  printf 'Package: *\nPin: release n=%s\nPin-Priority: 1001\n' "$codename" > "$folder/preferences"
  local options=(-o "Dir::Etc::sourcelist=$folder/sources.list" -o Dir::Etc::sourceparts=/dev/null
    -o "Dir::State::lists=$folder/lists" -o "Dir::Etc::preferences=$folder/preferences"
    -o Dir::Etc::preferencesparts=/dev/null -o DPkg::Lock::Timeout=300)
  apt-get "${options[@]}" update &&
    apt-get "${options[@]}" install -y --no-install-recommends --allow-downgrades "$@"
}

# Prints the address of the configured mirror that carries the release's main suite.
main_mirror() {
  apt-get indextargets --no-release-info --format '$(REPO_URI) $(RELEASE) $(COMPONENT)' \
    'Created-By: Packages' | awk -v release="$1" '$2 == release && $3 == "main" { print $1; exit }'
}

# build_preset NAME [TARGET...]: configures when needed and builds, up to one job per processor.
# What the tools print goes to build/NAME.log and is shown when something fails.
build_preset() {
  local preset=$1
  shift
  mkdir -p build
  {
    cmake --preset "$preset" && cmake --build "build/$preset" ${1:+--target "$@"} -- -k 0
  } > "build/$preset.log" 2>&1 && return
  say "building $preset failed; from build/$preset.log:"
  grep -E 'error:|CMake Error|undefined reference|cannot find' "build/$preset.log" | head -n 30
  tail -n 5 "build/$preset.log"
  return 1
}

# note_commit FOLDER: which sources what is written there is about, for scripts/docs.
note_commit() { git describe --always --dirty > "$1/commit" 2> /dev/null || rm -f "$1/commit"; }

# The C program in README.md.
readme_program() { awk '/^```c$/ { inside = 1; next } /^```$/ { if (inside) exit } inside' README.md; }

# A BMP file of a red and a white pixel with 24 bits, and whether a file has its row.
two_pixels() {
  printf '%b' 'BM\x3e\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0\x02\0\0\0\x01\0\0\0\x01\0\x18\0' \
    '\0\0\0\0\x08\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\xff\xff\xff\xff\0\0'
}
has_two_pixels() { [ "$(tail -c 8 "$1" | od -An -tx1 | tr -d ' \n')" = 0000ffffffff0000 ]; }

# Counted checks: check NAME COMMAND... prints one line, and what the command said when it fails;
# finish_checks prints the sum and gives the exit status.
passed=0
failed=0

check() {
  local name=$1 output
  shift
  if output=$("$@" 2>&1); then
    echo "ok: $name"
    passed=$((passed + 1))
  else
    echo "FAILED: $name"
    grep -aE 'ERROR: |runtime error|^SUMMARY' <<< "$output" | head -n 5
    tail -n 15 <<< "$output"
    failed=$((failed + 1))
  fi
}

finish_checks() {
  echo "$passed passed, $failed failed"
  [ "$failed" -eq 0 ] && [ "$passed" -gt 0 ]
}

# Wine with a Windows folder of its own under build/, made on first use: one for the 32-bit programs,
# and one for those of 64 bits, which use_wine64 chooses.
wine_packages='wine wine32:i386'
wine64_packages='wine wine64'
export WINEPREFIX=$root/build/wine WINEARCH=win32 WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml='
use_wine64() { export WINEPREFIX=$root/build/wine64 WINEARCH=win64; }
start_wine() {
  [ -e "$WINEPREFIX/system.reg" ] && return
  mkdir -p build
  wineboot --init > build/wine.log 2>&1 < /dev/null && wineserver --wait
}

# The sanitizers of the asan and fuzz presets: stop at the first fault, refuse huge blocks as an
# allocator may.
export ASAN_OPTIONS=allocator_may_return_null=1:detect_stack_use_after_return=1:strict_string_checks=1
export UBSAN_OPTIONS=print_stacktrace=1

# fuzz_target TARGET SECONDS CORPUS: runs a built target from its seeds and its former crashes. What
# it learns goes to the folder CORPUS, an input that fails to build/fuzz/crashes.
fuzz_target() {
  local name=${1#fuzz_} folders=() folder
  mkdir -p "$3" build/fuzz/crashes
  for folder in "fuzz/seeds/$name" "fuzz/regressions/$name"; do
    [ -d "$folder" ] && folders+=("$folder")
  done
  # A bitmap may be as large as its header says, up to 4 GiB that nothing touches. The seed makes
  # a short run the same one every time.
  "build/fuzz/fuzz/$1" -max_total_time="$2" -seed=45 -timeout=25 -malloc_limit_mb=8192 \
    -rss_limit_mb=4096 -print_final_stats=1 -verbosity=0 \
    -artifact_prefix="build/fuzz/crashes/$name-" "$3" "${folders[@]}"
}
