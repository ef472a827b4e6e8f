#!/usr/bin/env bash
# Measures which lines and branches of the library the tests run.

. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

usage() {
  cat <<'TEXT'
Usage: scripts/coverage.sh [--no-run]

Installs what is missing on Debian 12, builds the library so that it counts, runs the
tests through Wine and reports which of its lines and branches ran: in build/coverage
as coverage.txt and html/index.html, and in docs/coverage.md. Ends with an error where
something did not run and tests/uncovered.tsv does not say why.

  --no-run  only report what the last run counted
  --help    this text

Fuzzing is left out: what only random input reaches is not covered. So are the tests
of the DLL as a file, as this build's is not the one that is delivered.
TEXT
}

run=true
case "${1-}" in
  --help)
    usage
    exit
    ;;
  --no-run) run=false ;;
  "") ;;
  *)
    usage >&2
    exit 64
    ;;
esac

readonly build=$PWD/build/coverage
readonly counts=$build/counts
readonly logs=$build/logs
readonly objects=$build/src/CMakeFiles
readonly gcov=x86_64-w64-mingw32-gcov-win32
readonly gcov_tool=x86_64-w64-mingw32-gcov-tool-win32

# run_tests PROGRAM PATTERN WINDOWS LOCALE: all tests of a program that fit, in one process, which
# takes a tenth of the time that CTest needs. What fails there may need a process of its own.
run_tests() {
  local log test failed program=$1
  log=$logs/$(basename "$1" .exe)-$3-$4${2//[^a-zA-Z]/}.log
  run() {
    VELTO_WINDOWS=$2 VELTO_LOCALE=$3.UTF-8 scripts/run-under-wine.sh "$program" --gtest_filter="$1" \
      &>>"$log"
  }
  if run "$2" "$3" "$4"; then return; fi
  mapfile -t failed < <(sed -nE 's/^\[  FAILED  \] ([^ ,]+\.[^ ,]+).*/\1/p' "$log" | sort -u)
  # A process that ended early names none.
  ((${#failed[@]} > 0)) || failed=("$2")
  for test in "${failed[@]}"; do
    # What failed has counted too, and is a matter of the tests.
    run "$test" "$3" "$4" || printf 'failed: %s (see %s)\n' "$test" "$log"
  done
}

run_all_tests() {
  local program locale programs
  mapfile -t programs < <(find build/coverage/tests -name '*_tests.exe' ! -name fuzz_tests.exe | sort)
  rm -rf "$counts" "$logs"
  mkdir -p "$counts" "$logs"
  export VELTO_COVERAGE="Z:${counts//\//\\}" VELTO_SUPERVISOR_SECONDS=3600
  # A test that is ended takes the counts of all tests before it along.
  export VELTO_WATCHDOG_SECONDS=600
  for program in "${programs[@]}"; do
    while (($(jobs -rp | wc -l) >= jobs)); do wait -n || true; done
    {
      run_tests "$program" '-*FocusTest.*:BinaryTest.*' win10 en_US
      run_tests "$program" '*EachWindows*' win7 en_US
      for locale in ja_JP de_AT eo; do run_tests "$program" '*EachLocale*' win10 "$locale"; done
    } &
  done
  wait
  # There is one keyboard, which windows take from each other.
  for program in "${programs[@]}"; do run_tests "$program" '*FocusTest.*' win10 en_US; done
}

# Each program leaves its counts in a folder of its own, below which they have the path of the
# object files. They are added up where the report looks for them, beside the compiler's notes.
add_up_counts() {
  local sum=$build/sum folder source folders=0
  rm -rf "$sum" "$sum.new"
  find "$objects" -name '*.gcda' -delete
  for folder in "$counts"/*/; do
    [[ -d $folder$objects ]] || continue
    if [[ -d $sum ]]; then
      # gcov-tool for another system than its own makes no folders, and leaves out what has none.
      for source in "$sum" "$folder$objects"; do
        (cd "$source" && find . -type d -exec mkdir -p "$sum.new/{}" \;)
      done
      "$gcov_tool" merge "$sum" "$folder$objects" -o "$sum.new"
      rm -rf "$sum"
      mv "$sum.new" "$sum"
    else
      cp -r "$folder$objects" "$sum"
    fi
    ((++folders))
  done
  ((folders > 0)) || fail "no process left counts in $counts"
  cp -r "$sum/." "$objects"
  log "Counts of $folders folders added up"
}

report() {
  # Branches that are taken only when something throws are the compiler's, not the code's.
  local options=(
    --root "$PWD" --filter src/ --object-directory "$build"
    --gcov-executable "$gcov" --exclude-throw-branches --exclude-unreachable-branches
    --print-summary
  )
  mkdir -p "$build/html"
  nice gcovr "${options[@]}" --txt "$build/coverage.txt" --json "$build/coverage.json" \
    --html-details "$build/html/index.html" "$objects"
  python3 -B scripts/uncovered.py "$build/coverage.json" --write docs/coverage.md
}

if $run; then
  install_packages gcovr
  # Notes on sources that are compiled elsewhere by now would count as code that does not run.
  rm -rf "$objects"
  build coverage
  log "Running the tests"
  run_all_tests
fi
add_up_counts
report
