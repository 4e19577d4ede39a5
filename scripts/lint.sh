#!/usr/bin/env bash
# Checks the sources: shellcheck over the scripts, clang-format and stale includes over all C++ files, clang-tidy over
# src/, client/ and controller/.
#
#   --quick   without clang-tidy, which takes minutes
#
# clang-tidy needs the compile commands of the debug preset and configures it when they are not there. A file that it
# passed is not looked at again before the file, a header of the project that it includes, or the rules change: what
# passed is remembered in build/lint.
set -euo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

quick=0
while (($#)); do
  case $1 in
    --quick) quick=1 ;;
    *) die "unknown option: $1 (known: --quick)" ;;
  esac
  shift
done
install_packages "${BUILD_PACKAGES[@]}" "${UI_PACKAGES[@]}" "${LINT_PACKAGES[@]}"
cd -- "$ODS_ROOT"
status=0

say "shellcheck"
find .ci scripts tests packaging -type f \( -name '*.sh' -o -name '*.bash-completion' -o -path .ci/run -o -path 'packaging/debian/p*' \) -print0 |
  xargs --null --no-run-if-empty shellcheck --external-sources || status=1

say "clang-format"
list_sources | xargs --null clang-format --dry-run -Werror || status=1

say "Stale includes"
list_sources | grep --null-data --invert-match tests/layers/fixture/ | xargs --null scripts/check-includes.py || status=1

((quick == 0)) || exit "$status"

passed=build/lint
rules=$(clang-tidy --version && cat .clang-tidy)

# shellcheck disable=SC2317  # xargs below calls these.
# state_of FILE: a number that changes with the file, the project's headers that it includes, and the rules.
state_of() {
  # Qt's headers and generated ones may be missing here: they are left out, as those of the system are.
  g++ -std=c++20 -Isrc -Icontroller -MM -MG "$1" 2>/dev/null | tr ' ' '\n' | grep --extended-regexp '\.(cpp|h)$' |
    while read -r dependency; do [[ ! -f $dependency ]] || cat -- "$dependency"; done |
    sha256sum - <(printf '%s\n' "$1" "$rules") | sha256sum | cut --characters=1-64
}

# shellcheck disable=SC2317
# tidy FILE: clang-tidy, unless it passed this very state before.
tidy() {
  local state
  state=$(state_of "$1")
  [[ ! -f $passed/$state ]] || return 0
  clang-tidy --quiet -p build/debug --extra-arg=-Wno-unknown-warning-option "$1" 2>/dev/null || return 1
  printf '%s\n' "$1" >"$passed/$state"
}
export -f state_of tidy
export passed rules

say "clang-tidy"
[[ -f build/debug/compile_commands.json ]] || cmake --preset debug >/dev/null
mkdir --parents -- "$passed"
# shellcheck disable=SC2016  # The shell that xargs starts expands it.
find src client controller -name '*.cpp' -print0 |
  xargs --null --max-args=1 --max-procs="$(nproc)" bash -c 'tidy "$@"' tidy || status=1

exit "$status"
