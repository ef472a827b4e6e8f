# What the scripts that take pictures of dialogs share. Source it after lib.sh.
#
# VELTO_WINE_FOLDER names the Wine prefix. Its screen is that of $screen, the program that is running
# there is the process $host; both are set by start_host.

readonly picture_packages=(imagemagick xdotool fonts-liberation fonts-vlgothic fonts-wqy-microhei)

# The dialogs belong on a screen of their own, not on yours.
unset DISPLAY

run() { scripts/run-under-wine.sh "$@"; }

readonly engines=(KeyboardRepeatDelay PointerSpeed PowerScheme ScreenSaver VisualEffects)

# lay_out_notebook FOLDER: the sample notebook, from the release build
lay_out_notebook() {
  local engine
  rm -rf "$1"
  mkdir -p "$1/Engines"
  cp -r samples/config/. "$1"
  cp build/release/bin/{ModeChange.dll,modectl.exe} "$1"
  for engine in "${engines[@]}"; do
    cp "build/release/bin/Engines/$engine.dll" "$1/Engines"
  done
}

# Windows' own frames around windows, and fonts in place of Windows' fonts for the user interface.
prepare_screen() {
  local font
  run reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f >/dev/null
  replace_font Tahoma "Liberation Sans"
  for font in "MS UI Gothic" "MS PGothic"; do replace_font "$font" "VL PGothic"; done
  for font in Gulim SimSun NSimSun PMingLiU MingLiU "Microsoft YaHei" "Microsoft JhengHei"; do
    replace_font "$font" "WenQuanYi Micro Hei"
  done
}

# replace_font NAME OTHER: counts for the programs that start from now on
replace_font() {
  run reg add 'HKCU\Software\Wine\Fonts\Replacements' /v "$1" /d "$2" /f >/dev/null
}

# set_font LOCALE: for the user interface. Wine crashes when it lays out certain pairs of Cyrillic
# letters in the font that serves otherwise.
set_font() {
  case $1 in
    bg_* | ko_* | ru_* | uk_* | zh_*) replace_font Tahoma "WenQuanYi Micro Hei" ;;
    *) replace_font Tahoma "Liberation Sans" ;;
  esac
}

host=
screen=

# start_host LOCALE PROGRAM [ARGUMENT...]: in the background
start_host() {
  local locale=$1
  shift
  screen=:$(<"$VELTO_WINE_FOLDER/$VELTO_WINDOWS.display.xvfb")
  VELTO_LOCALE=$locale.UTF-8 scripts/run-under-wine.sh "$@" 2>&1 &
  host=$!
}

stop_host() { [[ -z $host ]] || kill "$host" 2>/dev/null || true; }

# end_host: waits for its end, whose exit code it returns
end_host() {
  local status=0
  wait "$host" || status=$?
  host=
  return "$status"
}

# Visible windows of the host; on its screen, nobody else has any.
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

# has_picture WINDOW FILE [SHARE]: whether the picture that it takes is like the last one, as a window
# paints one control after the other. Before that it is blank; texts bring many colours, as their
# edges are smoothed. Where something moves, only the upper SHARE is compared, in percent.
has_picture() {
  local last=${2%/*}/last.png difference
  rm -f "$last"
  [[ ! -e $2 ]] || mv "$2" "$last"
  DISPLAY=$screen import -window "$1" "$2" || return
  [[ -e $last ]] && (($(identify -format %k "$2") > 16)) || return
  difference=$(convert "$last" "$2" -gravity north -crop "100%x${3:-100}%+0+0" +repage \
    -metric AE -compare -format '%[distortion]' info:) && [[ $difference == 0 ]]
}

# take_picture WINDOW FILE [SHARE]
take_picture() {
  local status=0
  rm -f "$2"
  DISPLAY=$screen xdotool windowfocus "$1"
  wait_for has_picture "$@" || status=$?
  rm -f "${2%/*}/last.png"
  return "$status"
}

# close_window WINDOW: whether the host is gone by that
close_window() {
  DISPLAY=$screen xdotool windowfocus "$1" key alt+F4 2>/dev/null
  ! kill -0 "$host" 2>/dev/null
}
