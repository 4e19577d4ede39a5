#!/usr/bin/env bash
# What a page of exact paging costs at the beginning, in the middle and at the end of a table of a million rows (or ROWS)
# on SQLite, PostgreSQL and MariaDB: says whether each statement is served by an index, and prints how long the pages
# take in relation to the first. Takes some minutes.
#
#   scripts/page-cost.sh [ROWS]
#
# The database servers are this script's own and end with it.
set -euo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

install_packages "${BUILD_PACKAGES[@]}" "${UI_PACKAGES[@]}" "${SQLITE_PACKAGES[@]}" "${TEST_PACKAGES[@]}"
build_preset release test-exactwalk
folder=$(mktemp --directory -- "${TMPDIR:-/tmp}/ods-page-cost.XXXXXX")
chmod 0711 -- "$folder"
trap 'stop_servers; rm --recursive --force -- "$folder"' EXIT
use_own_driver_list "$folder/odbc"
postgresql_port='' mariadb_port=''
start_on_free_port postgresql_port start_postgresql "$folder/postgresql"
start_on_free_port mariadb_port start_mariadb "$folder/mariadb"
ODS_TEST_POSTGRESQL_SCRATCH=$(postgresql_connection_string "$folder/postgresql" "$postgresql_port" scratch)
ODS_TEST_MARIADB_SCRATCH=$(mariadb_connection_string "$folder/mariadb" "$mariadb_port" scratch)
export ODS_TEST_POSTGRESQL_SCRATCH ODS_TEST_MARIADB_SCRATCH
ODS_PAGE_COST_ROWS=${1:-1000000} "$ODS_ROOT/build/release/bin/test-exactwalk" --gtest_filter='*PageCost.*'
