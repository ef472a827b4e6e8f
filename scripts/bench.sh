#!/usr/bin/env bash
# Builds the release build's benchmarks and runs them.

. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

usage() {
  cat <<'TEXT'
Usage: scripts/bench.sh [ROUNDS]

Installs what is missing on Debian 12, builds the release build's benchmark of the
readers and runs it through Wine: each question to a reader against the bare Windows
calls that it makes. The machine should have nothing else to do.

  ROUNDS   how often question and calls take turns; more rounds, steadier figures
  --help   this text
TEXT
}

if [[ ${1-} == --help ]]; then
  usage
  exit
fi

install_packages
build release readers_bench

log "Comparing the readers with their Windows calls"
# Many rounds take longer than a test may.
export VELTO_SUPERVISOR_SECONDS=3600
scripts/run-under-wine.sh build/release/bench/readers/readers_bench.exe "$@"
