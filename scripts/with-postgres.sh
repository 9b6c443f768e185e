#!/usr/bin/env bash
# Runs a command against a private, throw-away PostgreSQL server:
#   scripts/with-postgres.sh CMD [ARGS...]
# Starts a cluster in a temporary directory, listening on 127.0.0.1 on a free port with trust
# authentication, creates the database taskdb_test (SQL_ASCII, so text values keep any byte sequence),
# exports for CMD:
#   TASKDB_TEST_PG_URL   odbc:Driver={PostgreSQL Unicode};Server=127.0.0.1;Port=N;Database=taskdb_test;Uid=U;
#   TASKDB_TEST_PG_CTL   the pg_ctl command line of that cluster (append "stop -m fast" or "start")
#   TASKDB_TEST_PG_LOCK  a lock file: tests hold it shared while they use the server, and exclusively
#                        while they stop and restart it
# then stops the cluster, removes the directory (also when CMD fails or is interrupted) and exits with
# CMD's code. It installs nothing: the packages postgresql and odbc-postgresql must be there.
set -euo pipefail

if [ $# -eq 0 ]; then
    echo "usage: $0 CMD [ARGS...]" >&2
    exit 2
fi

pg_bin=""
for dir in $(ls -d /usr/lib/postgresql/*/bin 2>/dev/null | sort -V -r); do
    if [ -x "$dir/initdb" ] && [ -x "$dir/pg_ctl" ]; then
        pg_bin=$dir
        break
    fi
done
if [ -z "$pg_bin" ]; then
    echo "with-postgres: initdb/pg_ctl not found under /usr/lib/postgresql/*/bin (install postgresql)" >&2
    exit 2
fi
driver="PostgreSQL Unicode"
if ! odbcinst -q -d -n "$driver" >/dev/null 2>&1; then
    echo "with-postgres: ODBC driver \"$driver\" is not registered (install odbc-postgresql)" >&2
    exit 2
fi

# The server refuses to run as root: run it as the postgres account then.
as_owner=()
owner=$(id -un)
if [ "$(id -u)" -eq 0 ]; then
    owner=postgres
    as_owner=(runuser -u postgres --)
fi

work=$(mktemp -d /tmp/taskdb-pg.XXXXXX)
chmod 755 "$work"
data="$work/data"
ctl=("${as_owner[@]}" "$pg_bin/pg_ctl" -D "$data" -l "$work/server.log" -w)

cleanup() {
    if [ -f "$data/postmaster.pid" ]; then
        "${ctl[@]}" stop -m immediate >/dev/null 2>&1 || true
    fi
    rm -rf "$work"
}
trap cleanup EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

if [ ${#as_owner[@]} -gt 0 ]; then chown "$owner" "$work"; fi
"${as_owner[@]}" "$pg_bin/initdb" -D "$data" -U "$owner" -E SQL_ASCII --locale=C --auth=trust --no-sync \
    >"$work/initdb.log" 2>&1 || {
    cat "$work/initdb.log" >&2
    exit 2
}

port_in_use() { ss -Htln 2>/dev/null | awk '{print $4}' | grep -q ":$1\$"; }

started=0
for _ in 1 2 3 4 5; do
    port=$((20000 + RANDOM % 40000))
    port_in_use "$port" && continue
    # Settings live in the cluster's own file, so a plain "pg_ctl start" from a test restarts it alike.
    "${as_owner[@]}" tee "$data/postgresql.auto.conf" >/dev/null <<EOF
listen_addresses = '127.0.0.1'
port = $port
unix_socket_directories = '$work'
fsync = off
synchronous_commit = off
full_page_writes = off
max_connections = 60
EOF
    if "${ctl[@]}" start >/dev/null 2>&1; then
        started=1
        break
    fi
done
if [ "$started" -ne 1 ]; then
    echo "with-postgres: the server did not start:" >&2
    cat "$work/server.log" >&2 || true
    exit 2
fi

"${as_owner[@]}" "$pg_bin/createdb" -h 127.0.0.1 -p "$port" -U "$owner" -E SQL_ASCII -T template0 taskdb_test

export TASKDB_TEST_PG_URL="odbc:Driver={$driver};Server=127.0.0.1;Port=$port;Database=taskdb_test;Uid=$owner;"
export TASKDB_TEST_PG_CTL="${ctl[*]}"
export TASKDB_TEST_PG_LOCK="$work/server.lock"
touch "$TASKDB_TEST_PG_LOCK"
chmod 666 "$TASKDB_TEST_PG_LOCK"

set +e
"$@"
code=$?
set -e
exit $code
