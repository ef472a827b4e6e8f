#!/usr/bin/env bash
# Switches the modes of the sample notebook, and shows what that does to the devices.

. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
. scripts/pictures.sh

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

modectl() { run "$machine/modectl.exe" "$@"; }
read_devices() { run "$demo/devicestate.exe" "$@" | tr -d '\r'; }

# --- The notebook ---------------------------------------------------------------------------------

lay_out() {
  log "Laying out the sample notebook in $machine"
  lay_out_notebook "$machine"
  cp build/release/bin/showmodes.exe "$machine"
  cp build/release/bin/devicestate.exe "$demo"
  find "$machine" -type f | sort
}

found=()
leave_as_found() {
  local values=("${found[@]}")
  found=()
  # One that waits for its user still.
  stop_host
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

# picture_confirmation LANGUAGE LOCALE: which is then closed, which counts as Cancel
picture_confirmation() {
  local window status=0 picture=$pictures/confirmation-$1.png
  log "modectl on 2, for a user of locale $2; a picture goes to $picture"
  start_host "$2" "$machine/modectl.exe" on 2
  if wait_for find_window >/dev/null && window=$(find_window); then
    take_picture "$window" "$picture" || complain "no picture"
    wait_for close_window "$window" || stop_host
  else
    complain "the confirmation does not appear"
    stop_host
  fi
  end_host || status=$?
  ((status == 1)) || complain "modectl should end with 1 for cancelled, not with $status"
}

# --- The demonstration ----------------------------------------------------------------------------

install_packages "${picture_packages[@]}"
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
picture_confirmation english en_US
picture_confirmation japanese ja_JP
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
