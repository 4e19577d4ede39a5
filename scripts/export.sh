#!/usr/bin/env bash
# Exports a table of a million rows (or ROWS) of PostgreSQL by odbc-data-client, and by psql's \copy beside it: compares the
# two files byte by byte, and prints rows a second of both and the memory of client and server while it goes on.
#
#   scripts/export.sh [ROWS]
#
# The status is 0 only when the files are the same and the memory stays flat: what client and server hold in the second
# half is at most an eighth more than the most they held in the first. The database server is this script's own.
set -euo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

(($# <= 1)) || die "takes a number of rows at most"
rows=${1:-1000000}
[[ $rows =~ ^[1-9][0-9]*$ ]] || die "the number of rows is a number from 1: $rows"

install_packages "${BUILD_PACKAGES[@]}" odbcinst odbc-postgresql postgresql
build_preset release odbc-data-server odbc-data-client
programs=$ODS_ROOT/build/release/bin
folder=$(mktemp --directory -- "${TMPDIR:-/tmp}/ods-export.XXXXXX")
chmod 0711 -- "$folder"
server='' client=''
# shellcheck disable=SC2317  # The trap below calls it.
end_all() {
  [[ -z $client ]] || kill "$client" 2>/dev/null || true
  [[ -z $server ]] || kill "$server" 2>/dev/null || true
  wait
  rm --recursive --force -- "$folder"
}
trap 'stop_servers; end_all' EXIT

use_own_driver_list "$folder/odbc"
port=''
start_on_free_port port start_postgresql "$folder/postgresql"
say "Making a table of $rows rows"
postgresql_client "$folder/postgresql" "$port" sample --quiet --set=rows="$rows" <<'SQL'
CREATE TABLE entry (id bigint PRIMARY KEY, account integer NOT NULL, booked date NOT NULL, entered timestamp(3) NOT NULL,
  amount numeric(14,2), text varchar(80) NOT NULL, note text, rate double precision, open boolean NOT NULL);
INSERT INTO entry SELECT 5000000000 + n * 3, n % 997, date '2001-01-01' + (n % 9000)::integer,
  timestamp '2020-02-02 02:02:02.002' + n * interval '1.234 seconds', CASE WHEN n % 11 > 0 THEN n * 7.13 - 50000 END,
  'Entry ' || n || CASE n % 5 WHEN 0 THEN ', "quoted"' WHEN 1 THEN ' Größe 漢字' ELSE '' END,
  CASE n % 4 WHEN 0 THEN NULL WHEN 1 THEN '' ELSE repeat('note ', (n % 13)::integer) END,
  CASE WHEN n % 3 > 0 THEN n / 7.0 END, n % 2 = 0 FROM generate_series(1, :rows) AS n;
ANALYZE entry;
SQL

# seconds_of COMMAND...: runs it and sets `seconds`.
seconds_of() {
  local start=$EPOCHREALTIME
  "$@"
  seconds=$(awk -v a="$start" -v b="$EPOCHREALTIME" 'BEGIN { printf "%.1f", b - a }')
}
# resident PID: kilobytes; nothing for a process that has ended.
resident() { awk '/^VmRSS/ { print $2 }' "/proc/$1/status" 2>/dev/null || true; }

say "psql: \\copy"
seconds_of postgresql_client "$folder/postgresql" "$port" sample --quiet --command="\\copy (SELECT id, account, booked, entered, amount,
  text, note, rate, CASE WHEN open THEN 1 ELSE 0 END AS open FROM entry ORDER BY id) TO '$folder/copy.csv' WITH (FORMAT csv, HEADER)"
copy_seconds=$seconds

say "odbc-data-client: export"
mkdir -- "$folder/config"
printf '<Settings><ConnectionString>%s</ConnectionString></Settings>\n' "$(postgresql_connection_string "$folder/postgresql" "$port")" \
  >"$folder/config/dataserver.xml"
setpriv --pdeathsig TERM -- "$programs/odbc-data-server" /hidden /exact /instance=export "/datafolder=$folder/data" \
  "/configfolder=$folder/config" "/inqueue=$folder/requests" "/outqueue=$folder/results" >"$folder/server.out" 2>&1 &
server=$!
wait_until_ready "$server" 20 test -d "$folder/requests/new" -a -d "$folder/results/new" || die "the server did not come up"
start=$EPOCHREALTIME
"$programs/odbc-data-client" --requests "$folder/requests" --results "$folder/results" export entry --lf \
  --output-file "$folder/export.csv" &
client=$!
while kill -0 "$client" 2>/dev/null; do
  printf '%s %s %s\n' "$EPOCHREALTIME" "$(resident "$client")" "$(resident "$server")"
  sleep 0.1
done >"$folder/memory"
wait "$client" || die "the export failed"
client=
end=$EPOCHREALTIME
export_seconds=$(awk -v a="$start" -v b="$end" 'BEGIN { printf "%.1f", b - a }')

status=0
for way in "copy $copy_seconds" "export $export_seconds"; do
  read -r name seconds <<<"$way"
  awk -v name="$name" -v rows="$rows" -v seconds="$seconds" \
    'BEGIN { printf "%-8s %8.1f s %10.0f rows a second\n", name, seconds, rows / (seconds > 0 ? seconds : 0.1) }'
done
# The most of the first half, and of the second.
awk -v start="$start" -v end="$end" '
  NF == 3 { half = $1 < (start + end) / 2 ? 1 : 2
    for (i = 2; i <= 3; ++i) if ($i > most[half, i]) most[half, i] = $i }
  END { name[2] = "client"; name[3] = "server"
    for (i = 2; i <= 3; ++i) {
      printf "%-8s %8.1f MB at most in the first half, %.1f MB in the second\n", name[i], most[1, i] / 1024, most[2, i] / 1024
      if (most[2, i] > most[1, i] * 1.125) failed = 1
    }
    exit failed }' "$folder/memory" || { say "FAILED: the memory grows"; status=1; }
if cmp -- "$folder/copy.csv" "$folder/export.csv"; then
  say "The files are the same: $(wc --bytes <"$folder/export.csv") bytes"
else
  status=1
fi
exit "$status"
