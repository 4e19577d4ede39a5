# Shared by the scripts of this folder: packages, builds, and database servers that live only as long as the script.
# Sourced, never run. It needs bash and `set -euo pipefail` in the script that sources it.
# shellcheck shell=bash disable=SC2034

# The checkout, whatever the current folder is.
ODS_ROOT=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)

# What the programs, their tests and their benchmarks need to be configured and built.
BUILD_PACKAGES=(g++ cmake ninja-build unixodbc-dev libpugixml-dev libcli11-dev libncurses-dev libgtest-dev libgmock-dev libbenchmark-dev libsqlite3-dev
  librapidcheck-dev libxml2-dev pkg-config libsystemd-dev libtomlplusplus-dev librabbitmq-dev)
# What the windows are built with. Without it the server is built without them.
UI_PACKAGES=(qt6-base-dev)
# What it takes to serve an SQLite file.
SQLITE_PACKAGES=(odbcinst libsqliteodbc sqlite3)
# What the tests need besides.
TEST_PACKAGES=(python3 unixodbc odbc-postgresql odbc-mariadb postgresql mariadb-server rabbitmq-server openssl valgrind)
# A desktop without a screen, with somebody at its keyboard and mouse.
DESKTOP_PACKAGES=(xvfb openbox xdotool fonts-dejavu-core)
# What builds and runs the sanitizer build and the fuzzers.
SANITIZER_PACKAGES=(clang libclang-rt-dev)
# What makes Debian packages and checks them.
PACKAGE_PACKAGES=(dpkg-dev file lintian)
# What the packages are tried with.
INSTALL_TEST_PACKAGES=(g++ cmake ninja-build pkg-config odbc-postgresql postgresql procps)
# What the comparison of the ways of reading a page needs besides.
PAGES_PACKAGES=(python3 python3-pyodbc python3-lxml unixodbc odbc-postgresql odbc-mariadb postgresql mariadb-server valgrind)
# What builds for Windows, and runs what was built.
WINDOWS_PACKAGES=(g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix wine wine64 cmake ninja-build dpkg-dev googletest libpugixml-dev libxml2-dev libsqlite3-dev
  libcli11-dev libtomlplusplus-dev tcl)
# What checks the sources.
LINT_PACKAGES=(clang-format clang-tidy shellcheck python3)

say() { printf '==> %s\n' "$*"; }
die() {
  printf '%s: %s\n' "$(basename -- "$0")" "$*" >&2
  exit 1
}

# ------------------------------------------------------------------------------------------------------------ packages

package_is_installed() {
  [[ $(dpkg-query --show --showformat='${db:Status-Status}' "$1" 2>/dev/null) == installed ]]
}

