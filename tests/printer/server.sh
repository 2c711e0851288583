# Sourced by the printer tests: a zelpgen-printer server on a free loopback port with its state,
# spool, socket and log in a temporary folder, stopped by pid when the test exits, pass or fail.
#   server_start [-o NAME=VALUE ...]   sets WORK, PORT, SERVER_PID; fails after 20 s
#   printer_add NAME DRIVER DEVICE-URI [-o NAME=VALUE ...]
#   job_wait NAME ID                   the job's final state (completed, aborted, canceled)
#   job_message NAME ID                its job-state-message
# Needs ZELPGEN_PRINTER, ZELPGEN and PRINTER_CHECK in the environment (CTest sets them).
set -euo pipefail

: "${ZELPGEN_PRINTER:?}" "${ZELPGEN:?}" "${PRINTER_CHECK:?}"
WORK=$(mktemp -d "${TMPDIR:-/tmp}/zelpgen-printer-test.XXXXXX")
SERVER_PID=
# The clients find the server's socket in TMPDIR, or in SNAP_COMMON when run as root; both
# point into WORK so that parallel servers and the host's own stay apart.
export TMPDIR=$WORK SNAP_COMMON=$WORK

# stop_pid VAR: ends the process whose pid VAR holds (TERM, then KILL after 5 s), empties VAR.
stop_pid() {
  local pid=${!1}
  if [ -n "$pid" ]; then
    kill "$pid" 2>/dev/null || true
    for _ in $(seq 50); do kill -0 "$pid" 2>/dev/null || break; sleep 0.1; done
    kill -9 "$pid" 2>/dev/null || true
    wait "$pid" 2>/dev/null || true
  fi
  printf -v "$1" ''
}
server_stop() { stop_pid SERVER_PID; }
on_exit() {
  status=$?
  server_stop
  if [ $status -ne 0 ] && [ -f "$WORK/server.log" ]; then
    echo "--- last lines of the server log:" >&2
    grep -v -e '^D ' -e '\[Client ' "$WORK/server.log" | tail -30 >&2
  fi
  [ -n "${KEEP_WORK:-}" ] || rm -rf "$WORK"
  exit $status
}
trap on_exit EXIT
trap 'exit 1' INT TERM

fail() {
  echo "FAIL: $*" >&2
  exit 1
}

SERVER_HOST=${SERVER_HOST:-127.0.0.1}
port_in_use() { (exec 3<>"/dev/tcp/$SERVER_HOST/$1") 2>/dev/null; }

# The page at PATH of the web interface, headers included.
web_get() {
  timeout 10 bash -c 'exec 3<>"/dev/tcp/$0/$1"
    printf "GET %s HTTP/1.1\r\nHost: %s:%s\r\nConnection: close\r\n\r\n" "$2" "$0" "$1" >&3
    cat <&3' "$SERVER_HOST" "$PORT" "$1"
}

server_start() {
  mkdir -p "$WORK/spool"
  for _ in 1 2 3 4 5; do
    PORT=$((20000 + RANDOM % 30000))
    port_in_use "$PORT" && continue
    "$ZELPGEN_PRINTER" server -o server-port="$PORT" -o spool-directory="$WORK/spool" \
      -o log-file="$WORK/server.log" -o log-level=debug -o zelpgen="$ZELPGEN" "$@" \
      >"$WORK/server.out" 2>&1 &
    SERVER_PID=$!
    for _ in $(seq 200); do
      kill -0 "$SERVER_PID" 2>/dev/null || break
      if port_in_use "$PORT" && [ -S "$(server_socket)" ]; then return 0; fi
      sleep 0.1
    done
    server_stop
  done
  cat "$WORK/server.out" >&2 || true
  fail "the server did not start"
}

server_socket() {
  if [ "$(id -u)" = 0 ]; then echo "$WORK/zelpgen-printer.sock"; else
    echo "$WORK/zelpgen-printer$(id -u).sock"; fi
}

# A client subcommand; never with a stopped server (it would start one of its own).
client() {
  kill -0 "$SERVER_PID" 2>/dev/null || fail "the server is gone"
  timeout 60 "$ZELPGEN_PRINTER" "$@"
}

printer_add() {
  local name=$1 driver=$2 uri=$3
  shift 3
  client add -d "$name" -m "$driver" -v "$uri" "$@" || fail "cannot add printer $name"
}

uri_of() { echo "ipp://localhost:$PORT/ipp/print/$1"; }

# One attribute of a job, as ipptool shows it.
job_attribute() {
  sed "s/@ATTRIBUTE@/$3/" "$PRINTER_TESTS/get-job.test" >"$WORK/get-job.test"
  timeout 30 ipptool -c -d job="$2" "$(uri_of "$1")" "$WORK/get-job.test" | sed -n '2p'
}

job_wait() {
  local state
  [ -n "$2" ] || fail "no job id"
  for _ in $(seq 1200); do
    state=$(job_attribute "$1" "$2" job-state)
    case "$state" in completed | aborted | canceled) echo "$state"; return 0 ;; esac
    sleep 0.25
  done
  fail "job $2 on $1 did not end within 300 s (state: $state)"
}

job_message() { job_attribute "$1" "$2" job-state-message; }

# The server still answers IPP.
server_answers() {
  timeout 30 ipptool -q "$(uri_of "$1")" get-printer-attributes.test ||
    fail "the server does not answer after the last job"
}

# The job's work folders are gone: nothing of it stays on the spool disk.
spool_clean() {
  if ls "$WORK/spool" | grep -q '^zelpgen-job-'; then
    fail "job folders left in the spool: $(ls "$WORK/spool")"
  fi
}
