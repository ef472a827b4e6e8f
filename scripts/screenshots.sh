#!/usr/bin/env bash
# Takes the pictures of the dialogs that the documents show.

. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
. scripts/pictures.sh

usage() {
  cat <<'TEXT'
Usage: scripts/screenshots.sh [--all FOLDER [LANGUAGE...]]

Installs what is missing on Debian 12, builds the library with its samples, and takes pictures
of its dialogs on the sample notebook. They go to docs/images.

  --all FOLDER   every dialog, in every language or in those named ("greek"), at 96 and at
                 144 dots per inch; into FOLDER
  --help         this text
TEXT
}

readonly dialogs=(settings message progress confirmation menu)
readonly languages=(english:en_US japanese:ja_JP german:de_DE french:fr_FR italian:it_IT
  spanish:es_ES portuguese:pt_PT brazilian:pt_BR dutch:nl_NL danish:da_DK swedish:sv_SE
  norwegian:nb_NO finnish:fi_FI polish:pl_PL czech:cs_CZ slovak:sk_SK hungarian:hu_HU
  romanian:ro_RO bulgarian:bg_BG greek:el_GR turkish:tr_TR russian:ru_RU ukrainian:uk_UA
  korean:ko_KR chinese-simplified:zh_CN chinese-traditional:zh_TW)
readonly documented=(english japanese german french)
readonly resolutions=(96 144)

# What the documents show: DIALOG LANGUAGE RESOLUTION
chosen() {
  local language resolution
  for language in "${documented[@]}"; do
    for resolution in "${resolutions[@]}"; do printf 'settings %s %s\n' "$language" "$resolution"; done
  done
  printf '%s 96\n' "message english" "progress english" "confirmation english" \
    "confirmation japanese" "menu english" "menu japanese"
}

wanted=("${languages[@]%:*}")

everything() {
  local dialog language resolution
  for language in "${wanted[@]}"; do
    for resolution in "${resolutions[@]}"; do
      for dialog in "${dialogs[@]}"; do printf '%s %s %s\n' "$dialog" "$language" "$resolution"; done
    done
  done
}

