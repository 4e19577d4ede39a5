#!/usr/bin/env bash
# Floods a server on each database with hostile requests: flood.sh [COUNT per database, default 100000] [SEED]
# SQLite, PostgreSQL, MariaDB, and all products that the stand-in driver of the tests plays. Every request must get exactly
# one well-formed answer, the server must live on and not grow, and no row of any table may change (tests/e2e/Flood.cpp).
# It prints the seed, the rate, the memory and the answers by kind; a failure is repeated by its seed and its request
# number. The database servers are this script's own and end with it.
set -euo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

(($# <= 2)) || die "takes a count and a seed at most"
count=${1:-100000}
seed=${2:-}
[[ $count =~ ^[1-9][0-9]*$ ]] || die "the count is a number from 1: $count"
[[ $seed =~ ^[0-9]*$ ]] || die "the seed is a number: $seed"

install_packages "${BUILD_PACKAGES[@]}" "${SQLITE_PACKAGES[@]}" "${TEST_PACKAGES[@]}"
build_preset release test-e2e odbc-sample-data
folder=$(mktemp --directory -- "${TMPDIR:-/tmp}/ods-flood.XXXXXX")
# The users that the database servers run as must get to their folders; the folders themselves are closed.
chmod 0711 -- "$folder"
trap 'stop_servers; rm --recursive --force -- "$folder"' EXIT

say "Starting PostgreSQL and MariaDB"
postgresql_port='' mariadb_port=''
start_on_free_port postgresql_port start_postgresql "$folder/postgresql"
start_on_free_port mariadb_port start_mariadb "$folder/mariadb"
"$ODS_ROOT/scripts/make-sample-database.sh" "$folder/sample.db" "$ODS_ROOT/build/release/bin/odbc-sample-data"
ODS_TEST_POSTGRESQL_SCRATCH=$(postgresql_connection_string "$folder/postgresql" "$postgresql_port" scratch)
ODS_TEST_MARIADB_SCRATCH=$(mariadb_connection_string "$folder/mariadb" "$mariadb_port" scratch)
ODS_TEST_SQLITE_SAMPLE=$folder/sample.db
ODS_TEST_FLOOD=$count
ODS_TEST_SEED=$seed
export ODS_TEST_POSTGRESQL_SCRATCH ODS_TEST_MARIADB_SCRATCH ODS_TEST_SQLITE_SAMPLE ODS_TEST_FLOOD ODS_TEST_SEED

say "Sending $count requests to each of four servers"
"$ODS_ROOT/build/release/bin/test-e2e" --gtest_filter='Databases/Flood.*'
