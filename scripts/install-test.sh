#!/usr/bin/env bash
# The packages as somebody would use them: makes them, installs them, configures a PostgreSQL server with the sample
# company, runs the controller as its unit says, asks through the installed client, builds a client on the installed
# library, and removes everything again. Nothing may be left then, and nothing else be changed.
#
#   --packages DIR   packages that are there, instead of new ones
#   --fresh          the whole of it in a minimal Debian of its own, which is fetched: so nothing is there that the
#                    packages do not ask for. Takes some minutes
#
# It takes root, and a machine without the packages. What it installs and starts it removes and ends, also when it fails.
set -euo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

readonly NAMES=(odbc-data-server libodbc-data-client-dev odbc-data-server-windows)
readonly SERVICE_USER=odbc-data
readonly CONFIGURATION=/etc/odbc-data-controller
readonly STATE=/var/lib/odbc-data-controller
readonly RUNTIME=/run/odbc-data-controller
readonly LOCKS=/run/lock/odbc-data-server
readonly UNIT=/usr/lib/systemd/system/odbc-data-controller.service

packages=
fresh=0
bare=0
while (($#)); do
  case $1 in
    --packages)
      (($# >= 2)) || die "--packages needs a folder"
      packages=$(realpath -- "$2")
      shift
      ;;
    --fresh) fresh=1 ;;
    --bare) bare=1 ;; # within the tree of --fresh
    *) die "unknown option: $1 (known: --packages DIR, --fresh)" ;;
  esac
  shift
done

# --------------------------------------------------------------------------------------------------------------- removing

# What the lists below leave out: what apt, dpkg and their tools write about any package, and what changes by itself.
readonly LEFT_OUT=(/var/lib/dpkg /var/lib/apt /var/lib/ucf /var/cache/apt /var/cache/debconf /var/cache/ldconfig
  /var/cache/man /var/log/apt /var/log/dpkg.log /var/log/alternatives.log
  /etc/passwd- /etc/group- /etc/shadow- /etc/gshadow- /etc/.pwd.lock /run/systemd/systemd-units-load "$LOCKS")
# Where packages and services leave something.
readonly LOOKED_AT=(/usr /etc /opt /srv /var/lib /var/log /var/cache /var/spool /run)

list_packages() {
  dpkg-query --show --showformat='${Package}:${Architecture} ${db:Status-Abbrev}\n' |
    grep --invert-match 'un $' | LC_ALL=C sort
}

# list_system FILE: every path with mode and owner, the packages (once more in FILE.packages), and users and groups.
list_system() {
  local path leave_out=(-name __pycache__)
  for path in "${LEFT_OUT[@]}"; do leave_out+=(-o -path "$path"); done
  {
    find "${LOOKED_AT[@]}" \( "${leave_out[@]}" \) -prune -o -printf '%M %u %g %p\n'
    list_packages | tee "$1.packages" | sed 's/^/package /'
    sed 's/^/user /' /etc/passwd
    sed 's/^/group /' /etc/group
  } | LC_ALL=C sort >"$1"
}

# purge: the packages, and what was installed because of them.
purge() {
  local because=()
  mapfile -t because < <(list_packages | LC_ALL=C comm -13 "$folder/before.packages" - | cut --delimiter=' ' -f 1)
  env DEBIAN_FRONTEND=noninteractive apt-get purge --quiet --yes "${because[@]}" >"$folder/purge.log" 2>&1 ||
    { cat -- "$folder/purge.log" >&2; return 1; }
  installed=0
}

# compare_with_before UID: dies of whatever is there now and was not, of what was and is not, and of what belongs to the
# service's user, who is no more.
compare_with_before() {
  local differences
  list_system "$folder/after"
  differences=$(
    diff "$folder/before" "$folder/after" | sed --quiet 's/^< /gone: /p; s/^> /left: /p'
    find /etc /home /opt /run /srv /tmp /usr /var -ignore_readdir_race -uid "$1" \
      -printf 'left, of the removed user: %p\n' 2>/dev/null
    # Servers of others may have mutexes there.
    [[ ! -d $LOCKS ]] || find "$LOCKS" -maxdepth 0 -empty -printf 'left: %p\n'
  ) || true
  [[ -z $differences ]] || die "the packages are removed, and this differs from before:"$'\n'"$differences"
}

