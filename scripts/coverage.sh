#!/usr/bin/env bash
# Measures which lines and branches of the library the tests run.

. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

usage() {
  cat <<'TEXT'
Usage: scripts/coverage.sh [--no-run | --filter PATTERN]

Installs what is missing on Debian 12, builds the library so that it counts, runs the
tests through Wine and reports which of its lines and branches ran: in build/coverage
as coverage.txt and html/index.html, and in docs/coverage.md. Ends with an error where
something did not run and tests/uncovered.tsv does not say why.

  --no-run          only report what the last run counted
  --filter PATTERN  only some tests, as GoogleTest's --gtest_filter; leaves
                    docs/coverage.md alone
  --help            this text

Fuzzing is left out: what only random input reaches is not covered. So are the tests
of the DLL as a file, as this build's is not the one that is delivered.
TEXT
}

run=true
filter='*'
case "${1-}" in
  --help)
    usage
    exit
    ;;
  --no-run) run=false ;;
  --filter) filter=${2:?--filter needs a pattern} ;;
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
# takes a tenth of the time that CTest needs.
run_tests() {
  local name log
  name=$(basename "$1" .exe)-$3-$4
  log=$logs/$name${2//[^a-zA-Z]/}.log
  # Wine now and then ends a process at its start, without a word: so there is a second try. What
  # failed has counted too, and is a matter of the tests themselves.
  VELTO_WINDOWS=$3 VELTO_LOCALE=$4.UTF-8 scripts/run-under-wine.sh "$1" --gtest_filter="$2" &>"$log" ||
    VELTO_WINDOWS=$3 VELTO_LOCALE=$4.UTF-8 scripts/run-under-wine.sh "$1" --gtest_filter="$2" &>"$log" ||
    printf 'some tests failed, see %s\n' "$log"
}

run_all_tests() {
  local program locale programs
  mapfile -t programs < <(find build/coverage/tests -name '*_tests.exe' ! -name fuzz_tests.exe | sort)
  rm -rf "$counts" "$logs"
  mkdir -p "$counts" "$logs"
  export VELTO_COVERAGE="Z:${counts//\//\\}" VELTO_SUPERVISOR_SECONDS=3600
  for program in "${programs[@]}"; do
    while (($(jobs -rp | wc -l) >= jobs)); do wait -n || true; done
    {
      run_tests "$program" "$filter-*FocusTest.*:BinaryTest.*" win10 en_US
      [[ $filter == '*' ]] || continue
      run_tests "$program" '*EachWindows*' win7 en_US
      for locale in ja_JP de_AT eo; do run_tests "$program" '*EachLocale*' win10 "$locale"; done
    } &
  done
  wait
  # There is one keyboard, which windows take from each other.
  [[ $filter == '*' ]] || return 0
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
  python3 -B scripts/uncovered.py "$build/coverage.json" "$@"
}

if $run; then
  install_packages gcovr
  build coverage
  log "Running the tests"
  run_all_tests
fi
add_up_counts
if [[ $filter == '*' ]]; then
  report --write docs/coverage.md
else
  report
fi
