#!/usr/bin/env bash
# Makes the icons of the library and of modetray from the drawings beside them. Only needed when
# those change.

. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

readonly bitmap_sizes=(16 20 24 32)
readonly png_sizes=(40 48 64 256)

packages=(imagemagick librsvg2-bin python3)
install_packages

folder=$(mktemp --directory)
trap 'rm -rf "$folder"' EXIT

image() { printf '%s/%s.png' "$folder" "$1"; }

images() {
  local size
  for size in "$@"; do
    image "$size"
    printf '\n'
  done
}

# make_icon DRAWING: beside it
make_icon() {
  local icon=${1%.svg}.ico size bitmaps pngs
  for size in "${bitmap_sizes[@]}" "${png_sizes[@]}"; do
    rsvg-convert --width="$size" --height="$size" --output="$(image "$size")" "$1"
  done
  mapfile -t bitmaps < <(images "${bitmap_sizes[@]}")
  mapfile -t pngs < <(images "${png_sizes[@]}")
  convert "${bitmaps[@]}" "$icon"
  scripts/join_icon.py "$icon" "${pngs[@]}"
  log "$icon has the sizes ${bitmap_sizes[*]} ${png_sizes[*]}"
}

for drawing in src/resources/ModeChange.svg samples/host/tray/icons/*.svg; do
  make_icon "$drawing"
done