# install_packages NAME...: installs what is missing; does nothing, and needs no rights, when nothing is.
install_packages() {
  local package missing=() as_root=()
  command -v dpkg-query >/dev/null || die "dpkg-query is missing: these scripts set up Debian machines only"
  for package in "$@"; do
    package_is_installed "$package" || missing+=("$package")
  done
  ((${#missing[@]})) || return 0
  if ((EUID != 0)); then
    command -v sudo >/dev/null || die "these packages are missing, and it takes root or sudo to install them: ${missing[*]}"
    as_root=(sudo)
  fi
  say "Installing ${missing[*]}"
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update --quiet ||
    die "apt-get update failed"
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install --quiet --yes --no-install-recommends "${missing[@]}" ||
    die "apt-get could not install: ${missing[*]}"
}

# --------------------------------------------------------------------------------------------------------------- build

# build_preset NAME [TARGET...]: configures a preset of CMakePresets.json and builds it, or just the targets.
build_preset() {
  local preset=$1
  shift
  say "Building the $preset preset"
  (
    cd -- "$ODS_ROOT" || exit
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" --parallel "$(nproc)" ${1+--target "$@"}
  )
}

# list_sources: the project's own C++ files, each ended by a zero byte, as paths from the checkout.
list_sources() {
  (
    cd -- "$ODS_ROOT" || exit
    find src client controller samples tests bench -type f \( -name '*.cpp' -o -name '*.h' \) -print0 | sort --zero-terminated
  )
}

# ---------------------------------------------------------------------------------------------------- database servers
#
# The servers listen on 127.0.0.1 and keep data, socket and log in one folder that the caller gives. They run as the
# user of the product's package when the script runs as root (the servers refuse to run as root), else as the user
# himself. They never touch a server that the system runs. Each is ended by its own process id: call stop_servers in
# the script's exit trap. Should the script be killed outright, the kernel ends them.

# The process ids of the servers, each with the signal that ends it.
declare -A ODS_SERVER_SIGNALS=()

# database_user NAME: the user that a server runs as.
database_user() {
  if ((EUID != 0)); then
    id --user --name
  elif id "$1" >/dev/null 2>&1; then
    printf '%s\n' "$1"
  else
    printf 'nobody\n'
  fi
}

# run_as USER COMMAND...: replaces this (sub)shell by the command, run as the user. Ends with the script, by
# the signal in ODS_DEATH_SIGNAL.
run_as() {
  local user=$1
  shift
  local change=()
  if ((EUID == 0)); then
    change=(--reuid="$user" --regid="$(id --group "$user")" --init-groups)
  fi
  exec setpriv "${change[@]}" --pdeathsig "${ODS_DEATH_SIGNAL:-KILL}" -- "$@"
}

# make_server_folder FOLDER USER: an empty folder that the user owns. Fails when the user cannot get there.
make_server_folder() {
  local folder=$1 user=$2
  [[ $folder == /* ]] || die "the folder of a database server is an absolute path: $folder"
  mkdir --parents -- "$folder"
  chmod 0700 -- "$folder"
  if ((EUID == 0)); then
    chown "$user" -- "$folder"
  fi
  (run_as "$user" test -w "$folder") || die "user $user cannot write to $folder: each folder above must let him through"
}

# free_port: a TCP port of 127.0.0.1 that nobody listens on just now.
free_port() {
  local port try
  for ((try = 0; try < 200; ++try)); do
    port=$((20000 + RANDOM % 12000))
    if ! (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null; then
      printf '%s\n' "$port"
      return
    fi
  done
  die "no free port found"
}

# wait_until_ready PID SECONDS COMMAND...: until the command succeeds; fails when the process ends or the time is over.
wait_until_ready() {
  local pid=$1 deadline=$((SECONDS + $2))
  shift 2
  while ! "$@" >/dev/null 2>&1; do
    kill -0 "$pid" 2>/dev/null || return 1
    ((SECONDS < deadline)) || return 1
    sleep 0.1
  done
}

random_password() { od --address-radix=n --read-bytes=12 --format=x1 /dev/urandom | tr --delete ' \n'; }

# The programs of the newest PostgreSQL that is installed; Debian keeps them outside the path.
postgresql_programs() {
  local folders=(/usr/lib/postgresql/*/bin)
  [[ -x ${folders[0]}/initdb ]] || die "PostgreSQL's initdb is not installed"
  printf '%s\n' "${folders[@]}" | sort --version-sort | tail --lines=1
}

# start_postgresql FOLDER PORT: a new server with the empty databases `sample` and `scratch` and a superuser `sample`, whose
# password goes into FOLDER/password. Sets STARTED_PID. Fails, with the end of the log, when it does not come up.
start_postgresql() {
  local folder=$1 port=$2 user programs
  user=$(database_user postgres)
  programs=$(postgresql_programs)
  make_server_folder "$folder" "$user"
  random_password >"$folder/password"
  if ((EUID == 0)); then
    chown "$user" -- "$folder/password"
  fi
  (cd / && run_as "$user" "$programs/initdb" --pgdata="$folder/data" --username=sample --pwfile="$folder/password" \
    --auth=scram-sha-256 --encoding=UTF8 --locale=C.UTF-8 --no-sync) >"$folder/init.log" 2>&1 ||
    { tail --lines=20 "$folder/init.log" >&2; return 1; }
  run_postgresql "$folder" "$port" || return 1
  postgresql_client "$folder" "$port" postgres --quiet --command='CREATE DATABASE sample' \
    --command='CREATE DATABASE scratch'
}

# run_postgresql FOLDER PORT: the server that was made in the folder, once more. Sets STARTED_PID. Fails like the former.
run_postgresql() {
  local folder=$1 port=$2 user programs
  user=$(database_user postgres)
  programs=$(postgresql_programs)
  (
    cd /
    ODS_DEATH_SIGNAL=INT run_as "$user" "$programs/postgres" -D "$folder/data" -p "$port" \
      -c listen_addresses=127.0.0.1 -c unix_socket_directories="$folder" -c fsync=off -c synchronous_commit=off \
      -c full_page_writes=off -c timezone=UTC -c jit=off
  ) >"$folder/server.log" 2>&1 &
  STARTED_PID=$!
  ODS_SERVER_SIGNALS[$STARTED_PID]=INT
  # The answer must come from the server in this folder, not from another one on the same port: so by its socket.
  wait_until_ready "$STARTED_PID" 60 "$programs/pg_isready" --quiet --host="$folder" --port="$port" ||
    { tail --lines=20 "$folder/server.log" >&2; stop_server "$STARTED_PID"; return 1; }
}

# postgresql_client FOLDER PORT DATABASE [psql argument...]: psql on the server, ending at the first error.
postgresql_client() {
  local folder=$1 port=$2 database=$3
  shift 3
  PGPASSWORD=$(<"$folder/password") PGOPTIONS='--client-min-messages=warning' psql --no-psqlrc --set=ON_ERROR_STOP=1 \
    --host=127.0.0.1 --port="$port" --username=sample --dbname="$database" "$@"
}

mariadb_program() {
  PATH=$PATH:/usr/sbin:/usr/local/sbin command -v mariadbd || die "MariaDB's server is not installed"
}

# start_mariadb FOLDER PORT: a new server with the empty databases `sample` and `scratch` and a user `sample` who may do
# everything, whose password goes into FOLDER/password. Sets STARTED_PID. Fails, with the end of the log, when it does not come up.
start_mariadb() {
  local folder=$1 port=$2 user password
  mariadb_program >/dev/null
  user=$(database_user mysql)
  make_server_folder "$folder" "$user"
  random_password >"$folder/password"
  password=$(<"$folder/password")
  # The administrator gets in only through the socket, as the user who runs the script.
  (cd / && run_as "$user" mariadb-install-db --no-defaults --datadir="$folder/data" --skip-test-db \
    --auth-root-authentication-method=socket --auth-root-socket-user="$(id --user --name)" \
    --innodb-flush-log-at-trx-commit=0) >"$folder/init.log" 2>&1 ||
    { tail --lines=20 "$folder/init.log" >&2; return 1; }
  run_mariadb "$folder" "$port" || return 1
  mariadb_administrator "$folder" <<SQL
CREATE DATABASE sample CHARACTER SET utf8mb4;
CREATE DATABASE scratch CHARACTER SET utf8mb4;
CREATE USER sample IDENTIFIED BY '$password';
GRANT ALL ON *.* TO sample;
SQL
}

# run_mariadb FOLDER PORT: the server that was made in the folder, once more. Sets STARTED_PID. Fails like the former.
run_mariadb() {
  local folder=$1 port=$2 user server
  user=$(database_user mysql)
  server=$(mariadb_program)
  (
    cd /
    ODS_DEATH_SIGNAL=TERM run_as "$user" "$server" --no-defaults --datadir="$folder/data" --tmpdir="$folder" \
      --bind-address=127.0.0.1 --port="$port" --socket="$folder/socket" --pid-file="$folder/pid" --skip-name-resolve \
      --character-set-server=utf8mb4 --collation-server=utf8mb4_general_ci --default-time-zone=+00:00 \
      --innodb-flush-log-at-trx-commit=0 --innodb-doublewrite=0 --innodb-use-native-aio=0 \
      --innodb-log-file-size=32M --performance-schema=OFF
  ) >"$folder/server.log" 2>&1 &
  STARTED_PID=$!
  ODS_SERVER_SIGNALS[$STARTED_PID]=TERM
  wait_until_ready "$STARTED_PID" 60 mariadb_administrator "$folder" --execute='SELECT 1' ||
    { tail --lines=20 "$folder/server.log" >&2; stop_server "$STARTED_PID"; return 1; }
}

mariadb_administrator() {
  local folder=$1
  shift
  mariadb --no-defaults --socket="$folder/socket" "$@"
}

# ---------------------------------------------------------------------------------------------------------- broker
#
# A RabbitMQ node is one process here, with data, log and cookie in its folder, and found by the other nodes and by
# rabbitmqctl through a port mapper of the script's own, so that it never meets another node of the machine.

# start_port_mapper FOLDER USER: what nodes of Erlang find each other with. Sets EPMD_PORT.
start_port_mapper() {
  local folder=$1 user=$2 try
  for ((try = 1; try <= 3; ++try)); do
    EPMD_PORT=$(free_port)
    (cd / && ODS_DEATH_SIGNAL=TERM run_as "$user" epmd -port "$EPMD_PORT" -address 127.0.0.1) >"$folder/epmd.log" 2>&1 &
    EPMD_PID=$!
    ODS_SERVER_SIGNALS[$EPMD_PID]=TERM
    if wait_until_ready "$EPMD_PID" 10 epmd -port "$EPMD_PORT" -names; then
      return
    fi
    stop_server "$EPMD_PID"
  done
  die "no port mapper could be started"
}

# start_rabbitmq FOLDER PORT: a new broker with a user `sample`, whose password goes into FOLDER/password, and with TLS on
# a port of its own (FOLDER/tls-port) by a certificate for localhost of the authority FOLDER/ca.pem. Sets STARTED_PID.
# Fails, with the end of the log, when it does not come up.
start_rabbitmq() {
  local folder=$1 port=$2 user
  user=$(database_user rabbitmq)
  make_server_folder "$folder" "$user"
  chmod 0711 -- "$folder"  # for the certificate of its authority
  start_port_mapper "$folder" "$user"
  random_password >"$folder/password"
  free_port >"$folder/tls-port"
  make_certificates "$folder"
  cat >"$folder/rabbitmq.conf" <<CONF
listeners.tcp.1 = 127.0.0.1:$port
listeners.ssl.1 = 127.0.0.1:$(<"$folder/tls-port")
ssl_options.cacertfile = $folder/ca.pem
ssl_options.certfile = $folder/server.pem
ssl_options.keyfile = $folder/server.key
default_user = sample
default_pass = $(<"$folder/password")
log.console = true
log.console.level = info
log.file = false
disk_free_limit.absolute = 50MB
CONF
  rabbitmq_environment "$folder" "$port" "$EPMD_PORT" ods@localhost >"$folder/environment"
  # What restarts the broker within its node: a command for tests.
  cat >"$folder/restart" <<SH
#!/bin/sh
. "$folder/environment"
cd /
exec setpriv $( ((EUID != 0)) || printf -- '--reuid=%s --regid=%s --init-groups' "$user" "$(id --group "$user")") -- \\
  /usr/lib/rabbitmq/bin/rabbitmqctl --quiet eval 'rabbit:stop(), rabbit:start().'
SH
  chmod 0755 -- "$folder/restart" "$folder/environment"
  chmod 0600 -- "$folder/password" "$folder/rabbitmq.conf"
  if ((EUID == 0)); then
    chown --recursive "$user" -- "$folder"
  fi
  run_rabbitmq "$folder"
}

# rabbitmq_environment FOLDER PORT EPMD-PORT NODE [HOME]: the settings of a node as shell commands. Nodes of one cluster
# have one home, in which the cookie lies that they know each other by.
rabbitmq_environment() {
  local folder=$1 port=$2 home=${5:-$1}
  cat <<SH
export HOME="$home" ERL_EPMD_PORT=$3 ERL_EPMD_ADDRESS=127.0.0.1
export RABBITMQ_NODENAME=$4 RABBITMQ_DIST_PORT=$((port + 20000)) RABBITMQ_CONFIG_FILE="$folder/rabbitmq"
export RABBITMQ_MNESIA_BASE="$folder/data" RABBITMQ_LOGS=- RABBITMQ_PID_FILE="$folder/pid"
export RABBITMQ_ENABLED_PLUGINS_FILE="$folder/plugins" RABBITMQ_CONF_ENV_FILE=/dev/null
export RABBITMQ_SERVER_ADDITIONAL_ERL_ARGS="+sbwt none +sbwtdcpu none +sbwtdio none -kernel inet_dist_use_interface {127,0,0,1}"
export RUNNING_UNDER_SYSTEMD=true  # one process, whose id is known
SH
}

# run_rabbitmq FOLDER: the node that was made in the folder, once more. Sets STARTED_PID. Fails like the former.
run_rabbitmq() {
  local folder=$1 user
  user=$(database_user rabbitmq)
  (
    # shellcheck source=/dev/null
    . "$folder/environment"
    unset NOTIFY_SOCKET
    cd /
    ODS_DEATH_SIGNAL=KILL run_as "$user" /usr/lib/rabbitmq/bin/rabbitmq-server
  ) >"$folder/server.log" 2>&1 </dev/null &
  STARTED_PID=$!
  ODS_SERVER_SIGNALS[$STARTED_PID]=TERM
  wait_until_ready "$STARTED_PID" 120 grep --quiet 'Server startup complete' "$folder/server.log" ||
    { tail --lines=20 "$folder/server.log" >&2; stop_server "$STARTED_PID"; return 1; }
}

# rabbitmq_control FOLDER ARGUMENT...: rabbitmqctl on a node.
rabbitmq_control() {
  local folder=$1
  shift
  (
    # shellcheck source=/dev/null
    . "$folder/environment"
    cd /
    run_as "$(database_user rabbitmq)" /usr/lib/rabbitmq/bin/rabbitmqctl --quiet "$@"
  )
}

# make_certificates FOLDER: an authority (ca.pem) and the certificate and key of a server called localhost.
make_certificates() {
  local folder=$1
  openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj '/CN=test authority' -keyout "$folder/ca.key" -out "$folder/ca.pem" 2>/dev/null
  openssl req -newkey rsa:2048 -nodes -subj '/CN=localhost' -keyout "$folder/server.key" -out "$folder/server.csr" 2>/dev/null
  openssl x509 -req -in "$folder/server.csr" -CA "$folder/ca.pem" -CAkey "$folder/ca.key" -CAcreateserial -days 2 \
    -extfile <(printf 'subjectAltName=DNS:localhost\n') -out "$folder/server.pem" 2>/dev/null
  chmod 0644 -- "$folder/ca.pem"
}

# rabbitmq_uri FOLDER PORT: the URI of a broker, without a queue.
rabbitmq_uri() { printf 'amqp://sample:%s@127.0.0.1:%s/\n' "$(<"$1/password")" "$2"; }

# start_on_free_port VARIABLE FUNCTION FOLDER: starts a server on a free port and stores the port in the variable.
# Another program may take the port between the look and the start: then it tries another one, in a new folder.
start_on_free_port() {
  local -n chosen_port=$1
  local start=$2 folder=$3 try
  for ((try = 1; try <= 3; ++try)); do
    chosen_port=$(free_port)
    if "$start" "$folder" "$chosen_port"; then
      return
    fi
    mv -- "$folder" "$folder-failed-$try"
  done
  die "$start failed three times"
}

# stop_server PID: ends a server of start_postgresql or start_mariadb and waits for its end.
stop_server() {
  local pid=$1 try
  [[ -n ${ODS_SERVER_SIGNALS[$pid]:-} ]] || return 0
  kill "-${ODS_SERVER_SIGNALS[$pid]}" "$pid" 2>/dev/null || true
  for ((try = 0; try < 200; ++try)); do
    kill -0 "$pid" 2>/dev/null || break
    sleep 0.05
  done
  kill -KILL "$pid" 2>/dev/null || true
  wait "$pid" 2>/dev/null || true
  unset "ODS_SERVER_SIGNALS[$pid]"
}

stop_servers() {
  local pid
  for pid in "${!ODS_SERVER_SIGNALS[@]}"; do
    stop_server "$pid"
  done
}

# use_own_driver_list FOLDER: the drivers of the machine in a list of our own, in which the PostgreSQL driver keeps no
# log of what it exchanges with the server: Debian's package has it do so, in the system's folder for temporary files.
use_own_driver_list() {
  mkdir --parents -- "$1"
  sed 's/^CommLog=1$/CommLog=0/' "${ODBCSYSINI:-/etc}/odbcinst.ini" >"$1/odbcinst.ini"
  export ODBCSYSINI=$1
}

# --------------------------------------------------------------------------------------------------------- sample data

# load_postgresql FOLDER PORT GENERATOR: schema and rows of the sample company into the database `sample`.
load_postgresql() {
  local folder=$1 port=$2 generator=$3
  postgresql_client "$folder" "$port" sample --quiet --file="$ODS_ROOT/samples/schema-postgresql.sql"
  "$generator" postgresql | postgresql_client "$folder" "$port" sample --quiet
  postgresql_client "$folder" "$port" sample --quiet --command=ANALYZE
}

# load_mariadb FOLDER GENERATOR: schema and rows of the sample company into the database `sample`.
load_mariadb() {
  local folder=$1 generator=$2
  mariadb_administrator "$folder" sample <"$ODS_ROOT/samples/schema-mariadb.sql"
  "$generator" mariadb | mariadb_administrator "$folder" sample
}

# The ODBC connection string of a database, `sample` unless another one is named.
postgresql_connection_string() {
  local folder=$1 port=$2 database=${3:-sample}
  printf 'Driver=PostgreSQL Unicode;Server=127.0.0.1;Port=%s;Database=%s;UID=sample;PWD=%s\n' "$port" "$database" "$(<"$folder/password")"
}
mariadb_connection_string() {
  local folder=$1 port=$2 database=${3:-sample}
  printf 'Driver=MariaDB Unicode;Server=127.0.0.1;Port=%s;Database=%s;UID=sample;PWD=%s\n' "$port" "$database" "$(<"$folder/password")"
}
