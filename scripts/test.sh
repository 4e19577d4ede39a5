#!/usr/bin/env bash
# Everything that the tests need, then all tests: packages, the release and the sanitizer build, the sample company in
# SQLite, PostgreSQL and MariaDB, ctest on both builds, and the fuzzers for some seconds each.
#
#   --no-asan        leave out the build with the sanitizers and its tests
#   --no-fuzz        leave out the fuzzers
#   --lint           check the sources too (scripts/lint.sh)
#   --filter REGEX   run only the tests whose names match, and no fuzzers
#
# The status is 0 only when everything passed. The database servers are this script's own and end with it.
set -euo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

asan=1
lint=0
fuzz=1
ctest_options=(-j2 --no-tests=error)
while (($#)); do
  case $1 in
    --no-asan) asan=0 ;;
    --no-fuzz) fuzz=0 ;;
    --lint) lint=1 ;;
    --filter)
      (($# >= 2)) || die "--filter needs a regular expression"
      ctest_options+=(--tests-regex "$2")
      fuzz=0
      shift
      ;;
    *) die "unknown option: $1 (known: --no-asan, --no-fuzz, --lint, --filter REGEX)" ;;
  esac
  shift
done

packages=("${BUILD_PACKAGES[@]}" "${UI_PACKAGES[@]}" "${SQLITE_PACKAGES[@]}" "${TEST_PACKAGES[@]}" "${DESKTOP_PACKAGES[@]}")
((fuzz == 0)) || packages+=("${FUZZ_PACKAGES[@]}")
((lint == 0)) || packages+=("${LINT_PACKAGES[@]}")
install_packages "${packages[@]}"

folder=$(mktemp --directory -- "${TMPDIR:-/tmp}/ods-test.XXXXXX")
# The users that the database servers run as must get to their folders; the folders themselves are closed.
chmod 0711 -- "$folder"
trap 'stop_servers; rm --recursive --force -- "$folder"' EXIT

# Leaks of the drivers and of the driver manager are not ours; the file lists them.
suppressions=$ODS_ROOT/tests/lsan.supp
export ASAN_OPTIONS=detect_leaks=1:detect_stack_use_after_return=1
export UBSAN_OPTIONS=print_stacktrace=1
export LSAN_OPTIONS=print_suppressions=0
if [[ -f $suppressions ]]; then
  LSAN_OPTIONS+=":suppressions='$suppressions'"
fi

failures=()
# step NAME COMMAND...: runs a command, says how long it took, and remembers that it failed.
step() {
  local name=$1 start=$SECONDS result=passed
  shift
  say "$name"
  if ! "$@"; then
    result=FAILED
    failures+=("$name")
  fi
  say "$name: $result after $((SECONDS - start)) s"
}

# run_ctest PRESET: all output as it comes, and once more into a file for the summary at the end.
run_ctest() {
  (cd -- "$ODS_ROOT" && ctest --preset "$1" "${ctest_options[@]}" 2>&1) | tee "$folder/ctest-$1.log"
}

build_preset release
generator=$ODS_ROOT/build/release/bin/odbc-sample-data

use_own_driver_list "$folder/odbc"
say "Starting PostgreSQL and MariaDB and loading the sample company"
postgresql_port='' mariadb_port=''
start_on_free_port postgresql_port start_postgresql "$folder/postgresql"
start_on_free_port mariadb_port start_mariadb "$folder/mariadb"
load_postgresql "$folder/postgresql" "$postgresql_port" "$generator"
load_mariadb "$folder/mariadb" "$generator"
"$ODS_ROOT/scripts/make-sample-database.sh" "$folder/sample.db" "$generator"
ODS_TEST_POSTGRESQL=$(postgresql_connection_string "$folder/postgresql" "$postgresql_port")
ODS_TEST_MARIADB=$(mariadb_connection_string "$folder/mariadb" "$mariadb_port")
ODS_TEST_POSTGRESQL_SCRATCH=$(postgresql_connection_string "$folder/postgresql" "$postgresql_port" scratch)
ODS_TEST_MARIADB_SCRATCH=$(mariadb_connection_string "$folder/mariadb" "$mariadb_port" scratch)
ODS_TEST_SQLITE_SAMPLE=$folder/sample.db
export ODS_TEST_POSTGRESQL ODS_TEST_MARIADB ODS_TEST_POSTGRESQL_SCRATCH ODS_TEST_MARIADB_SCRATCH ODS_TEST_SQLITE_SAMPLE

presets=(release)
step "Tests of the release preset" run_ctest release
if ((asan)); then
  build_preset asan
  presets+=(asan)
  # The longest walks through tables are thinned out here: the sanitizers make everything several times slower.
  ODS_TEST_QUICK=1 step "Tests of the asan preset" run_ctest asan
fi
# Long enough to see that each works and that no old finding is back.
((fuzz == 0)) || step "Fuzzers" "$ODS_ROOT/scripts/fuzz.sh" 5
((lint == 0)) || step "Checks of the sources" "$ODS_ROOT/scripts/lint.sh"

for preset in "${presets[@]}"; do
  say "Summary of the $preset preset"
  sed --quiet '/% tests passed/,$p' "$folder/ctest-$preset.log"
done
if ((${#failures[@]})); then
  printf '==> FAILED: %s\n' "${failures[@]}"
  exit 1
fi
say "Everything passed"
