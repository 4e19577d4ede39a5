#!/usr/bin/env bash
# Walks every table and view of the sample company on SQLite, PostgreSQL and MariaDB, there and back, in pages of
# 1, 7 and 50 rows, of which scripts/test.sh takes some; and asks thousands of random questions to random tables, with
# exact paging. The random ones took twelve minutes on a busy machine.
#
#   --sample    the sample company only
#   --random    the random tables only
#
# RC_PARAMS="seed=N" in the environment repeats a run of the random ones; they print their seeds.
set -euo pipefail
filter='Walk\.|ExactWalk\.'
case ${1:-} in
  --sample) filter='Sample/Walk\.' ;;
  --random) filter='ExactWalk\.' ;;
  '') ;;
  *)
    printf 'walks.sh: unknown option: %s (known: --sample, --random)\n' "$1" >&2
    exit 1
    ;;
esac
ODS_TEST_LONG=1 exec "$(dirname -- "${BASH_SOURCE[0]}")/test.sh" --no-asan --filter "$filter"
