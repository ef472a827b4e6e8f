#!/usr/bin/env bash
# Builds the release build's fault campaign and runs it.

. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

# Of these, with the cases that ever failed, the default run takes less than two minutes.
readonly subset_seconds=75

usage() {
  cat <<'TEXT'
Usage: scripts/faults.sh [--seed S] [--jobs J]
       scripts/faults.sh --all [--jobs J]
       scripts/faults.sh --only OPERATION[:CALL[:once|:onward]]
       scripts/faults.sh --list

Installs what is missing on Debian 12, builds the release build's fault campaign and
runs it through Wine: it does what hosts and users do with the library, over and over,
each time with another one of the library's calls of Windows, or of its allocations,
failing, and looks at what comes of it. docs/reliability.md tells more.

Without options: a part of all cases, chosen by a seed, within two minutes, and all
cases that ever failed (tests/faults/regressions.txt).

  --all    all cases; takes hours, and goes on where it was interrupted
  --only   one case, one call in both ways, or all cases of an operation
  --list   the operations
  --seed   chooses another part of the cases
  --jobs   how many processes work side by side; as many as processors if not said
  --help   this text
TEXT
}

if [[ " $* " == *" --help "* ]]; then
  usage
  exit
fi

arguments=(--jobs "$jobs" --report build/release/faults.txt)
case " $* " in
  *" --all "*) arguments+=(--progress build/release/faults-progress.txt) ;;
  *" --only "* | *" --list "*) ;;
  *) arguments+=(--seconds "$subset_seconds") ;;
esac
[[ " $* " == *" --only "* ]] || arguments+=(--regressions tests/faults/regressions.txt)
# The list stands alone.
[[ " $* " != *" --list "* ]] || arguments=()

install_packages
build release faults

log "Making calls fail"
export VELTO_SCREEN=none
scripts/run-under-wine.sh build/release/tests/unit/faults.exe "${arguments[@]}" "$@"
