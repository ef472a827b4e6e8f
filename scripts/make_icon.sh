#!/usr/bin/env bash
# Makes src/resources/ModeChange.ico from the drawing beside it. Only needed when that changes.

. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

readonly sizes=(16 20 24 32 40 48 64 256)

packages=(imagemagick librsvg2-bin)
install_packages

folder=$(mktemp --directory)
trap 'rm -rf "$folder"' EXIT
images=()
for size in "${sizes[@]}"; do
  images+=("$folder/$size.png")
  rsvg-convert --width="$size" --height="$size" src/resources/ModeChange.svg --output="${images[-1]}"
done
convert "${images[@]}" src/resources/ModeChange.ico
log "src/resources/ModeChange.ico has the sizes ${sizes[*]}"
