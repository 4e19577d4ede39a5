#!/usr/bin/env bash
# Everything that the tests need, then all tests: packages, the release and the sanitizer build, the sample company in
# SQLite, PostgreSQL and MariaDB, a RabbitMQ broker, ctest on both builds, the fuzzers for some seconds each, and the
# quick checks of the sources; as root also the Debian packages, installed and removed again. What comes later is built
# while the tests before it run.
#
#   --no-asan        leave out the build with the sanitizers and its tests
#   --no-fuzz        leave out the fuzzers
#   --no-install     leave out installing the packages
#   --lint           check the sources with clang-tidy too, which takes minutes
#   --filter REGEX   run only the tests whose names match, no fuzzers, and install nothing
#
# The status is 0 only when everything passed. The database servers are this script's own and end with it.
set -euo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

asan=1
lint=0
fuzz=1
install=1
filter=
ctest_options=(-j2 --no-tests=error)
while (($#)); do
  case $1 in
    --no-asan) asan=0 ;;
    --no-fuzz) fuzz=0 ;;
    --no-install) install=0 ;;
    --lint) lint=1 ;;
    --filter)
      (($# >= 2)) || die "--filter needs a regular expression"
      filter=$2
      ctest_options+=(--tests-regex "$filter")
      fuzz=0
      install=0
      shift
      ;;
    *) die "unknown option: $1 (known: --no-asan, --no-fuzz, --no-install, --lint, --filter REGEX)" ;;
  esac
  shift
done

packages=("${BUILD_PACKAGES[@]}" "${UI_PACKAGES[@]}" "${SQLITE_PACKAGES[@]}" "${TEST_PACKAGES[@]}" "${DESKTOP_PACKAGES[@]}" "${LINT_PACKAGES[@]}")
# What is built with the sanitizers: the test programs, the fuzzers, both or nothing.
sanitized=()
((asan == 0)) || sanitized+=(all)
((fuzz == 0)) || sanitized+=(fuzzers)
((${#sanitized[@]} == 0)) || packages+=("${SANITIZER_PACKAGES[@]}")
if ((install && EUID != 0)); then
  say "The packages will not be installed: that takes root"
  install=0
fi
((install == 0)) || packages+=("${PACKAGE_PACKAGES[@]}" "${INSTALL_TEST_PACKAGES[@]}")
install_packages "${packages[@]}"

folder=$(mktemp --directory -- "${TMPDIR:-/tmp}/ods-test.XXXXXX")
# The users that the database servers run as must get to their folders; the folders themselves are closed.
chmod 0711 -- "$folder"
builder=
# shellcheck disable=SC2317  # The trap below calls it.
end_all() {
  [[ -z $builder ]] || kill -- "-$builder" 2>/dev/null || true
  stop_servers
  rm --recursive --force -- "$folder"
}
trap end_all EXIT

export ASAN_OPTIONS=detect_leaks=1:detect_stack_use_after_return=1
export UBSAN_OPTIONS=print_stacktrace=1

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

# Tests that watch real time, a real broker or a real keyboard, which a machine that is too busy can fail. None that draws
# its questions by chance is among them: what such a one has found it may not find again.
readonly TIMED_TESTS='^(Windows|Hanging[A-Za-z]*|Servers|SilentBroker|Controllers)\.|^test-(platform-ado|platform-queue|product_driver|ui-windows)\.'

try_ctest() {
  (cd -- "$ODS_ROOT" && ctest --preset "$1" "${ctest_options[@]}" "${@:2}" 2>&1)
}

# run_ctest PRESET: all output as it comes, and once more into a file for the summary at the end. Where only tests of
# real time failed, these get a second try, which the summary tells.
run_ctest() {
  local log=$folder/ctest-$1.log failed
  try_ctest "$1" | tee "$log" && return
  failed=$(sed 's/^[0-9]*://' "$ODS_ROOT/build/${1%-by-program}/Testing/Temporary/LastTestsFailed.log") || return
  if grep --quiet --invert-match --extended-regexp "$TIMED_TESTS" <<<"$failed"; then
    return 1
  fi
  say "Only tests of real time failed: these once more" | tee --append "$log"
  try_ctest "$1" --rerun-failed | tee --append "$log"
}

# build_meanwhile PRESET [TARGET...]: starts a build in a process group of its own, behind everything else that runs; its
# output goes into a file.
build_meanwhile() {
  set -m
  (renice --priority 10 --pid "$BASHPID" >/dev/null && build_preset "$@") >"$folder/build-$1.log" 2>&1 &
  builder=$!
  set +m
}
# await_build PRESET: waits for the build that runs; shows what it said when it failed.
await_build() {
  local result=0
  wait "$builder" || result=$?
  builder=
  ((result == 0)) || cat -- "$folder/build-$1.log"
  return "$result"
}

say "Building the release preset, starting PostgreSQL, MariaDB and RabbitMQ"
build_meanwhile release
use_own_driver_list "$folder/odbc"
postgresql_port='' mariadb_port='' rabbitmq_port=''
start_on_free_port postgresql_port start_postgresql "$folder/postgresql"
start_on_free_port mariadb_port start_mariadb "$folder/mariadb"
start_on_free_port rabbitmq_port start_rabbitmq "$folder/rabbitmq"
await_build release
generator=$ODS_ROOT/build/release/bin/odbc-sample-data
say "Loading the sample company"
load_postgresql "$folder/postgresql" "$postgresql_port" "$generator"
load_mariadb "$folder/mariadb" "$generator"
"$ODS_ROOT/scripts/make-sample-database.sh" "$folder/sample.db" "$generator"
ODS_TEST_POSTGRESQL=$(postgresql_connection_string "$folder/postgresql" "$postgresql_port")
ODS_TEST_MARIADB=$(mariadb_connection_string "$folder/mariadb" "$mariadb_port")
ODS_TEST_POSTGRESQL_SCRATCH=$(postgresql_connection_string "$folder/postgresql" "$postgresql_port" scratch)
ODS_TEST_MARIADB_SCRATCH=$(mariadb_connection_string "$folder/mariadb" "$mariadb_port" scratch)
ODS_TEST_SQLITE_SAMPLE=$folder/sample.db
ODS_TEST_AMQP=$(rabbitmq_uri "$folder/rabbitmq" "$rabbitmq_port")
ODS_TEST_AMQP_FOLDER=$folder/rabbitmq
export ODS_TEST_POSTGRESQL ODS_TEST_MARIADB ODS_TEST_POSTGRESQL_SCRATCH ODS_TEST_MARIADB_SCRATCH ODS_TEST_SQLITE_SAMPLE
export ODS_TEST_AMQP ODS_TEST_AMQP_FOLDER

# Single tests only where some are asked for: a process a test takes longest.
way=-by-program
[[ -z $filter ]] || way=
presets=("release$way")
((${#sanitized[@]} == 0)) || build_meanwhile asan "${sanitized[@]}"
step "Tests of the release preset" run_ctest "release$way"
step "Quick checks of the sources" "$ODS_ROOT/scripts/lint.sh" --quick
((install == 0)) || step "Packages: make, install, use and remove them" "$ODS_ROOT/scripts/install-test.sh"
if ((${#sanitized[@]})); then
  say "Waiting for the build of the asan preset"
  await_build asan
fi
if ((asan)); then
  # The longest walks through tables are thinned out here.
  presets+=("asan$way")
  ODS_TEST_QUICK=1 step "Tests of the asan preset" run_ctest "asan$way"
fi
if ((fuzz)); then
  # Long enough to see that each works and that no old finding is back.
  step "Fuzzers" "$ODS_ROOT/scripts/fuzz.sh" 5
fi
((lint == 0)) || step "All checks of the sources" "$ODS_ROOT/scripts/lint.sh"

for preset in "${presets[@]}"; do
  say "Summary of the $preset preset"
  sed --quiet '/% tests passed/,$p' "$folder/ctest-$preset.log"
done
if ((${#failures[@]})); then
  printf '==> FAILED: %s\n' "${failures[@]}"
  exit 1
fi
say "Everything passed"
