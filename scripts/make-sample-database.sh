#!/usr/bin/env bash
# Makes the sample database as an SQLite file: make-sample-database.sh FILE GENERATOR
# GENERATOR is the program odbc-sample-data. A file that is there and newer than what it is made of is kept. A new one
# appears under its name only when it is whole.
set -euo pipefail

if (($# != 2)); then
  printf 'Usage: %s FILE GENERATOR\n' "$(basename -- "$0")" >&2
  exit 2
fi
file=$1
generator=$2
schema=$(cd -- "$(dirname -- "$0")/../samples" && pwd)/schema-sqlite.sql

if [[ -f $file && $file -nt $schema && $file -nt $generator ]]; then
  exit 0
fi
mkdir --parents -- "$(dirname -- "$file")"
unfinished=$(mktemp -- "$file.XXXXXX")
trap 'rm --force -- "$unfinished" "$unfinished-journal"' EXIT
{
  # The file is thrown away when it is not finished, so nothing need be safe on the disk in between.
  printf 'PRAGMA journal_mode = OFF;\nPRAGMA synchronous = OFF;\n'
  cat -- "$schema"
  "$generator" sqlite
} | sqlite3 -batch -bail "$unfinished" >/dev/null
chmod 0644 -- "$unfinished"
mv -- "$unfinished" "$file"
