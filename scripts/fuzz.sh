#!/usr/bin/env bash
# Builds the fuzzers and runs them, as many side by side as there are processors:
#
#   fuzz.sh [SECONDS per fuzzer, default 3600] [FUZZER...]
#
# Each begins with the inputs of tests/fuzz/corpus/<fuzzer>; what it adds stays in build/fuzz/corpus/<fuzzer>, what it
# said in build/fuzz/<fuzzer>.log, and the inputs that broke something in build/fuzz/found. The status is 0 only when
# nothing was broken. Fuzzers that are still running when the script ends are ended with it.
set -euo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

seconds=${1:-3600}
[[ $seconds =~ ^[1-9][0-9]*$ ]] || die "the seconds are a number from 1: $seconds"
shift $(($# ? 1 : 0))
install_packages "${BUILD_PACKAGES[@]}" "${SANITIZER_PACKAGES[@]}"
build_preset asan fuzzers

names=("$@")
if ((${#names[@]} == 0)); then
  for folder in "$ODS_ROOT"/tests/fuzz/corpus/*/; do
    names+=("$(basename -- "$folder")")
  done
fi
programs=$ODS_ROOT/build/asan/bin
work=$ODS_ROOT/build/fuzz
for name in "${names[@]}"; do
  [[ -x $programs/fuzz-$name ]] || die "there is no fuzzer $name"
done

# The process ids of the fuzzers that run, each with its name.
declare -A running=()
# shellcheck disable=SC2317  # The trap below calls it.
end_all() {
  local pid
  for pid in "${!running[@]}"; do
    kill "$pid" 2>/dev/null || true
    wait "$pid" 2>/dev/null || true
  done
  rm --recursive --force -- "$TMPDIR"
}
# The files of the fuzzers, in memory where there is such a folder: they are written for every input. What a broken one
# leaves behind goes too.
files=/dev/shm
[[ -d $files && -w $files ]] || files=${TMPDIR:-/tmp}
TMPDIR=$(mktemp --directory -- "$files/ods-fuzz.XXXXXX")
export TMPDIR
trap end_all EXIT
trap 'exit 130' INT
trap 'exit 143' TERM
export ASAN_OPTIONS=detect_leaks=1:detect_stack_use_after_return=1
export UBSAN_OPTIONS=print_stacktrace=1

# start NAME: what a target says of inputs that it refuses goes into the log, not onto the screen.
start() {
  local name=$1
  mkdir --parents -- "$work/found" "$work/corpus/$name"
  "$programs/fuzz-$name" -max_total_time="$seconds" -rss_limit_mb=2048 -timeout=20 -max_len=65536 -print_final_stats=1 \
    -artifact_prefix="$work/found/$name-" "$work/corpus/$name" "$ODS_ROOT/tests/fuzz/corpus/$name" \
    >"$work/$name.log" 2>&1 &
  running[$!]=$name
}

# finish_one: waits for any of the running fuzzers and tells how it went; fails when it broke something.
finish_one() {
  local pid name result=0
  wait -n -p pid "${!running[@]}" || result=1
  name=${running[$pid]}
  unset "running[$pid]"
  if ((result)); then
    tail --lines=60 "$work/$name.log"
    say "fuzz-$name: FAILED"
    return 1
  fi
  say "fuzz-$name: $(sed --quiet 's/^stat::number_of_executed_units: */runs: /p; s/^stat::peak_rss_mb: */MiB at most: /p' \
    "$work/$name.log" | paste --serial --delimiters=, | sed 's/,/, /')"
}

status=0
say "Running ${#names[@]} fuzzers for $seconds s each"
for name in "${names[@]}"; do
  ((${#running[@]} < $(nproc))) || finish_one || status=1
  start "$name"
done
while ((${#running[@]})); do
  finish_one || status=1
done
exit "$status"
