#!/usr/bin/env bash
# The server on Windows, as far as this machine can tell: cross-builds server, client and tests with mingw-w64, runs the
# tests under Wine on SQLite through the host's ODBC drivers, compares exchanges with those of the server of this machine
# byte for byte, compiles for 32 bits, and packs the programs into a ZIP in build/windows-zip.
#
#   --build-only     stop when everything is built
#   --long           run the tests too that are left out because they take minutes
#   --filter REGEX   run only the test programs whose names match, and nothing after them
#
# The status is 0 only when everything passed. What Wine cannot show is told in docs/windows-port.md. The controller is
# not built: it watches processes, takes signals and talks to systemd by means that only POSIX systems have.
set -euo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

build_only=0
kinds='test\|slow' # of what is left out
filter=
while (($#)); do
  case $1 in
    --build-only) build_only=1 ;;
    --long) kinds='test' ;;
    --filter)
      (($# >= 2)) || die "--filter needs a regular expression"
      filter=$2
      shift
      ;;
    *) die "unknown option: $1 (known: --build-only, --long, --filter REGEX)" ;;
  esac
  shift
done

install_packages "${BUILD_PACKAGES[@]}" "${UI_PACKAGES[@]}" "${SQLITE_PACKAGES[@]}" "${WINDOWS_PACKAGES[@]}" python3
folder=$(mktemp --directory -- "${TMPDIR:-/tmp}/ods-windows.XXXXXX")
export WINEPREFIX=$folder/wine WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml,winemenubuilder.exe='
unset DISPLAY WAYLAND_DISPLAY
# shellcheck disable=SC2317  # The trap below calls it.
end_all() {
  # The programs of this prefix alone.
  [[ ! -d $WINEPREFIX ]] || wineserver --kill 2>/dev/null || true
  rm --recursive --force -- "$folder"
}
trap end_all EXIT

failures=()
# step NAME COMMAND...: runs a command, says how long it took, and remembers that it failed.
step() {
  local name=$1 start=$SECONDS result=passed
  shift
  if ! "$@"; then
    result=FAILED
    failures+=("$name")
  fi
  say "$name: $result after $((SECONDS - start)) s"
}

"$ODS_ROOT/scripts/windows-libraries.sh"
# What the tests lean on, for this machine: there already where scripts/test.sh has been.
build_preset release odbc-data-server odbc-sample-data product-driver test-e2e
build_preset windows
step "Compiling for 32 bits" build_preset windows-32
((build_only == 0)) || exit "$((${#failures[@]} > 0))"

programs=$ODS_ROOT/build/windows/bin
say "Making a Wine prefix"
wineboot --init >"$folder/wineboot.log" 2>&1 || { cat -- "$folder/wineboot.log"; die "Wine does not run here"; }
# One server of Wine for all programs: one that ends with its last program may end while the next one calls it.
wineserver --wait
wineserver --persistent
"$ODS_ROOT/scripts/make-sample-database.sh" "$folder/sample.db" "$ODS_ROOT/build/release/bin/odbc-sample-data"
use_own_driver_list "$folder/odbc"
export ODS_TEST_SQLITE_SAMPLE=$folder/sample.db
[[ $kinds == test ]] || export ODS_TEST_QUICK=1 # the longest walks are thinned out

left_out=$(sed --quiet "s/^\($kinds\) \([^ ]*\): .*/\2/p" "$ODS_ROOT/tests/left-out-on-windows.txt" | paste --serial --delimiters=:)
readonly left_out

# run_tests NAME: a test program under Wine.
run_tests() {
  local log=$folder/$1.log
  if ! timeout 600 wine "$programs/$1.exe" --gtest_brief=1 --gtest_filter="-$left_out" </dev/null >"$log" 2>&1; then
    cat -- "$log"
    return 1
  fi
  tail --lines=3 -- "$log"
}

for program in "$programs"/test-*.exe; do
  name=$(basename -- "$program" .exe)
  [[ $name =~ $filter ]] || continue
  step "$name under Wine" run_tests "$name"
done

# write_exchanges FILE COMMAND...: has a test program write down its exchanges with a server.
write_exchanges() {
  ODS_TEST_EXCHANGES=$1 timeout 300 "${@:2}" --gtest_brief=1 --gtest_filter=Exchanges.AreWrittenDown </dev/null
}
compare() {
  write_exchanges "$folder/linux.txt" "$ODS_ROOT/build/release/bin/test-e2e" &&
    write_exchanges "Z:$folder/windows.txt" wine "$programs/test-e2e.exe" &&
    "$ODS_ROOT/scripts/compare-exchanges.py" "$folder/linux.txt" "$folder/windows.txt" 100
}
pack() {
  rm --recursive --force -- "$ODS_ROOT/build/windows-zip"
  (cd -- "$ODS_ROOT" && cpack --preset windows) >"$folder/cpack.log" 2>&1 || { cat -- "$folder/cpack.log"; return 1; }
  rm --recursive --force -- "$ODS_ROOT/build/windows-zip/_CPack_Packages"
  mkdir -- "$folder/zip"
  (cd -- "$folder/zip" && cmake -E tar xf "$ODS_ROOT"/build/windows-zip/*.zip && find . -type f | sort)
  local unpacked
  unpacked=$(echo "$folder"/zip/*)
  wine "$unpacked/odbc-data-server.exe" --version && wine "$unpacked/odbc-data-client.exe" --version
}
if [[ -z $filter ]]; then
  step "Comparing exchanges with the server of this machine" compare
  step "Packing the programs, and starting them from the ZIP" pack
fi

say "Left out on Windows (tests/left-out-on-windows.txt):"
grep "^\(file\|$kinds\) " "$ODS_ROOT/tests/left-out-on-windows.txt" || true
if ((${#failures[@]})); then
  printf '==> FAILED: %s\n' "${failures[@]}"
  exit 1
fi
say "Everything for Windows passed"
