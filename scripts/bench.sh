#!/usr/bin/env bash
# Builds the release build's benchmarks and runs them.

. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

usage() {
  cat <<'TEXT'
Usage: scripts/bench.sh [readers|change|settings|load] [ROUNDS]

Installs what is missing on Debian 12, builds the release build's benchmarks and runs them
through Wine, all or the one that is named. The machine should have nothing else to do.

  readers   each question to a reader against the bare Windows calls that it makes
  change    a change of 16, 64 and 256 setting items against the bare calls that it needs;
            before that, which calls an item takes
  settings  the settings dialog of 16, 64 and 128 rows, up to its first paint, against making the
            same windows directly
  load      the library's size, and its time to load next to an empty DLL's

  ROUNDS    how often what is compared takes turns; more rounds, steadier figures
  --help    this text
TEXT
}

wrong_usage() {
  usage >&2
  exit 64
}

# Many rounds take longer than a test may.
export VELTO_SUPERVISOR_SECONDS=3600
run() { scripts/run-under-wine.sh "build/release/bench/$@"; }

bench_readers() {
  log "Comparing the readers with their Windows calls"
  run readers/readers_bench.exe "$@"
}

bench_change() {
  log "Comparing a change with its bare calls"
  run change/change_bench.exe --calls
  printf '\n'
  run change/change_bench.exe "$@"
}

bench_settings() {
  log "Comparing the settings dialog with one made directly"
  run settings/settings_bench.exe "$@"
}

bench_load() {
  log "Comparing the library with an empty DLL"
  run change/load_bench.exe "$@"
}

if [[ ${1-} == --help ]]; then
  usage
  exit
fi
benches=(readers change settings load)
if [[ ${1-} =~ ^(readers|change|settings|load)$ ]]; then
  benches=("$1")
  shift
fi
(($# <= 1)) && [[ ${1-1} =~ ^[1-9][0-9]*$ ]] || wrong_usage

install_packages
build release readers_bench change_bench settings_bench load_bench
for bench in "${benches[@]}"; do "bench_$bench" "$@"; done
