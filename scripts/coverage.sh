#!/usr/bin/env bash
# Measures which lines and branches of the library the tests run.

. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

usage() {
  cat <<'TEXT'
Usage: scripts/coverage.sh [--no-run] [CTEST OPTION...]

Installs what is missing on Debian 12, builds the library so that it counts, runs
the tests through Wine and reports which of its lines and branches ran, in
build/coverage: coverage.txt, uncovered.txt and html/index.html.

  --no-run      only report what the last run counted
  CTEST OPTION  such as -R CModeChangeConfig: only some of the tests
  --help        this text

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
  --no-run)
    run=false
    shift
    ;;
esac

readonly build=$PWD/build/coverage
readonly counts=$build/counts
readonly objects=$build/src/CMakeFiles
readonly gcov=x86_64-w64-mingw32-gcov-win32
readonly gcov_tool=x86_64-w64-mingw32-gcov-tool-win32

# Each process leaves its counts in a folder of its own, below which they have the path of the
# object files. They are added up where the report looks for them, beside the compiler's notes.
add_up_counts() {
  local sum=$build/sum folder processes=0
  rm -rf "$sum" "$sum.new"
  find "$objects" -name '*.gcda' -delete
  for folder in "$counts"/*/; do
    [[ -d $folder$objects ]] || continue
    if [[ -d $sum ]]; then
      "$gcov_tool" merge "$sum" "$folder$objects" -o "$sum.new" >/dev/null
      rm -rf "$sum"
      mv "$sum.new" "$sum"
    else
      cp -r "$folder$objects" "$sum"
    fi
    ((++processes))
  done
  ((processes > 0)) || fail "no process left counts in $counts"
  cp -r "$sum/." "$objects"
  log "Counts of $processes folders added up"
}

report() {
  # Branches that are taken only when something throws are the compiler's, not the code's.
  local options=(
    --root "$PWD" --filter src/ --object-directory "$objects"
    --gcov-executable "$gcov" --exclude-throw-branches --exclude-unreachable-branches
    --print-summary
  )
  mkdir -p "$build/html"
  nice gcovr "${options[@]}" --txt "$build/coverage.txt" --json "$build/coverage.json" \
    --html-details "$build/html/index.html" "$objects"
  python3 -B scripts/uncovered.py "$build/coverage.json" >"$build/uncovered.txt"
  cat "$build/coverage.txt" "$build/uncovered.txt"
}

if $run; then
  install_packages gcovr
  build coverage
  rm -rf "$counts"
  mkdir -p "$counts"
  log "Running the tests"
  # A failing test has counted too; how many did is a matter of CTest's summary.
  VELTO_COVERAGE="Z:${counts//\//\\}" ctest --preset coverage --parallel "$jobs" \
    --repeat until-pass:2 --exclude-regex 'Fuzz|BinaryTest' "$@" | tail -n 60 || true
fi
add_up_counts
report
