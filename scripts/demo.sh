#!/usr/bin/env bash
# Switches the modes of the sample notebook, and shows what that does to the devices.

. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

usage() {
  cat <<'TEXT'
Usage: scripts/demo.sh

Installs what is missing on Debian 12, builds the library with its samples, lays the sample
notebook out in build/demo and shows there:

  - the modes, to an English and to a Japanese user
  - the question to the user before a mode changes; pictures go to build/screenshots
  - the devices before, with a mode ON, with another one ON, and after OFF, as Windows itself
    has them, and the library's status file each time

Exits with 0 only when every device was set as the mode says and OFF brought all back. The
notebook's Windows is a Wine prefix in build/demo; it is left as it was found.

  --help   this text
TEXT
}

case "${1-}" in
  "") ;;
  --help)
    usage
    exit
    ;;
  *)
    usage >&2
    exit 64
    ;;
esac

demo=build/demo
machine=$demo/notebook
pictures=build/screenshots
export VELTO_WINE_FOLDER=$demo/wine VELTO_WINDOWS=win10 VELTO_LOCALE=en_US.UTF-8
data_folder=$VELTO_WINE_FOLDER/win10/drive_c/ProgramData/Brivane
status_file=$data_folder/Kestrola/ModeChange.Status.ini
engines=(KeyboardRepeatDelay PointerSpeed PowerScheme ScreenSaver VisualEffects)

# The dialog belongs on a screen of its own, not on yours.
unset DISPLAY

run() { scripts/run-under-wine.sh "$@"; }
modectl() { run "$machine/modectl.exe" "$@"; }
read_devices() { run "$demo/devicestate.exe" "$@" | tr -d '\r'; }

# --- The notebook ---------------------------------------------------------------------------------

lay_out() {
  local engine
  log "Laying out the sample notebook in $machine"
  rm -rf "$machine"
  mkdir -p "$machine/Engines"
  cp -r samples/config/. "$machine"
  cp build/release/bin/{ModeChange.dll,modectl.exe,showmodes.exe} "$machine"
  for engine in "${engines[@]}"; do
    cp "build/release/bin/Engines/$engine.dll" "$machine/Engines"
  done
  cp build/release/bin/devicestate.exe "$demo"
  find "$machine" -type f | sort
}

# Windows' own frames around windows, and fonts in place of Windows' fonts for the user interface.
prepare_screen() {
  local wine='HKCU\Software\Wine' font
  run reg add "$wine\\X11 Driver" /v Managed /d N /f
  run reg add "$wine\\Fonts\\Replacements" /v Tahoma /d "Liberation Sans" /f
  for font in "MS UI Gothic" "MS PGothic"; do
    run reg add "$wine\\Fonts\\Replacements" /v "$font" /d "VL PGothic" /f
  done
} >/dev/null

