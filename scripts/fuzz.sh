#!/usr/bin/env bash
# Builds the fuzzers and runs one after the other: fuzz.sh [SECONDS per fuzzer, default 3600] [FUZZER...]
# Each begins with the inputs of tests/fuzz/corpus/<fuzzer>; what it adds stays in build/fuzz/corpus/<fuzzer>, and the
# inputs that broke something in build/fuzz/found. The status is 0 only when nothing was broken.
set -euo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

seconds=${1:-3600}
[[ $seconds =~ ^[1-9][0-9]*$ ]] || die "the seconds are a number from 1: $seconds"
shift $(($# ? 1 : 0))
install_packages "${BUILD_PACKAGES[@]}" "${FUZZ_PACKAGES[@]}"
build_preset fuzz

names=("$@")
if ((${#names[@]} == 0)); then
  for folder in "$ODS_ROOT"/tests/fuzz/corpus/*/; do
    names+=("$(basename -- "$folder")")
  done
fi
work=$ODS_ROOT/build/fuzz
mkdir --parents -- "$work/found"
export ASAN_OPTIONS=detect_leaks=1:detect_stack_use_after_return=1
export UBSAN_OPTIONS=print_stacktrace=1

status=0
for name in "${names[@]}"; do
  program=$work/bin/fuzz-$name
  [[ -x $program ]] || die "there is no fuzzer $name"
  mkdir --parents -- "$work/corpus/$name"
  say "fuzz-$name for $seconds s"
  # What a target says of inputs that it refuses goes into the log, not onto the screen.
  if "$program" -max_total_time="$seconds" -rss_limit_mb=2048 -timeout=20 -max_len=65536 -print_final_stats=1 \
    -artifact_prefix="$work/found/$name-" "$work/corpus/$name" "$ODS_ROOT/tests/fuzz/corpus/$name" \
    >"$work/$name.log" 2>&1; then
    grep --extended-regexp 'number_of_executed_units|peak_rss_mb' "$work/$name.log" || true
  else
    tail --lines=60 "$work/$name.log"
    say "fuzz-$name: FAILED"
    status=1
  fi
done
exit "$status"