folder=docs/images
list=chosen
case "${1-}" in
  "") ;;
  --all)
    (($# >= 2)) || {
      usage >&2
      exit 64
    }
    folder=$2
    list=everything
    (($# == 2)) || wanted=("${@:3}")
    for language in "${wanted[@]}"; do
      [[ " ${languages[*]%:*} " == *" $language "* ]] || fail "unknown language: $language"
    done
    ;;
  --help)
    usage
    exit
    ;;
  *)
    usage >&2
    exit 64
    ;;
esac

work=build/pictures
machine=$work/notebook
export VELTO_WINE_FOLDER=$work/wine VELTO_WINDOWS=win10 VELTO_LOCALE=en_US.UTF-8
windows=$VELTO_WINE_FOLDER/win10/drive_c/windows
data_folder=$VELTO_WINE_FOLDER/win10/drive_c/ProgramData/Brivane

# Its cradle mode has rows of all kinds: radio buttons, a list to choose from, a slider, a locked one.
mode=2

# --- The screen -----------------------------------------------------------------------------------

# The boxes in captions are letters of a font that Wine keeps in a package of its own. The rest of
# that package would change the fonts of every program, so it isn't installed.
add_caption_font() {
  local font=$windows/Fonts/marlett.ttf
  [[ ! -s $font ]] || return 0
  (cd "$work" && apt-get download --quiet fonts-wine) || {
    as_root apt-get update --quiet
    (cd "$work" && apt-get download --quiet fonts-wine)
  }
  mkdir -p "${font%/*}"
  dpkg-deb --fsys-tarfile "$work"/fonts-wine_*.deb |
    tar --extract --to-stdout ./usr/share/wine/fonts/marlett.ttf >"$font"
  rm "$work"/fonts-wine_*.deb
}

has_theme() { run reg query "$colors" >/dev/null 2>&1; }

# No window of the screen counts as active before it had another one above it, and the theme's
# captions of inactive windows can hardly be read. The theme comes with the first window, and its
# colours are kept until the screen goes.
brighten_captions() {
  local colors='HKCU\Software\Wine\Temporary System Parameters\Control Panel\Colors' color
  start_dialog settings "$mode"
  wait_for has_theme
  leave_dialog
  end_host
  for color in {,Gradient}{Active,Inactive}Title; do
    run reg add "$colors" /v "$color" /d "255 255 255" /f
  done
  for color in TitleText InactiveTitleText; do
    run reg add "$colors" /v "$color" /d "0 0 0" /f
  done
} >/dev/null

set_resolution() {
  run reg add 'HKCU\Control Panel\Desktop' /v LogPixels /t REG_DWORD /d "$1" /f >/dev/null
}

# --- The dialogs ----------------------------------------------------------------------------------

press() { DISPLAY=$screen xdotool key "$@"; }

# The window on top of the settings dialog; some have no name.
find_upper_window() {
  DISPLAY=$screen xdotool search --onlyvisible --maxdepth 1 --class modectl 2>/dev/null |
    grep --line-regexp --invert-match "$window"
}

# start_dialog ARGUMENT...: of modectl
start_dialog() {
  start_host "$locale" "$machine/modectl.exe" "$@"
  wait_for find_window >/dev/null && window=$(find_window)
}

# Tab first: in Wine, a combo box that has the focus takes Alt+F4 for itself.
leave_dialog() {
  DISPLAY=$screen xdotool windowfocus "$window" key Tab
  wait_for close_window "$window"
}

# From the choice of mode, which has the focus first, to the box for Auto ON/OFF, and to the choice
# again: the mode has a change then that is not saved.
change_a_setting() {
  DISPLAY=$screen xdotool windowfocus "$window"
  press Tab Tab space shift+Tab shift+Tab
}

picture_settings() {
  start_dialog settings "$mode"
  take_picture "$window" "$picture"
  leave_dialog
  end_host
}

# Another mode can't be chosen before the change is saved.
picture_message() {
  local box
  start_dialog settings "$mode"
  change_a_setting
  press Down
  wait_for find_upper_window >/dev/null && box=$(find_upper_window)
  take_picture "$box" "$picture"
  press Return
  leave_dialog
  end_host
}

# While a mode is ON, saving what was changed turns it off and on again.
picture_progress() {
  local progress
  run "$machine/modectl.exe" on "$mode" --no-confirm >/dev/null
  start_dialog settings "$mode"
  change_a_setting
  press shift+Tab shift+Tab shift+Tab space
  wait_for find_upper_window >/dev/null && progress=$(find_upper_window)
  # The lower part has the bar, which moves.
  take_picture "$progress" "$picture" 60
  end_host
  run "$machine/modectl.exe" off "$mode" --no-confirm >/dev/null
}

picture_confirmation() {
  local status=0
  start_dialog on "$mode"
  take_picture "$window" "$picture"
  wait_for close_window "$window"
  # As the user cancelled it.
  end_host || status=$?
  ((status == 1))
}

has_tray_window() { DISPLAY=$screen xdotool search --name '^modetray$' >/dev/null 2>&1; }

find_menu() { DISPLAY=$screen xdotool search --onlyvisible --class modetray 2>/dev/null; }

count_menus() { find_menu | wc -l; }

has_menus() { (($(count_menus) == $1)); }

# The menu of modetray with a mode that is ON. Started again, it opens the menu at the pointer where
# Windows can't say where the icon is; the pointer then opens the menu of settings, which is the
# second entry from below.
picture_menu() {
  local left=400 bottom=700 place
  run "$machine/modectl.exe" on "$mode" --no-confirm >/dev/null
  start_host "$locale" "$machine/modetray.exe"
  wait_for has_tray_window
  DISPLAY=$screen xdotool mousemove "$left" "$bottom"
  run "$machine/modetray.exe"
  wait_for has_menus 1
  place=$((bottom - 36 * resolution / 96))
  DISPLAY=$screen xdotool mousemove "$((left + 30))" "$place" mousemove_relative 10 0 click 1
  wait_for has_menus 2
  wait_for has_picture root "$picture"
  convert "$picture" -crop "800x$bottom+$left+100" +repage -fill "#d8dde2" -floodfill +0+0 black \
    -trim +repage "$picture"
  stop_host
  wait "$host" || true
  host=
  run "$machine/modectl.exe" off "$mode" --no-confirm >/dev/null
}

# Small, and the same file whenever the picture is the same.
pack_picture() {
  convert "$picture" -strip +dither -colors 64 -define png:compression-level=9 \
    -define png:exclude-chunks=all "PNG8:$1"
}

leave() {
  stop_host
  [[ -z $name ]] || printf 'error: no picture of %s\n' "$name" >&2
}

# --- The pictures ---------------------------------------------------------------------------------

install_packages "${picture_packages[@]}"
build release ModeChange modectl modetray "${engines[@]}"
lay_out_notebook "$machine"
cp build/release/bin/modetray.exe "$machine"
log "Starting the notebook"
prepare_screen
add_caption_font
mkdir -p "$folder" "$work/taken"
rm -rf "$data_folder"
name="any dialog"
trap leave EXIT
locale=en_US
brighten_captions

while read -r -u 3 dialog language resolution; do
  name=$dialog-$language
  ((resolution == 96)) || name+=-${resolution}dpi
  picture=$work/taken/$name.png
  for entry in "${languages[@]}"; do
    [[ $entry != "$language":* ]] || locale=${entry#*:}
  done
  log "$folder/$name.png"
  rm -rf "$data_folder"
  set_resolution "$resolution"
  set_font "$locale"
  "picture_$dialog"
  pack_picture "$folder/$name.png"
done 3< <("$list" | sort --key=3n --stable)

rm -rf "$data_folder"
name=
log "Look at each of the pictures: nothing may be cut or overlap"
