#!/usr/bin/env bash
# Walks every table and view of the sample company on SQLite, PostgreSQL and MariaDB, there and back, the large ones in the
# smallest pages too, which scripts/test.sh leaves out. It takes some minutes.
set -euo pipefail
ODS_TEST_LONG=1 exec "$(dirname -- "${BASH_SOURCE[0]}")/test.sh" --no-asan --filter 'Walk\.'
