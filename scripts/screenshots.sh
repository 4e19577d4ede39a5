#!/usr/bin/env bash
# Takes the pictures of docs/images anew: from a real run of the windows, on the sample company, on an X server without
# a screen. Look at them before you commit them.
set -euo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

install_packages "${BUILD_PACKAGES[@]}" "${UI_PACKAGES[@]}" "${SQLITE_PACKAGES[@]}" "${DESKTOP_PACKAGES[@]}"
build_preset release test-desktop odbc-sample-data
folder=$(mktemp --directory -- "${TMPDIR:-/tmp}/ods-screenshots.XXXXXX")
trap 'rm --recursive --force -- "$folder"' EXIT
"$ODS_ROOT/scripts/make-sample-database.sh" "$folder/sample.db" "$ODS_ROOT/build/release/bin/odbc-sample-data"
ODS_TEST_SQLITE_SAMPLE=$folder/sample.db ODS_TEST_PICTURES=$ODS_ROOT/docs/images LC_TIME=en_GB.UTF-8 \
  "$ODS_ROOT/build/release/bin/test-desktop" --gtest_filter='*ByHand*'
