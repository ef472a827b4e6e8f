#!/usr/bin/env bash
# Builds the library and shows the modes of the sample notebook, in English and in Japanese.

. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

usage() {
  cat <<'TEXT'
Usage: scripts/demo.sh [OPTION...]

Installs what is missing on Debian 12, builds the library, lays the sample notebook out
in build/release/demo and runs showmodes.exe there for an English and a Japanese user.
The options are handed on to showmodes.exe.

  --help   this text
TEXT
}

if [[ ${1-} == --help ]]; then
  usage
  exit
fi

install_packages
build release ModeChange showmodes

demo=build/release/demo
log "Laying out the sample notebook in $demo"
rm -rf "$demo"
cp -r samples/config "$demo"
cp build/release/bin/showmodes.exe "$demo"
find "$demo" -type f | sort

for user in "English en_US" "Japanese ja_JP"; do
  read -r language locale <<<"$user"
  log "The modes, in $language"
  VELTO_LOCALE=$locale.UTF-8 scripts/run-under-wine.sh "$demo/showmodes.exe" "$@"
done
