#!/usr/bin/env bash
# Makes src/resources/ModeChange.ico from the drawing beside it. Only needed when that changes.

. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

readonly icon=src/resources/ModeChange.ico
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

for size in "${bitmap_sizes[@]}" "${png_sizes[@]}"; do
  rsvg-convert --width="$size" --height="$size" --output="$(image "$size")" \
    "${icon%.ico}.svg"
done
mapfile -t bitmaps < <(images "${bitmap_sizes[@]}")
mapfile -t pngs < <(images "${png_sizes[@]}")
convert "${bitmaps[@]}" "$icon"
scripts/join_icon.py "$icon" "${pngs[@]}"
log "$icon has the sizes ${bitmap_sizes[*]} ${png_sizes[*]}"
