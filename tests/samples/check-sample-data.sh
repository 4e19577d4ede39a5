#!/usr/bin/env bash
# The sample company is the same everywhere: check-sample-data.sh GENERATOR CHECKSUMS MAKE_DATABASE
set -euo pipefail
generator=$1
checksums=$2
make_database=$3

fail() {
  printf 'FAILED: %s\n' "$*" >&2
  exit 1
}

folder=$(mktemp --directory)
trap 'rm --recursive --force -- "$folder"' EXIT
cd -- "$folder"

# The same bytes on every machine.
for product in sqlite postgresql mariadb; do
  "$generator" "$product" >"$product.sql"
done
sha256sum --check --quiet "$checksums" || fail "the rows have changed; if that was meant, write the checksums anew"

# A wrong call says how to call it, and is told apart from an error.
for arguments in '' 'oracle' 'sqlite mariadb'; do
  status=0
  # shellcheck disable=SC2086 # each word is an argument
  "$generator" $arguments >out 2>err || status=$?
  [[ $status == 2 && ! -s out ]] || fail "status $status for the arguments '$arguments'"
  grep --quiet '^Usage: odbc-sample-data sqlite|postgresql|mariadb$' err || fail "no usage for the arguments '$arguments'"
done

# A full disk does not go unnoticed.
if "$generator" sqlite >/dev/full 2>err; then
  fail "an error of the output was not reported"
fi

# The file appears whole or not at all.
if "$make_database" 'new folder/sample.db' false 2>err; then
  fail "a generator that failed was not noticed"
fi
[[ -z $(ls --almost-all 'new folder') ]] || fail "an interrupted file was left behind"
"$make_database" 'new folder/sample.db' "$generator"
rows() { sqlite3 'new folder/sample.db' "SELECT COUNT(*) FROM $1"; }
for expected in 'customer 2000' 'item 300' 'sales_order 5000' 'order_line 20000' 'employee 60' 'journal 400' \
  'all_types 40' 'customer_balance 2000'; do
  [[ $(rows "${expected% *}") == "${expected#* }" ]] || fail "not $expected rows"
done
[[ $(rows '"Odd ""Table"" [Name]"') == 30 ]] || fail "not 30 rows in the table of the odd name"
[[ $(sqlite3 'new folder/sample.db' 'PRAGMA foreign_key_check; PRAGMA integrity_check') == ok ]] || fail "not consistent"

# Every column that may be null is null somewhere, and somewhere not.
while IFS='|' read -r table column; do
  counts=$(sqlite3 'new folder/sample.db' "SELECT COUNT(*) > COUNT($column), COUNT($column) > 0 FROM $table")
  [[ $counts == '1|1' ]] || fail "$table.$column is always null or never"
done < <(sqlite3 'new folder/sample.db' "
  SELECT '\"' || replace(t.name, '\"', '\"\"') || '\"', '\"' || replace(c.name, '\"', '\"\"') || '\"'
    FROM sqlite_master t JOIN pragma_table_info(t.name) c
   WHERE t.type = 'table' AND c.\"notnull\" = 0")

# A finished file is kept.
before=$(stat --format=%i 'new folder/sample.db')
"$make_database" 'new folder/sample.db' "$generator"
[[ $(stat --format=%i 'new folder/sample.db') == "$before" ]] || fail "a finished file was made again"
