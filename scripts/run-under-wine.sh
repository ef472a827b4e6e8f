#!/usr/bin/env bash
# Runs a Windows program of this build: run-under-wine.sh PROGRAM [ARGUMENT...]
#
# VELTO_WINDOWS says which Windows it finds, "win10" (if unset) or "win7"; VELTO_LOCALE says what
# user, as LC_ALL would: "ja_JP.UTF-8" ("en_US.UTF-8" if both are unset).
#
# VELTO_SCREEN=none does without a screen: windows are there but nothing is drawn, which takes half
# the time.
#
# Each Windows is a Wine prefix in the build folder, or in the folder that VELTO_WINE_FOLDER names,
# made when first needed. Its server, with a screen of its own unless DISPLAY is set, goes on for
# some minutes after the last program, so that the next one starts at once, and then ends by itself.
# The prefix's ".display" file says which screen that is.

set -euo pipefail

readonly wine=/usr/lib/wine/wine64
readonly wineserver=/usr/lib/wine/wineserver64
readonly idle_seconds=120
readonly start_up_seconds=120

fail() {
  printf 'run-under-wine.sh: %s\n' "$*" >&2
  exit 125
}

# The build folder is the nearest folder above the program with CMake's cache.
find_build_folder() {
  local folder
  folder=$(dirname "$(realpath "$1")")
  while [[ ! -e $folder/CMakeCache.txt ]]; do
    [[ $folder != / ]] || fail "$1 is not in a build folder"
    folder=$(dirname "$folder")
  done
  printf '%s' "$folder"
}

server_runs() { [[ -d $WINEPREFIX ]] && "$wineserver" -k0 2>/dev/null; }

# Who starts the first program waits for its output to end. What stays longer must hold neither that
# output nor the lock.
detach() {
  local descriptor
  exec </dev/null >/dev/null 2>&1
  for descriptor in /proc/self/fd/*; do
    descriptor=${descriptor##*/}
    ((descriptor <= 2)) || eval "exec $descriptor>&-"
  done
}

# The server and its screen, as long as somebody uses them.
run_session() {
  local xvfb=
  detach
  trap '' HUP INT
  if [[ -z ${DISPLAY-} ]]; then
    Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp 3>"$session.xvfb" &
    xvfb=$!
    while [[ ! -s $session.xvfb ]] && kill -0 "$xvfb"; do sleep 0.05; done
    DISPLAY=:$(<"$session.xvfb")
  fi
  printf '%s' "$DISPLAY" >"$session"
  "$wineserver" --foreground --persistent="$idle_seconds"
  [[ -z $xvfb ]] || kill "$xvfb"
}

start_session() {
  mkdir -p "$WINEPREFIX"
  "$wineserver" --wait  # for an earlier one that is about to end
  rm -f "$session" "$session.xvfb"
  # From a process in between, so that the session is nobody's child when it is left.
  ( (run_session) & )
  local deadline=$((SECONDS + start_up_seconds))
  until [[ -s $session ]] && server_runs; do
    ((SECONDS < deadline)) || fail "no Wine server after $start_up_seconds seconds"
    sleep 0.05
  done
}

# Programs run through this start in the background what the session needs later on.
quietly() { (detach && DISPLAY=$(<"$session") LC_ALL=C exec "$wine" "$@"); }

(($# > 0)) || fail "usage: run-under-wine.sh PROGRAM [ARGUMENT...]"
windows=${VELTO_WINDOWS:-win10}
[[ $windows == win10 || $windows == win7 ]] || fail "unknown Windows: $windows"

if [[ -n ${VELTO_WINE_FOLDER-} ]]; then
  mkdir -p "$VELTO_WINE_FOLDER"
  wine_folder=$(realpath "$VELTO_WINE_FOLDER")
else
  wine_folder=$(find_build_folder "$1")/wine
fi
prefix=$windows
[[ ${VELTO_SCREEN-} != none ]] || prefix+=-without-screen
session=$wine_folder/$prefix.display
export WINEPREFIX=$wine_folder/$prefix
export WINEDEBUG=-all
export WINEDLLOVERRIDES='mscoree,mshtml,winemenubuilder.exe='
mkdir -p "$wine_folder"

exec {lock}>"$wine_folder/$prefix.lock"
flock --wait 300 "$lock" || fail "the Wine prefix is in use by another start-up"
if ! server_runs; then
  start_session
  # The first program also makes the prefix and starts its services. Not wineboot: a second one of
  # that would start them twice, and they would not work.
  quietly reg add 'HKCU\Software\Wine' /v Version /d "$windows" /f
  # There is no window manager here. Wine would wait for it, two seconds for each window that goes.
  quietly reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f
  if [[ $prefix != "$windows" && ! -e $WINEPREFIX/without-screen ]]; then
    quietly reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f
    touch "$WINEPREFIX/without-screen"
    # For a new desktop: one that is there stays what it is.
    "$wineserver" --kill
    start_session
  fi
fi
exec {lock}>&-

DISPLAY=$(<"$session")
export DISPLAY
# By env: bash itself would look for the locale, and warn, as it need not be installed here.
program=(env LC_ALL="${VELTO_LOCALE:-${LC_ALL:-en_US.UTF-8}}" "$wine" "$@")
[[ -t 1 ]] && exec "${program[@]}"

# Wine's desktop is started by the first program that needs it, takes over its output and stays. So
# the program gets files for that: who waits for the end of our output must not wait for a desktop.
output=$(mktemp -d)
trap 'rm -rf "$output"' EXIT
status=0
if [[ /dev/stdout -ef /dev/stderr ]]; then
  setpriv --pdeathsig KILL "${program[@]}" &>"$output/out" || status=$?
else
  setpriv --pdeathsig KILL "${program[@]}" >"$output/out" 2>"$output/err" || status=$?
  cat "$output/err" >&2
fi
cat "$output/out"
exit "$status"