# ------------------------------------------------------------------------------------------------------------- installing

install_packages_to_try() {
  local debs=("$packages"/*.deb)
  installed=1
  env DEBIAN_FRONTEND=noninteractive apt-get install --quiet --yes --no-remove --no-install-recommends "${debs[@]}" \
    >"$folder/install.log" 2>&1 || { cat -- "$folder/install.log" >&2; die "the packages cannot be installed"; }
}

# check_programs: those of the packages find their libraries and say their version.
check_programs() {
  local file missing
  for file in /usr/bin/odbc-data-{server,client,controller} /usr/lib/odbc-data-server/odbc-data-server-windows.so; do
    missing=$(ldd "$file" | grep 'not found') && die "$file lacks: $missing"
  done
  for file in odbc-data-{server,client,controller}; do
    "$file" --version >/dev/null || die "$file does not run"
  done
}

# check_rights PATH "MODE OWNER:GROUP"
check_rights() {
  local rights
  rights=$(stat --format='%a %U:%G' "$1")
  [[ $rights == "$2" ]] || die "$1 is $rights, and should be $2"
}

# ---------------------------------------------------------------------------------------------------------- the service

unit_value() { sed --quiet "s/^$1=//p" "$UNIT"; }

# as_service COMMAND...: replaces this (sub)shell by the command, as systemd would run it by the unit: its user, without
# further rights, with its mask. In the unit's own /tmp a driver's log goes with the service; here none is written.
as_service() {
  umask "$(unit_value UMask)"
  cd /
  exec env --ignore-environment PATH=/usr/sbin:/usr/bin:/sbin:/bin LANG=C.UTF-8 USER="$SERVICE_USER" \
    ODBCSYSINI="$ODBCSYSINI" setpriv --reuid="$(unit_value User)" --regid="$(unit_value Group)" --init-groups --no-new-privs --inh-caps=-all \
    --bounding-set=-all --pdeathsig=TERM -- "$@"
}
# ask ARGUMENT...: the client, as the service's user, whose queue it is.
ask() { runuser --user "$SERVICE_USER" -- odbc-data-client "$@"; }

# start_controller: with the folders that systemd would make.
start_controller() {
  local command
  read -ra command <<<"$(unit_value ExecStart)"
  install_folder "$STATE" "$(unit_value StateDirectoryMode)"
  install_folder "$RUNTIME" "$(unit_value RuntimeDirectoryMode)"
  as_service "${command[@]}" 2>"$folder/controller.log" &
  controller=$!
  wait_until_ready "$controller" 30 odbc-data-controller status ||
    { cat -- "$folder/controller.log" >&2; odbc-data-controller status >&2 || true; die "the service does not come up"; }
}
# install_folder PATH MODE
install_folder() { install --directory --owner="$SERVICE_USER" --group="$SERVICE_USER" --mode="$2" "$1"; }

stop_controller() {
  local result=0
  [[ -n $controller ]] || return 0
  kill -TERM "$controller" 2>/dev/null || true
  wait "$controller" || result=$?
  controller=
  return "$result"
}

# same WHAT FILE FILE: dies when the files differ.
same() { cmp --quiet "$2" "$3" || { diff "$2" "$3" | head --lines=10 >&2; die "$1 differ from the database's"; }; }

# ---------------------------------------------------------------------------------------------------- may it run at all?

((EUID == 0)) || die "it takes root to install packages"
refuse_if_used() {
  local name path state
  for name in "${NAMES[@]}"; do
    state=$(dpkg-query --show --showformat='${db:Status-Status}' "$name" 2>/dev/null || true)
    [[ -z $state || $state == not-installed ]] || die "$name is $state here, and would be purged: nothing was done"
  done
  for path in "$CONFIGURATION" "$STATE" "$RUNTIME"; do
    [[ ! -e $path ]] || die "$path is there, and would be removed: nothing was done"
  done
  ! getent passwd "$SERVICE_USER" >/dev/null ||
    die "the user $SERVICE_USER is there, and would be removed: nothing was done"
}
refuse_if_used

mark=$SECONDS
# did TEXT: what was done since the last time, and how many seconds it took.
did() {
  printf '    %3d s  %s\n' $((SECONDS - mark)) "$*"
  mark=$SECONDS
}

if [[ -z $packages ]]; then
  "$ODS_ROOT/scripts/package.sh"
  packages=$ODS_ROOT/build/package
  did "made the packages, and lintian found no error"
fi
generator=$ODS_ROOT/build/release/bin/odbc-sample-data
[[ -x $generator ]] || build_preset package odbc-sample-data

folder=$(mktemp --directory -- "${TMPDIR:-/tmp}/ods-install.XXXXXX")
chmod 0711 -- "$folder"
controller=
installed=0
# shellcheck disable=SC2317  # The trap below calls it.
end_all() {
  local status=$?
  stop_controller || true
  stop_servers
  if ((installed)); then
    if purge; then say "The packages are removed again"; else say "The packages could not be removed"; fi
  fi
  rm --recursive --force -- "$folder"
  exit "$status"
}
trap end_all EXIT

# -------------------------------------------------------------------------------------------------- in a tree of its own

if ((fresh)); then
  install_packages debootstrap
  # shellcheck source=/dev/null
  suite=$(. /etc/os-release && printf '%s' "$VERSION_CODENAME")
  tree=$folder/tree
  say "Fetching a minimal Debian ($suite)"
  debootstrap --variant=minbase --include=systemd "$suite" "$tree" >"$folder/debootstrap.log" ||
    { tail "$folder/debootstrap.log" >&2; die "no minimal Debian could be had"; }
  did "fetched it"
  rm -- "$tree/etc/apt/sources.list"
  cp --recursive /etc/apt/. "$tree/etc/apt"
  cp /etc/resolv.conf "$tree/etc/resolv.conf"
  mkdir --parents -- "$tree/ods/build/release/bin"
  cp --recursive -- "$ODS_ROOT/scripts" "$ODS_ROOT/samples" "$tree/ods"
  cp -- "$generator" "$tree/ods/build/release/bin"
  cp --recursive -- "$packages" "$tree/ods/packages"
  printf '#!/bin/sh\nexit 101\n' >"$tree/usr/sbin/policy-rc.d" # nothing is started that is only installed
  chmod 0755 -- "$tree/usr/sbin/policy-rc.d"
  # Processes and mounts of the tree end with this command.
  # shellcheck disable=SC2016  # The shell within expands it.
  unshare --mount --propagation private --pid --fork --kill-child bash -euc '
    mount -t proc proc "$1/proc"
    mount -t tmpfs tmpfs "$1/run"
    mount -t tmpfs tmpfs "$1/dev/shm" 2>/dev/null || true
    mkdir -m 1777 "$1/run/lock" # as on a machine that systemd has started
    mkdir "$1/run/systemd"
    exec chroot "$1" env -i PATH="$PATH" LANG=C.UTF-8 TERM=dumb \
      /ods/scripts/install-test.sh --bare --packages /ods/packages
  ' bash "$tree"
  exit
fi

# ------------------------------------------------------------------------------------------------------------ the test

if ((bare)); then
  say "Nothing but the packages and what they ask for"
  list_system "$folder/before"
  apt-get update --quiet >"$folder/update.log" 2>&1 || { cat -- "$folder/update.log" >&2; die "apt-get update failed"; }
  install_packages_to_try
  check_programs
  did "installed them; every program finds its libraries"
  uid=$(id --user "$SERVICE_USER")
  purge
  compare_with_before "$uid"
  did "removed them; nothing is left"
fi

say "From the packages to rows, and back"
install_packages "${INSTALL_TEST_PACKAGES[@]}"
port=
start_on_free_port port start_postgresql "$folder/postgresql"
load_postgresql "$folder/postgresql" "$port" "$generator"
did "started PostgreSQL with the sample company"

list_system "$folder/before"
install_packages_to_try
uid=$(id --user "$SERVICE_USER")
check_programs
check_rights "$CONFIGURATION/controller.toml" "640 root:$SERVICE_USER"
check_rights "$LOCKS" "1777 root:root"
! command -v systemd-analyze >/dev/null || systemd-analyze verify --man=no "$UNIT" || die "systemd does not take the unit"
[[ ! -e $STATE ]] || die "the service was started before it was configured"
[[ ! -e /etc/systemd/system/multi-user.target.wants/odbc-data-controller.service ]] ||
  die "the service is enabled without being asked"
did "installed the packages: $(cd -- "$packages" && printf '%s ' ./*.deb)"

install --owner="$SERVICE_USER" --mode=0600 "$folder/postgresql/password" "$CONFIGURATION/company.password"
cat >>"$CONFIGURATION/controller.toml" <<TOML
[[source]]
name = "company"
connection = "Driver=PostgreSQL Unicode;Server=127.0.0.1;Port=$port;Database=sample"
user = "sample"
password_file = "company.password"
servers = 2
TOML
use_own_driver_list "$folder/odbc"
(as_service odbc-data-controller check)
! command -v systemctl >/dev/null || systemctl --quiet enable odbc-data-controller.service
start_controller
odbc-data-controller status
did "configured and started the service"

export ODBC_DATA_REQUESTS=$STATE/queues/company/requests ODBC_DATA_RESULTS=$STATE/queues/company/results
# database STATEMENT: its rows by psql, fields separated by tabs.
database() {
  postgresql_client "$folder/postgresql" "$port" sample --quiet --no-align --field-separator=$'\t' --tuples-only \
    --command="$1"
}
ask data customer --fields no,name,city --sort "city desc, no" --filter "name like A%" --page-size 5
ask data customer --count >"$folder/count"
database 'SELECT count(*) FROM customer' | same "numbers of rows" "$folder/count" -
ask export order_line --output csv --lf >"$folder/order_line.csv"
database 'COPY (SELECT * FROM order_line ORDER BY order_no, line_no) TO STDOUT (FORMAT csv, HEADER)' |
  same "exported rows" "$folder/order_line.csv" -
did "asked for pages, and exported $(wc --lines <"$folder/order_line.csv") lines that are the database's own"

# What stands in the documentation, on what is installed and nothing else.
mkdir -- "$folder/client"
cp -- /usr/share/doc/libodbc-data-client-dev/examples/customers.cpp "$folder/client"
cat >"$folder/client/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.25)
project(customers LANGUAGES CXX)
find_package(OdbcDataClient 1.0 REQUIRED)
add_executable(customers customers.cpp)
target_link_libraries(customers PRIVATE OdbcDataClient::client)
CMAKE
{ cmake -G Ninja -S "$folder/client" -B "$folder/client/build" && cmake --build "$folder/client/build"; } \
  >"$folder/client/log" 2>&1 ||
  { cat -- "$folder/client/log" >&2; die "a client cannot be built on the library by CMake"; }
read -ra flags <<<"$(pkg-config --static --cflags --libs odbc-data-client)"
g++ -std=c++20 -o "$folder/client/by-pkg-config" "$folder/client/customers.cpp" "${flags[@]}" ||
  die "a client cannot be built on the library by pkg-config"
database 'SELECT no, name FROM customer ORDER BY no' >"$folder/customers"
for client in build/customers by-pkg-config; do
  runuser --user "$SERVICE_USER" -- "$folder/client/$client" "$ODBC_DATA_REQUESTS" "$ODBC_DATA_RESULTS" \
    >"$folder/client/rows"
  same "rows of a client of our own" "$folder/client/rows" "$folder/customers"
done
did "built a client on the library, by CMake and by pkg-config; each read $(wc --lines <"$folder/customers") rows"

if command -v systemd-tmpfiles >/dev/null; then
  logs=$STATE/servers/company.1/Logs
  touch --date='40 days ago' -- "$logs/old.log"
  chown "$SERVICE_USER" -- "$logs/old.log"
  systemd-tmpfiles --clean odbc-data-controller.conf
  [[ ! -e $logs/old.log && -n $(ls "$logs") ]] || die "systemd-tmpfiles keeps old logs, or removes new ones"
  did "had old logs removed"
fi

stop_controller || die "the controller did not end in order"
! pgrep --uid "$uid" >/dev/null || die "processes of the service are left: $(pgrep --uid "$uid" --list-full)"
did "stopped the service"
purge
compare_with_before "$uid"
did "removed everything; nothing is left, and nothing else is changed"
say "The packages can be installed, used and removed ($SECONDS s)"
