#!/usr/bin/env bash
# Builds the release preset and runs every benchmark of it on the sample company in SQLite. Arguments go to each of
# the programs, for example --benchmark_filter=REGEX.
#
#   scripts/bench.sh --pages [--quick] [--rounds COUNT] [--requests COUNT] [--details FILE]
#
# compares the ways of reading a page instead, side by side on SQLite, PostgreSQL and MariaDB: the statements alone, the
# handler, the whole way through the queue folders, and a script with pyodbc and lxml (bench/peer); lists of tables, start,
# memory, the log, the instructions of a page, and the export of a table beside the databases' own. It prints Markdown
# tables for docs/benchmarks.md; FILE gets every median and 99th percentile. With --quick, which alone means the same, it
# takes four to five minutes after the build, otherwise some forty, with tables of a million rows and 100,000 requests to
# each server.
set -euo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

# The machine, its system and the versions of what takes part, as a sentence.
describe_machine() {
  local package versions=() postgresql
  postgresql=$(basename -- "$(dirname -- "$(postgresql_programs)")")
  for package in unixodbc libsqliteodbc odbc-postgresql odbc-mariadb libsqlite3-0 "postgresql-$postgresql" mariadb-server python3 python3-pyodbc python3-lxml; do
    versions+=("$package $(dpkg-query --show --showformat='${Version}' "$package")")
  done
  printf '%s × %s, Linux %s, %s; %s.\n' "$(nproc)" "$(sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head --lines=1)" "$(uname --kernel-release)" \
    "$(. /etc/os-release && printf '%s' "$PRETTY_NAME")" "$(printf '%s, ' "${versions[@]}" | sed 's/, $//')"
}

compare_pages() {
  local export_rows=1000000
  [[ " $* " != *" --quick "* ]] || export_rows=100000
  install_packages "${BUILD_PACKAGES[@]}" "${UI_PACKAGES[@]}" "${SQLITE_PACKAGES[@]}" "${PAGES_PACKAGES[@]}"
  build_preset release odbc-data-server odbc-data-client pages-compare pages-instructions
  folder=$(mktemp --directory -- "${TMPDIR:-/tmp}/ods-bench.XXXXXX")
  chmod 0711 -- "$folder"
  trap 'stop_servers; rm --recursive --force -- "$folder"' EXIT
  use_own_driver_list "$folder/odbc"
  local postgresql_port='' mariadb_port='' load programs=$ODS_ROOT/build/release/bin
  start_on_free_port postgresql_port start_postgresql "$folder/postgresql"
  start_on_free_port mariadb_port start_mariadb "$folder/mariadb"
  export ODS_BENCH_SQLITE="Driver=SQLite3;Database=$folder/pages.db"
  ODS_BENCH_POSTGRESQL=$(postgresql_connection_string "$folder/postgresql" "$postgresql_port" scratch)
  ODS_BENCH_MARIADB=$(mariadb_connection_string "$folder/mariadb" "$mariadb_port" scratch)
  export ODS_BENCH_POSTGRESQL ODS_BENCH_MARIADB
  load=$(cut --delimiter=' ' --fields=1 /proc/loadavg)
  "$programs/pages-compare" "$ODS_ROOT/bench/peer/peer.py" "$@"
  printf '\nInstructions, counted by callgrind:\n\n'
  "$programs/pages-instructions"
  stop_servers
  "$ODS_ROOT/scripts/export.sh" "$export_rows" >"$folder/export"
  printf '\n'
  sed --quiet '/^Export of/,$p' "$folder/export"
  printf '\n%s: %s Load before it %s, after it %s.\n' "$(date +%F)" "$(describe_machine)" "$load" "$(cut --delimiter=' ' --fields=1 /proc/loadavg)"
}

case ${1:-} in
  --pages | --quick)
    [[ $1 == --quick ]] || shift
    compare_pages "$@"
    exit
    ;;
esac

install_packages "${BUILD_PACKAGES[@]}" "${UI_PACKAGES[@]}" "${DESKTOP_PACKAGES[@]}" "${SQLITE_PACKAGES[@]}" rabbitmq-server openssl
build_preset release
folder=$(mktemp --directory -- "${TMPDIR:-/tmp}/ods-bench.XXXXXX")
display_pid=
chmod 0711 -- "$folder"
trap '[[ -z $display_pid ]] || kill "$display_pid"; stop_servers; rm --recursive --force -- "$folder"' EXIT
"$ODS_ROOT/scripts/make-sample-database.sh" "$folder/sample.db" "$ODS_ROOT/build/release/bin/odbc-sample-data"
export ODS_TEST_SQLITE_SAMPLE=$folder/sample.db

# A display for the server with windows: without it that benchmark says that there is none.
mkfifo -- "$folder/display"
Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp 3>"$folder/display" 2>/dev/null &
display_pid=$!
read -r display <"$folder/display"
export DISPLAY=:$display

broker_port=''
start_on_free_port broker_port start_rabbitmq "$folder/rabbitmq"
ODS_BENCH_AMQP=$(rabbitmq_uri "$folder/rabbitmq" "$broker_port")
export ODS_BENCH_AMQP

shopt -s nullglob
programs=("$ODS_ROOT"/build/release/bin/bench-*)
((${#programs[@]})) || die "there are no benchmarks"
status=0
for program in "${programs[@]}"; do
  say "$(basename -- "$program")"
  "$program" "$@" || status=1
done
exit "$status"
