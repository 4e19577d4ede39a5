#!/usr/bin/env bash
# Builds the release preset and runs every benchmark of it on the sample company in SQLite. Arguments go to each of
# the programs, for example --benchmark_filter=REGEX.
set -euo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

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
