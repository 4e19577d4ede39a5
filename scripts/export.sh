#!/usr/bin/env bash
# Exports a table of a million rows (or ROWS) by odbc-data-client, and by the database's own client beside it (psql's \copy,
# mariadb --batch): compares the files, and prints as a Markdown table what both took, and the memory of client and server
# while it went on.
#
#   scripts/export.sh [ROWS] [postgresql | mariadb]
#
# The status is 0 only when the files are the same and the memory stays flat: what client and server hold in the second
# half is at most an eighth more than the most they held in the first. The database servers are this script's own.
# shellcheck disable=SC2317  # The functions of a product are called by names that are put together; traps call others.
set -euo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

(($# <= 2)) || die "takes a number of rows and a product at most"
rows=${1:-1000000}
[[ $rows =~ ^[1-9][0-9]*$ ]] || die "the number of rows is a number from 1: $rows"
products=("${2:-postgresql}")
(($# == 2)) || products+=(mariadb)
[[ ${products[0]} == postgresql || ${products[0]} == mariadb ]] || die "the product is postgresql or mariadb: $2"

install_packages "${BUILD_PACKAGES[@]}" odbcinst odbc-postgresql postgresql odbc-mariadb mariadb-server
build_preset release odbc-data-server odbc-data-client
programs=$ODS_ROOT/build/release/bin
folder=$(mktemp --directory -- "${TMPDIR:-/tmp}/ods-export.XXXXXX")
chmod 0711 -- "$folder"
server='' client=''
end_all() {
  [[ -z $client ]] || kill "$client" 2>/dev/null || true
  [[ -z $server ]] || kill "$server" 2>/dev/null || true
  wait
  rm --recursive --force -- "$folder"
}
trap 'stop_servers; end_all' EXIT

columns='id, account, booked, entered, amount, text, note, rate'

start_with_table_postgresql() {
  start_on_free_port port start_postgresql "$folder/postgresql"
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
}
connection_postgresql() { postgresql_connection_string "$folder/postgresql" "$port"; }
own_postgresql() {
  postgresql_client "$folder/postgresql" "$port" sample --quiet --command="\\copy (SELECT $columns,
    CASE WHEN open THEN 1 ELSE 0 END AS open FROM entry ORDER BY id) TO '$folder/own' WITH (FORMAT csv, HEADER)"
}
as_csv_postgresql() { cat -- "$folder/own"; }

mariadb_client() {
  MYSQL_PWD=$(<"$folder/mariadb/password") mariadb --no-defaults --host=127.0.0.1 --port="$port" --user=sample \
    --default-character-set=utf8mb4 sample "$@"
}
start_with_table_mariadb() {
  start_on_free_port port start_mariadb "$folder/mariadb"
  mariadb_client <<SQL
CREATE TABLE entry (id bigint PRIMARY KEY, account integer NOT NULL, booked date NOT NULL, entered datetime(3) NOT NULL,
  amount decimal(14,2), text varchar(80) NOT NULL, note text, rate double, open tinyint NOT NULL);
INSERT INTO entry SELECT 5000000000 + seq * 3, seq % 997, DATE_ADD('2001-01-01', INTERVAL seq % 9000 DAY),
  TIMESTAMPADD(MICROSECOND, seq * 1234000, '2020-02-02 02:02:02.002'), IF(seq % 11 > 0, seq * 7.13 - 50000, NULL),
  CONCAT('Entry ', seq, CASE seq % 5 WHEN 0 THEN ', "quoted"' WHEN 1 THEN ' Größe 漢字' ELSE '' END),
  CASE seq % 4 WHEN 0 THEN NULL WHEN 1 THEN '' ELSE REPEAT('note ', seq % 13) END,
  IF(seq % 3 > 0, seq / 7e0, NULL), seq % 2 = 0 FROM seq_1_to_$rows;
SQL
}
connection_mariadb() { mariadb_connection_string "$folder/mariadb" "$port" sample; }
own_mariadb() { mariadb_client --batch --quick --execute="SELECT $columns, open FROM entry ORDER BY id" >"$folder/own"; }
# The batch form as CSV: nothing of it needs to be unescaped in these rows.
as_csv_mariadb() {
  awk --assign FS='\t' --assign OFS=, '{
    for (i = 1; i <= NF; ++i)
      if ($i == "NULL") $i = ""
      else if ($i == "" || $i ~ /[,"]/) { gsub(/"/, "\"\"", $i); $i = "\"" $i "\"" }
    $1 = $1; print }' "$folder/own"
}

# processor PID: seconds of user and system; nothing for a process that has ended.
ticks=$(getconf CLK_TCK)
processor() { awk -v ticks="$ticks" '{ sub(/.*\) /, ""); print ($12 + $13) / ticks }' "/proc/$1/stat" 2>/dev/null || true; }
# resident PID: kilobytes; nothing for a process that has ended.
resident() { awk '/^VmRSS/ { print $2 }' "/proc/$1/status" 2>/dev/null || true; }

# The database's own export. Sets own_seconds and own_processor.
export_own() {
  local user system TIMEFORMAT='%R %U %S'
  { time "own_$1" 2>&3; } 3>&2 2>"$folder/time"
  read -r own_seconds user system <"$folder/time"
  own_processor=$(awk -v a="$user" -v b="$system" 'BEGIN { print a + b }')
}

# The export by the server. Sets export_seconds, client_processor, server_processor, start and end; what is told of the memory
# is in the file `memory`.
export_by_server() {
  local before
  mkdir --parents -- "$folder/config"
  printf '<Settings><ConnectionString>%s</ConnectionString></Settings>\n' "$("connection_$1")" >"$folder/config/dataserver.xml"
  rm --recursive --force -- "$folder/requests" "$folder/results"
  setpriv --pdeathsig TERM -- "$programs/odbc-data-server" /hidden /exact /instance=export "/datafolder=$folder/data" \
    "/configfolder=$folder/config" "/inqueue=$folder/requests" "/outqueue=$folder/results" >"$folder/server.out" 2>&1 &
  server=$!
  wait_until_ready "$server" 20 test -d "$folder/requests/new" -a -d "$folder/results/new" || die "the server did not come up"
  before=$(processor "$server")
  start=$EPOCHREALTIME
  "$programs/odbc-data-client" --requests "$folder/requests" --results "$folder/results" export entry --lf \
    --output-file "$folder/export.csv" &
  client=$!
  while kill -0 "$client" 2>/dev/null; do
    printf '%s %s %s %s\n' "$EPOCHREALTIME" "$(resident "$client")" "$(resident "$server")" "$(processor "$client")"
    sleep 0.25  # what looks takes processor time too
  done >"$folder/memory"
  wait "$client" || die "the export failed"
  client=
  end=$EPOCHREALTIME
  export_seconds=$(awk -v a="$start" -v b="$end" 'BEGIN { printf "%.3f", b - a }')
  client_processor=$(awk 'NF == 4 { last = $4 } END { print last }' "$folder/memory")
  server_processor=$(awk -v a="$before" -v b="$(processor "$server")" 'BEGIN { print b - a }')
  kill "$server"
  wait "$server" || true
  server=
}

# The most of the first half, and of the second.
tell_memory() {
  awk -v product="$1" -v start="$start" -v end="$end" '
    NF == 4 { half = $1 < (start + end) / 2 ? 1 : 2
      for (i = 2; i <= 3; ++i) if ($i > most[half, i]) most[half, i] = $i }
    END { name[2] = "client"; name[3] = "server"
      for (i = 2; i <= 3; ++i) {
        printf "%s, %s: %.1f MB at most in the first half, %.1f MB in the second\n", product, name[i], most[1, i] / 1024, most[2, i] / 1024
        if (most[2, i] > most[1, i] * 1.125) failed = 1
      }
      exit failed }' "$folder/memory"
}

use_own_driver_list "$folder/odbc"
status=0
table='| | export : its own, elapsed | processor, client and server : its client | its own | export | rows a second | its client, processor | our client | server |
|---|---|---|---|---|---|---|---|---|'
for product in "${products[@]}"; do
  port=''
  say "$product: making a table of $rows rows"
  "start_with_table_$product"
  say "$product: its own export"
  export_own "$product"
  say "$product: export by odbc-data-client"
  export_by_server "$product"
  tell_memory "$product" || { say "FAILED: the memory grows"; status=1; }
  if cmp -- <("as_csv_$product") "$folder/export.csv"; then
    say "The files are the same: $(wc --bytes <"$folder/export.csv") bytes"
  else
    status=1
  fi
  table+=$'\n'$(awk -v name="$product" -v rows="$rows" -v own="$own_seconds" -v export="$export_seconds" -v ownProcessor="$own_processor" \
    -v client="$client_processor" -v server="$server_processor" 'BEGIN {
      printf "| %s | %.1f | %.1f | %.1f s | %.1f s | %d | %.1f s | %.1f s | %.1f s |", name, export / own,
        (client + server) / (ownProcessor > 0 ? ownProcessor : 0.01), own, export, rows / export, ownProcessor, client, server }')
  stop_servers
done
printf '\nExport of %s rows:\n\n%s\n' "$rows" "$table"
exit "$status"
