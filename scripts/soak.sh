#!/usr/bin/env bash
# Builds the release build's soak program and runs it.

. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

usage() {
  cat <<'TEXT'
Usage: scripts/soak.sh [--changes N] [--dialogs N]

Installs what is missing on Debian 12, builds the release build's soak program and runs it through
Wine: 10000 changes of a mode and 1000 settings dialogs in one process. Prints what the process
has, and how long each takes, after every fifth of them. Fails when something is not given back,
when the memory grows or when the last fifth is slower than the first. Takes some 15 minutes.

  --changes N   so many changes; N is a multiple of 20
  --dialogs N   so many dialogs, likewise
  --help        this text
TEXT
}

arguments=()
while (($# > 0)); do
  case $1 in
    --changes | --dialogs)
      if [[ ! ${2-} =~ ^[1-9][0-9]*$ ]] || (($2 % 20 != 0)); then
        usage >&2
        exit 64
      fi
      arguments+=("$1" "$2")
      shift 2
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
done

install_packages
build release soak
log "Soaking"
# As long as it takes; each round has a watchdog of its own.
export VELTO_SUPERVISOR_SECONDS=86400
scripts/run-under-wine.sh build/release/tests/soak/soak/soak.exe ${arguments[@]+"${arguments[@]}"}
