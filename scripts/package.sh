#!/usr/bin/env bash
# Makes the Debian packages in build/package, out of the programs of the release build, and has lintian check them.
# Errors of lintian are this script's; warnings are only shown.
set -euo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

(($# == 0)) || die "takes no arguments"
install_packages "${BUILD_PACKAGES[@]}" "${UI_PACKAGES[@]}" "${PACKAGE_PACKAGES[@]}"
cd -- "$ODS_ROOT"
umask 022 # what the packages' folders get

temporary=$(mktemp --directory -- "${TMPDIR:-/tmp}/ods-package.XXXXXX")
# shellcheck disable=SC2317  # The trap below calls it.
end_all() {
  rm --recursive --force -- "$temporary"
  # The tree is for `cmake --install` again, which must not lay anything out in /usr unasked.
  cmake --preset release >/dev/null
}
trap end_all EXIT

build_preset package odbc-data-server odbc-data-server-windows odbc-data-client odbc-data-controller
say "Making the packages"
rm --recursive --force -- build/package
cpack --preset package
rm --recursive --force -- build/package/_CPack_Packages

say "lintian"
# They are no upload to Debian, where somebody would have asked for them by a bug report. Files that lintian leaves behind
# go with the folder.
TMPDIR=$temporary lintian --allow-root --suppress-tags initial-upload-closes-no-bugs --fail-on error build/package/*.deb