found=()
host=
leave_as_found() {
  local values=("${found[@]}")
  found=()
  # One that waits for its user still.
  [[ -z $host ]] || kill "$host" 2>/dev/null || true
  ((${#values[@]} == 0)) || read_devices "${values[@]}" >/dev/null
  rm -rf "$data_folder"
}

# --- What is shown and checked --------------------------------------------------------------------

wrong=0
complain() {
  printf '    WRONG: %s\n' "$*"
  wrong=$((wrong + 1))
}

# expect_devices NAME=NUMBER...: all that devicestate shows, in its order
last_seen=()
expect_devices() {
  local actual=() expected=("$@") i change
  mapfile -t actual < <(read_devices)
  ((${#actual[@]} == ${#expected[@]})) || complain "the devices can't be read"
  for i in "${!actual[@]}"; do
    change=
    [[ ${actual[i]} == "${last_seen[i]-${actual[i]}}" ]] || change="  (was ${last_seen[i]#*=})"
    printf '    %-21s %s%s\n' "${actual[i]%%=*}" "${actual[i]#*=}" "$change"
    [[ ${actual[i]} == "${expected[i]-}" ]] || complain "should be ${expected[i]-missing}"
  done
  last_seen=("${actual[@]}")
}

# expect_status LINE...: lines that the status file has to have; without any, there is no file
expect_status() {
  local line status
  if [[ ! -e $status_file ]]; then
    printf '    (no status file)\n'
    (($# == 0)) || complain "there should be one with $*"
    return
  fi
  status=$(tr -d '\r' <"$status_file")
  printf '%s\n' "$status" | sed 's/^/    | /'
  for line in "$@"; do
    grep --quiet --line-regexp --fixed-strings -- "$line" <<<"$status" ||
      complain "the status file should say $line"
  done
  (($# > 0)) || complain "there should be no status file"
}

change_mode() {
  log "modectl $*"
  modectl "$@" --no-confirm || complain "modectl failed with $?"
}

# Visible windows of the notebook; on its screen, nobody else has any.
find_window() { DISPLAY=$screen xdotool search --onlyvisible --name . 2>/dev/null; }

# wait_for COMMAND...: until it succeeds, while the host runs, at most half a minute
wait_for() {
  local deadline=$((SECONDS + 30))
  until "$@"; do
    kill -0 "$host" 2>/dev/null || return
    ((SECONDS < deadline)) || return
    sleep 0.1
  done
}

# A window paints one control after the other: it is done when two pictures in a row are alike.
# Before that it is blank; texts bring many colours, as their edges are smoothed.
has_picture() {
  local last=$pictures/last.png
  rm -f "$last"
  [[ ! -e $picture ]] || mv "$picture" "$last"
  DISPLAY=$screen import -window "$window" "$picture"
  [[ -e $last ]] && (($(identify -format %k "$picture") > 16)) &&
    compare -metric AE "$last" "$picture" null: 2>/dev/null
}

close_window() {
  DISPLAY=$screen xdotool windowfocus "$window" key alt+F4 2>/dev/null
  ! kill -0 "$host" 2>/dev/null
}

# take_picture LANGUAGE LOCALE: the confirmation, which is then closed, which counts as Cancel
take_picture() {
  local window status=0 picture=$pictures/confirmation-$1.png
  local screen=:$(<"$VELTO_WINE_FOLDER/win10.display.xvfb")
  log "modectl on 2, for a user of locale $2; a picture goes to $picture"
  rm -f "$picture"
  VELTO_LOCALE=$2.UTF-8 scripts/run-under-wine.sh "$machine/modectl.exe" on 2 2>&1 &
  host=$!
  if wait_for find_window >/dev/null && window=$(find_window); then
    DISPLAY=$screen xdotool windowfocus "$window"
    wait_for has_picture || complain "no picture"
    rm -f "$pictures/last.png"
    wait_for close_window || kill "$host" 2>/dev/null || true
  else
    complain "the confirmation does not appear"
    kill "$host" 2>/dev/null || true
  fi
  wait "$host" || status=$?
  host=
  ((status == 1)) || complain "modectl should end with 1 for cancelled, not with $status"
}

# --- The demonstration ----------------------------------------------------------------------------

install_packages imagemagick xdotool fonts-liberation fonts-vlgothic
build release ModeChange modectl showmodes devicestate "${engines[@]}"
lay_out

log "Starting the notebook"
prepare_screen
rm -rf "$data_folder"
trap leave_as_found EXIT
mapfile -t found < <(read_devices)
((${#found[@]} > 0)) || fail "the devices can't be read"

for user in "English en_US" "Japanese ja_JP"; do
  read -r language locale <<<"$user"
  log "What a mode does, in $language"
  VELTO_LOCALE=$locale.UTF-8 run "$machine/showmodes.exe" --mode Cradle
done

# Every device differs from what one of the modes sets, and most from a new Windows: nothing comes
# back by chance.
own=(visual-effects=1 screen-saver=1 screen-saver-seconds=300 pointer-speed=7 keyboard-delay=2)
log "The devices before: the user's own choice"
read_devices "${own[@]}" >/dev/null
expect_devices "${own[@]}"
expect_status

mkdir -p "$pictures"
take_picture english en_US
take_picture japanese ja_JP
log "The devices after both were cancelled"
expect_devices "${own[@]}"

# Wine has no power plans, so the modes' PowerScheme is left out here; Windows has it.
change_mode on "Eco mode"
expect_devices visual-effects=0 screen-saver=0 screen-saver-seconds=300 pointer-speed=7 \
  keyboard-delay=2
expect_status Eco=1 VisualEffects=1 ScreenSaver=1 PointerSpeed=-1 KeyboardRepeatDelay=-1

change_mode on "Cradle mode"
expect_devices visual-effects=1 screen-saver=1 screen-saver-seconds=900 pointer-speed=13 \
  keyboard-delay=0
expect_status Eco=0 Cradle=1 VisualEffects=1 ScreenSaver=1 PointerSpeed=6 KeyboardRepeatDelay=2

change_mode off "Cradle mode"
expect_devices "${own[@]}"
expect_status Eco=0 Cradle=0

log "Leaving the notebook as it was found"
before=("${found[@]}")
leave_as_found
expect_devices "${before[@]}"
expect_status

((wrong == 0)) || fail "the demonstration FAILED: $wrong times something was wrong, see above"
log "The demonstration succeeded: OFF brought back every device. Pictures: $pictures"
