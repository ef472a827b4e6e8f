#!/usr/bin/env bash
# Tries damaged configuration files on the whole public interface of the release build.

. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

usage() {
  cat <<'TEXT'
Usage: scripts/fuzz.sh [--sets N] [--seed S] [--minutes M]
       scripts/fuzz.sh --only SEED

Installs what is missing on Debian 12, builds the release build's interface_fuzz and
runs it through Wine: sets of configuration files, each damaged in a way that its
seed decides, on which a host with a user before its dialogs uses everything that
the library offers. Prints how many sets were tried, and for each one that failed
the command that repeats it.

  --sets N     how many sets to try; 100000 if not given
  --seed S     the first seed, 0 if not given
  --minutes M  start nothing new after that time
  --only SEED  try only this set, and keep its files in build/fuzz
  --help       this text
TEXT
}

sets=100000
seed=0
minutes=
only=
while (($# > 0)); do
  case $1 in
    --help)
      usage
      exit
      ;;
    --sets | --seed | --minutes | --only)
      [[ ${2-} =~ ^[0-9]+$ ]] || fail "$1 needs a number"
      declare "${1#--}=$2"
      shift 2
      ;;
    *)
      usage >&2
      exit 64
      ;;
  esac
done

program=build/release/tests/system/interface_fuzz.exe
install_packages
build release interface_fuzz
mkdir -p build/fuzz

if [[ -n $only ]]; then
  files=$PWD/build/fuzz
  VELTO_FUZZ_SEED=$only VELTO_FUZZ_FILES="Z:${files//\//\\}" scripts/run-under-wine.sh "$program"
  exit
fi

# A process tries so many sets and ends: what is left over shows at its end, and a failure costs
# only the rest of one block.
readonly block=500
export VELTO_SUPERVISOR_SECONDS=$((block * 60))

log "Trying $sets sets of files, from seed $seed on"
tried=0
failures=()
next=$seed
end=$((seed + sets))
totals=build/fuzz/totals.txt
: >"$totals"
while ((next < end)) && { [[ -z $minutes ]] || ((SECONDS < minutes * 60)); }; do
  count=$((end - next < block ? end - next : block))
  output=build/fuzz/block.log
  if VELTO_FUZZ_FIRST=$next VELTO_FUZZ_SETS=$count \
    scripts/run-under-wine.sh "$program" &>"$output"; then
    ((tried += count))
    ((next += count))
  else
    # The last number printed is that of the set that failed.
    last=$(grep -aoE '^([0-9]+ )+' "$output" | tail -n 1 | grep -oE '[0-9]+' | tail -n 1 || true)
    if [[ -z $last ]]; then
      cat "$output"
      fail "the program did not start"
    fi
    cp "$output" "build/fuzz/failure-$last.log"
    failures+=("$last")
    printf 'set %s failed (see build/fuzz/failure-%s.log); to repeat: scripts/fuzz.sh --only %s\n' \
      "$last" "$last" "$last"
    ((tried += last - next + 1))
    next=$((last + 1))
  fi
  grep -aE '^  [a-z ]+ +[0-9]+$' "$output" >>"$totals" || true
  ((tried % (20 * block) != 0)) || printf '%s sets tried after %s seconds\n' "$tried" "$SECONDS"
done

log "$tried file sets tried in $SECONDS seconds, ${#failures[@]} failed"
# What the processes counted, added up in the order in which they print it.
awk '{ count = $NF; sub(/ +[0-9]+$/, ""); if (!($0 in sum)) order[++lines] = $0; sum[$0] += count }
  END { for (i = 1; i <= lines; ++i) printf "%-30s %d\n", order[i], sum[order[i]] }' "$totals"
((${#failures[@]} == 0)) || exit 1
