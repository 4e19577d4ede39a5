#!/usr/bin/env bash
# The long form of the tests that kill servers and brokers: REQUESTS requests (10,000 unless told) while servers are
# killed at random, through a folder, through one RabbitMQ node that is killed and started twice, and through a cluster of
# three nodes that are killed one at a time, each of them twice.
#
#   scripts/broker.sh [REQUESTS]
set -euo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

requests=${1:-10000}
install_packages "${BUILD_PACKAGES[@]}" "${UI_PACKAGES[@]}" "${SQLITE_PACKAGES[@]}" "${TEST_PACKAGES[@]}"
build_preset release test-broker odbc-data-server odbc-data-client product-driver

folder=$(mktemp --directory -- "${TMPDIR:-/tmp}/ods-broker.XXXXXX")
chmod 0711 -- "$folder"
user=$(database_user rabbitmq)
# shellcheck disable=SC2317  # The trap below calls it.
end_all() {
  local pid
  # The nodes that were started again are nobody's children here.
  for pid in "$folder"/*/pid "$folder"/*/*/pid; do
    [[ ! -s $pid ]] || kill -KILL "$(<"$pid")" 2>/dev/null || true
  done
  stop_servers
  rm --recursive --force -- "$folder"
}
trap end_all EXIT

# write_restart FOLDER NODE-FOLDER...: a program that kills a node, the next one each time, and starts it again.
write_restart() {
  local folder=$1 change=()
  shift
  ((EUID != 0)) || change=(--reuid="$user" --regid="$(id --group "$user")" --init-groups)
  cat >"$folder/restart" <<SH
#!/usr/bin/env bash
set -euo pipefail
nodes=($(printf '%q ' "$@"))
count=\$(cat "$folder/restarts" 2>/dev/null || echo 0)
echo \$((count + 1)) >"$folder/restarts"
node=\${nodes[count % \${#nodes[@]}]}
kill -KILL "\$(<"\$node/pid")"
sleep 2
. "\$node/environment"
cd /
: >"\$node/server.log"
setsid setpriv ${change[*]} -- /usr/lib/rabbitmq/bin/rabbitmq-server >>"\$node/server.log" 2>&1 </dev/null &
for ((try = 0; try < 600; ++try)); do
  ! grep --quiet 'Server startup complete' "\$node/server.log" || exit 0
  sleep 0.1
done
tail --lines=20 "\$node/server.log" >&2
exit 1
SH
  chmod 0755 -- "$folder/restart"
}

# start_cluster FOLDER: three nodes, whose ports it puts into `ports`.
start_cluster() {
  local folder=$1 node port
  make_server_folder "$folder" "$user"
  chmod 0711 -- "$folder"
  start_port_mapper "$folder" "$user"
  random_password >"$folder/password"
  ports=()
  for node in a b c; do
    port=$(free_port)
    ports+=("$port")
    mkdir -- "$folder/$node"
    chmod 0711 -- "$folder/$node"
    cat >"$folder/$node/rabbitmq.conf" <<CONF
listeners.tcp.1 = 127.0.0.1:$port
default_user = sample
default_pass = $(<"$folder/password")
log.console = true
log.file = false
disk_free_limit.absolute = 50MB
cluster_formation.peer_discovery_backend = classic_config
cluster_formation.classic_config.nodes.1 = a@localhost
cluster_formation.classic_config.nodes.2 = b@localhost
cluster_formation.classic_config.nodes.3 = c@localhost
cluster_formation.target_cluster_size_hint = 3
CONF
    rabbitmq_environment "$folder/$node" "$port" "$EPMD_PORT" "$node@localhost" "$folder" >"$folder/$node/environment"
  done
  if ((EUID == 0)); then
    chown --recursive "$user" -- "$folder"
  fi
  for node in a b c; do
    run_rabbitmq "$folder/$node" || die "node $node does not come up"
  done
}

kill_servers() {
  ODS_TEST_BROKER_REQUESTS=$requests "$ODS_ROOT/build/release/bin/test-broker" --gtest_filter="*Killing*/$1"
}

status=0
port=''
say "$requests requests through a folder and through one node"
start_on_free_port port start_rabbitmq "$folder/one"
write_restart "$folder/one" "$folder/one"
ODS_TEST_AMQP=$(rabbitmq_uri "$folder/one" "$port")
ODS_TEST_AMQP_FOLDER=$folder/one
export ODS_TEST_AMQP ODS_TEST_AMQP_FOLDER
kill_servers TheFolder || status=1
kill_servers TheBroker || status=1

say "$requests requests through a cluster of three nodes"
start_cluster "$folder/three"
rabbitmq_control "$folder/three/a" cluster_status | sed --quiet '/Running Nodes/,/Versions/p'
write_restart "$folder/three" "$folder/three/a" "$folder/three/b" "$folder/three/c"
ODS_TEST_AMQP="amqp://sample:$(<"$folder/three/password")@127.0.0.1:${ports[0]},127.0.0.1:${ports[1]},127.0.0.1:${ports[2]}/"
ODS_TEST_AMQP_FOLDER=$folder/three
ODS_TEST_BROKER_RESTARTS=6 kill_servers TheBroker || status=1
exit "$status"
