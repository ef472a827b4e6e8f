#!/usr/bin/env bash
# Installs what is missing, checks and builds the project, and runs all of its tests.

. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

usage() {
  cat <<'TEXT'
Usage: scripts/test.sh [--fast]

Installs what is missing on Debian 12, checks the formatting, builds with GCC and
Clang, runs clang-tidy, then the tests of the Clang build but for those that try the
product by the thousands, and all tests of the release build. Ends with CTest's summary
of the latter.

  --fast   only build and test the release build
  --help   this text
TEXT
}

check_formatting() {
  log "Checking the formatting"
  cpp_files '*.cpp' '*.h' | xargs clang-format --dry-run -Werror
}

# Clang's build knows how each file is compiled and with which headers. Findings go to the standard
# output; what is left out is how many clang-tidy saw in the system's headers. Tests are left out:
# GoogleTest's macros would cost more time than all else together, and are most of what is found. So is
# the starter, a project of its own.
run_clang_tidy() {
  log "Running clang-tidy"
  cpp_files '*.cpp' | grep -vE '^\./(tests|samples/starter)/' | xargs -n 1 -P "$jobs" clang-tidy --quiet -p build/clang 2>&1 |
    sed --unbuffered -E '/^[0-9]+ warnings? generated\.$/d'
}

# Wine now and then ends a process at its start, without a word. So a test that fails gets a second
# chance; CTest's output names each that took it.
again=(--repeat until-pass:2)

# A test waits for windows, timers and Wine's server for a good part of its time.
tests_at_once=$((jobs + 1))

test_clang_build() {
  log "Testing the Clang build"
  local output=build/clang/tests.log
  if ! ctest --preset clang --parallel "$tests_at_once" "${again[@]}" &>"$output"; then
    cat "$output"
    fail "tests of the Clang build failed"
  fi
  grep '% tests passed,' "$output"
}

# The whole run of the release build also judges whether every failure point was observed, and makes
# calls fail. CTest keeps the output of a test that passes to itself, so the reports go in before its
# summary.
test_release_build() {
  log "Testing the release build"
  rm -f build/release/{trace_coverage,faults}.txt
  VELTO_WHOLE_RUN=1 ctest --preset release --parallel "$tests_at_once" "${again[@]}" |
    sed --unbuffered '/% tests passed,/e cat build/release/trace_coverage.txt; tail -n 1 build/release/faults.txt'
}

case "${1-}" in
  "") fast=false ;;
  --fast) fast=true ;;
  --help)
    usage
    exit
    ;;
  *)
    usage >&2
    exit 64
    ;;
esac

install_packages
if ! $fast; then
  check_formatting
  build clang
  run_clang_tidy
  test_clang_build
fi
build release
test_release_build
