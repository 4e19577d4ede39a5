#!/usr/bin/env bash
# Checks the sources: shellcheck over the scripts, clang-format over all C++ files, clang-tidy over src/ and client/.
# clang-tidy needs the compile commands of the release preset and configures it when they are not there.
set -euo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

(($# == 0)) || die "takes no arguments"
install_packages "${BUILD_PACKAGES[@]}" "${UI_PACKAGES[@]}" "${LINT_PACKAGES[@]}"
cd -- "$ODS_ROOT"
status=0

say "shellcheck"
find .ci scripts tests -type f \( -name '*.sh' -o -path .ci/run \) -print0 |
  xargs --null --no-run-if-empty shellcheck --external-sources || status=1

say "clang-format"
list_sources | xargs --null clang-format --dry-run -Werror || status=1

say "clang-tidy"
[[ -f build/release/compile_commands.json ]] || cmake --preset release >/dev/null
find src client -name '*.cpp' -print0 |
  xargs --null --max-args=1 --max-procs="$(nproc)" clang-tidy --quiet -p build/release --extra-arg=-Wno-unknown-warning-option 2>/dev/null || status=1

exit "$status"
