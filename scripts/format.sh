#!/usr/bin/env bash
# Formats all C++ files of the project in place.
set -euo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

(($# == 0)) || die "takes no arguments"
install_packages clang-format
cd -- "$ODS_ROOT"
list_sources | xargs --null clang-format -i
