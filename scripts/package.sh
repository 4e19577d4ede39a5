#!/usr/bin/env bash
# Makes the Debian packages in build/package, out of the programs of the release build, and has lintian check them.
# Errors of lintian are this script's; warnings are only shown.
set -euo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

(($# == 0)) || die "takes no arguments"
install_packages "${BUILD_PACKAGES[@]}" "${UI_PACKAGES[@]}" "${PACKAGE_PACKAGES[@]}"
cd -- "$ODS_ROOT"
umask 022  # what the packages' folders get

build_preset package odbc-data-server odbc-data-server-windows odbc-data-client odbc-data-controller
say "Making the packages"
rm --recursive --force -- build/package
cpack --preset package
rm --recursive --force -- build/package/_CPack_Packages
cmake --preset release >/dev/null # which `cmake --install` is for: it must not lay anything out in /usr unasked
say "lintian"
temporary=$(mktemp --directory) # lintian leaves files behind
trap 'rm --recursive --force -- "$temporary"' EXIT
# They are no upload to Debian, where somebody would have asked for them by a bug report.
TMPDIR=$temporary lintian --allow-root --suppress-tags initial-upload-closes-no-bugs --fail-on error build/package/*.deb
