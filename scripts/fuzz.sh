#!/usr/bin/env bash
# Tries damaged configuration files on the whole public interface of the release build.

. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

usage() {
  cat <<'TEXT'
Usage: scripts/fuzz.sh [--sets N] [--seed S] [--minutes M] [--jobs J]
       scripts/fuzz.sh --only SEED

Installs what is missing on Debian 12, builds the release build's interface_fuzz and
runs it through Wine: sets of configuration files, each damaged in a way that its
seed decides, on which a host with a user before its dialogs uses everything that
the library offers. Prints how many sets were tried, and for each one that failed
the command that repeats it.

  --sets N     how many sets to try; 100000 if not given
  --seed S     the first seed, 0 if not given
  --minutes M  start nothing new after that time
  --jobs J     how many processes at a time; one for each processor if not given
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
    --sets | --seed | --minutes | --jobs | --only)
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
# What nobody looks at need not be drawn.
export VELTO_SCREEN=none
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
readonly blocks=$PWD/build/fuzz/blocks
export VELTO_SUPERVISOR_SECONDS=$((block * 60))

# try_alone SET OUTPUT: with ten minutes of time, because on a busy machine Windows' own work in a
# set takes longer than a set may.
try_alone() {
  VELTO_FUZZ_SEED=$1 VELTO_FUZZ_SECONDS=600 scripts/run-under-wine.sh "$program" &>"$2"
}

# judge_failure SET OUTPUT: a set that took too long has failed only if it does so alone, too.
judge_failure() {
  if grep -aq 'still runs after' "$2" && try_alone "$1" "$2.alone"; then
    printf 'set %s took too long, and passed alone\n' "$1"
    printf '%s\n' "$1" >>"$blocks/slow"
    return
  fi
  cp "$2" "build/fuzz/failure-$1.log"
  printf '%s\n' "$1" >>"$blocks/failures"
  printf 'set %s failed (see build/fuzz/failure-%s.log); to repeat: scripts/fuzz.sh --only %s\n' \
    "$1" "$1" "$1"
}

# try_block FIRST COUNT: goes on behind a set that fails. Leaves what the program printed, and the
# numbers of the sets that failed.
try_block() {
  local next=$1 end=$(($1 + $2)) name=$blocks/$1 last starts=0
  while ((next < end)); do
    if VELTO_FUZZ_FIRST=$next VELTO_FUZZ_SETS=$((end - next)) \
      scripts/run-under-wine.sh "$program" &>"$name.part"; then
      last=$end
    else
      # The last number printed is that of the set that failed.
      last=$(grep -aoE '^([0-9]+ )+' "$name.part" | tail -n 1 | grep -oE '[0-9]+' | tail -n 1 || true)
      if [[ -z $last ]]; then
        # Wine now and then ends a process at its start, without a word.
        ((++starts < 3)) || last=$next
      fi
      if [[ -n $last ]]; then
        judge_failure "$last" "$name.part"
        ((++last))
      fi
    fi
    cat "$name.part" >>"$name.log"
    [[ -z $last ]] || next=$last
  done
  rm -f "$name.part" "$name.part.alone"
  printf '%s\n' "$2" >>"$blocks/tried"
}

log "Trying $sets sets of files, from seed $seed on"
rm -rf "$blocks"
mkdir -p "$blocks"
touch "$blocks/tried" "$blocks/failures" "$blocks/slow"
end=$((seed + sets))
for ((first = seed; first < end; first += block)); do
  while (($(jobs -rp | wc -l) >= jobs)); do wait -n || true; done
  [[ -z $minutes ]] || ((SECONDS < minutes * 60)) || break
  try_block "$first" "$((end - first < block ? end - first : block))" &
  if (((first - seed) % (20 * block) == 0)); then
    printf '%s: %s sets behind\n' "$(date +%T)" "$((first - seed))"
  fi
done
wait

sum() { awk '{ sum += $1 } END { print sum + 0 }' "$1"; }
failures=$(wc -l <"$blocks/failures")
log "$(sum "$blocks/tried") file sets tried in $SECONDS seconds, $failures failed"
printf '%s of them took too long and were tried once more, alone\n' "$(wc -l <"$blocks/slow")"
# What the processes counted, added up in the order in which they print it.
find "$blocks" -name '*.log' -exec grep -ahE '^  [A-Za-z ]+ +[0-9]+.?$' {} + | tr -d '\r' |
  awk '{ count = $NF; sub(/ +[0-9]+$/, ""); if (!($0 in sum)) order[++lines] = $0; sum[$0] += count }
    END { for (i = 1; i <= lines; ++i) printf "%-30s %d\n", order[i], sum[order[i]] }'
((failures == 0))
