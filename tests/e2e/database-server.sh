#!/usr/bin/env bash
# database-server.sh PRODUCT FOLDER: a new database server (postgresql or mariadb) for one test. Prints its connection
# string, then does what standard input says, a word a line: `stop`, `start`. Prints `done` after each. The server ends
# with standard input.
set -euo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/../../scripts/lib.sh"
product=$1 folder=$2
port=''
trap stop_servers EXIT
start_on_free_port port "start_$product" "$folder" </dev/null >&2
"${product}_connection_string" "$folder" "$port"
while read -r word; do
  case $word in
    stop) stop_server "$STARTED_PID" ;;
    start) "run_$product" "$folder" "$port" </dev/null >&2 ;;
    *) die "no such word: $word" ;;
  esac
  printf 'done\n'
done
