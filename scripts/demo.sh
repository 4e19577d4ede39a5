#!/usr/bin/env bash
# The main job, from nothing: installs what is missing, builds the programs, makes the sample company as an SQLite
# file, starts a hidden server on it, sends it requests and shows the answers. Asks no questions.
#
# Everything that the run makes is in a temporary folder, which stays for a look at the log and goes at the next run;
# the programs and the sample file stay in build/.
set -euo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

(($# == 0)) || die "takes no arguments"

readonly PAGE_SIZE=5      # rows in a page
readonly SHOWN_LINES=60   # of a response; the rest is only counted
readonly SHOWN_COLUMNS=150
readonly TEMPORARY_NAME=odbc-data-server-demo

install_packages "${BUILD_PACKAGES[@]}" "${SQLITE_PACKAGES[@]}" libxml2-utils
build_preset release odbc-data-server odbc-data-client odbc-sample-data
programs=$ODS_ROOT/build/release/bin

say "Making the sample database"
database=$ODS_ROOT/build/demo/sample.db
"$ODS_ROOT/scripts/make-sample-database.sh" "$database" "$programs/odbc-sample-data"

# ------------------------------------------------------------------------------------------------- the folder of a run

# The folders of earlier runs, unless such a run is still going on.
remove_earlier_folders() {
  local earlier
  while IFS= read -r -d '' earlier; do
    if [[ -f $earlier/demo.pid ]] && ! kill -0 "$(<"$earlier/demo.pid")" 2>/dev/null; then
      rm --recursive --force -- "$earlier"
    fi
  done < <(find "${TMPDIR:-/tmp}" -maxdepth 1 -type d -name "$TEMPORARY_NAME.??????" -user "$EUID" -print0)
}

# escape TEXT: the text as it stands in XML.
escape() { sed 's/&/\&amp;/g; s/</\&lt;/g; s/>/\&gt;/g' <<<"$1"; }

remove_earlier_folders
folder=$(mktemp --directory -- "${TMPDIR:-/tmp}/$TEMPORARY_NAME.XXXXXX")
printf '%s\n' "$$" >"$folder/demo.pid"
mkdir -- "$folder/config" "$folder/messages" "$folder/program"
# The server finds users.xml and context.xml beside its executable: so it runs from a copy.
cp -- "$programs/odbc-data-server" "$ODS_ROOT/samples/users.xml" "$ODS_ROOT/samples/context.xml" "$folder/program"
cp --recursive -- "$ODS_ROOT/samples/views.xml" "$ODS_ROOT/samples/views" "$folder/config"
cat >"$folder/config/dataserver.xml" <<XML
<?xml version="1.0" encoding="utf-8"?>
<Settings>
  <ConnectionString>Driver=SQLite3;Database=$(escape "$database")</ConnectionString>
</Settings>
XML

# ---------------------------------------------------------------------------------------------------------- the server

server_pid=
# Asks the server to end, and waits for it.
stop_demo_server() {
  [[ -n $server_pid ]] || return 0
  kill -TERM "$server_pid" 2>/dev/null || true
  wait "$server_pid" || say "The server ended with status $?"
  server_pid=
}
trap stop_demo_server EXIT

say "Starting the server"
# Should this script be killed outright, the kernel asks the server to end.
setpriv --pdeathsig TERM -- "$folder/program/odbc-data-server" /hidden /exact /instance=demo "/datafolder=$folder/data" "/configfolder=$folder/config" \
  "/inqueue=$folder/requests" "/outqueue=$folder/results" "/alivefile=$folder/alive.xml" >"$folder/server.out" 2>&1 &
server_pid=$!
wait_until_ready "$server_pid" 20 test -d "$folder/requests/new" -a -d "$folder/results/new" || {
  cat -- "$folder/server.out" >&2
  die "the server did not come up; see $folder"
}

# -------------------------------------------------------------------------------------------------------- the requests

requests=0
response=
# request WHAT TYPE [ELEMENTS]: sends a request of the type with the elements, shows both documents, and leaves the
# answer in the file $response. An answer that is an error ends the demo.
request() {
  local what=$1 type=$2 elements=${3:-} file status=0
  requests=$((requests + 1))
  printf -v file '%s/messages/%02d-%s' "$folder" "$requests" "$type"
  response=$file-response.xml
  printf '<XML><Type>%s</Type>%s</XML>\n' "$type" "$elements" >"$file-request.xml"
  printf '\n--- %d. %s\n' "$requests" "$what"
  printf 'Request:\n'
  show "$file-request.xml"
  "$programs/odbc-data-client" send --requests "$folder/requests" --results "$folder/results" "$file-request.xml" \
    >"$response" || status=$?
  # An error document is an answer, too: it is shown first.
  ((status <= 1)) || die "no answer; see $folder"
  printf 'Response:\n'
  show "$response"
  ((status == 0)) || die "the server answered with an error; see $folder"
}

# show FILE: the document, formatted; long lines and long documents are cut, with a note.
show() {
  local lines
  xmllint --format --encode UTF-8 "$1" | tail --lines=+2 >"$folder/shown"
  lines=$(wc --lines <"$folder/shown")
  head --lines="$SHOWN_LINES" -- "$folder/shown" | LC_ALL=C.UTF-8 sed "s/^\(.\{$SHOWN_COLUMNS\}\).\{1,\}/\1…/"
  ((lines <= SHOWN_LINES)) || printf '    [%d more lines are left out]\n' $((lines - SHOWN_LINES))
}

# answer ELEMENT: the text of a child of the last answer's root.
answer() { xmllint --xpath "string(/XML/$1)" "$response"; }

# fields NAME...: the form's fields.
fields() {
  local field
  printf '<Fields>'
  for field in "$@"; do
    printf '<Field><Id>%s</Id></Field>' "$field"
  done
  printf '</Fields>'
}

# page TABLE NAVIGATE FIELDS [ELEMENTS]: the elements of a TableData request that goes on from the last answer.
page() {
  printf '<TableId>%s</TableId><Navigate>%s</Navigate><PageSize>%s</PageSize>' "$1" "$2" "$PAGE_SIZE"
  if [[ $2 != gotofirst ]]; then
    printf '<FirstPos>%s</FirstPos>' "$(escape "$(answer FirstPosition)")"
    printf '<LastPos>%s</LastPos>' "$(escape "$(answer LastPosition)")"
  fi
  printf '%s%s' "$3" "${4:-}"
}

customer='[TABLE]customer'
customer_fields=$(fields no name city)

request "Is the server there?" Ping
request "What can it do?" Initialize "<UserMode>DETECT</UserMode>"
request "Who is bob, and what may he do?" Authorize "<UserId>bob</UserId>"
request "And ann, who has logged in somewhere else?" Authorize "<AuthenticatedUser>ann</AuthenticatedUser>"
request "Which users has the database? (Only a Navision database has any.)" UsersAndRoles
request "Which tables are there?" TableList
request "Which fields has the table of customers?" FieldList "<TableId>$customer</TableId>"
request "Which keys have the order lines?" KeyList "<TableId>[TABLE]order_line</TableId>"
request "Which key will the server use for them?" PrimaryKey "<TableId>[TABLE]order_line</TableId>"

request "The first page of customers" TableData "$(page "$customer" gotofirst "$customer_fields")"
request "The next page" TableData "$(page "$customer" gotonext "$customer_fields")"
request "The page after that" TableData "$(page "$customer" gotonext "$customer_fields")"
request "One page back" TableData "$(page "$customer" gotoprev "$customer_fields")"

sorted='<SortColumn>name</SortColumn><SortDirection>desc</SortDirection>'
request "Customers sorted by name, downwards" TableData "$(page "$customer" gotofirst "$customer_fields" "$sorted")"

columns='<Sort><Column><Id>city</Id><Direction>desc</Direction></Column>'
columns+='<Column><Id>credit_limit</Id><Direction>asc</Direction></Column></Sort>'
request "Customers sorted by two columns that may be null, and how many there are" TableData \
  "$(page "$customer" gotofirst "$(fields no city credit_limit)" "$columns<Count>1</Count>")"
request "The last of them: those without a city" TableData \
  "$(page "$customer" gotolast "$(fields no city credit_limit)" "$columns")"
request "The page before" TableData "$(page "$customer" gotoprev "$(fields no city credit_limit)" "$columns")"

journal_fields=$(fields entry_no posting_date description amount)
request "A table without a key: the journal" TableData "$(page '[TABLE]journal' gotofirst "$journal_fields")"
request "Its next page" TableData "$(page '[TABLE]journal' gotonext "$journal_fields")"

filter="<Filter><Condition><FieldId>city</FieldId><FilterOp>eq</FilterOp><Filter>King's Lynn|Köln</Filter></Condition>"
filter+='<Condition><FieldId>blocked</FieldId><FilterOp>eq</FilterOp><Filter>1</Filter></Condition></Filter>'
request "Blocked customers in one of two cities" TableData \
  "$(page "$customer" gotofirst "$(fields no name city blocked)" "$filter")"

search='<SearchString>smi</SearchString><SearchFields><Field><Id>name</Id><SearchString>%{0}%</SearchString></Field></SearchFields>'
request "Customers with \"smi\" in their names" TableData "$(page "$customer" gotofirst "$customer_fields" "$search")"

request "A server-side view: the totals of the orders, the largest first" TableData \
  "$(page '[APPVIEW]order_totals' gotofirst "$(fields order_no order_code line_count total)" \
    '<PrimaryKey>order_no</PrimaryKey><SortColumn>total</SortColumn><SortDirection>desc</SortDirection>')"

printf '\n'
say "Stopping the server"
stop_demo_server
say "$requests requests were answered. The server's log:"
find "$folder/data/Logs" -type f
say "The messages, as they were sent: $folder/messages"
