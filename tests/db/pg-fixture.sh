#!/usr/bin/env bash
# A throw-away PostgreSQL cluster for the database tests, reached through ODBC.
#   pg-fixture.sh start DIR SCHEMA   makes the cluster in DIR, starts it on a free loopback port,
#                                    creates the user, the database and the tables, and writes
#                                    DIR/odbc.ini and DIR/odbcinst.ini (DSN "buhinhyo_test")
#   pg-fixture.sh stop DIR           stops the server (whatever state it is in) and removes DIR
# PostgreSQL refuses to run as root: as root the cluster belongs to the system user "postgres".
# Every step has a time limit, so a broken server never hangs the test run.
set -uo pipefail

action=${1:?start or stop}
dir=${2:?folder}
case "$dir" in
  /|/tmp|/tmp/) echo "pg-fixture: refusing folder $dir" >&2; exit 2 ;;
esac
bin=${PG_BIN:-/usr/lib/postgresql/15/bin}
# The server's user may not be allowed into the build folder (a checkout under /root).
cd /tmp || exit 1
user=buhinhyo
password=buhinhyo-test-pw

as_owner() {
  if [ "$(id -u)" -eq 0 ]; then
    runuser -u postgres -- "$@"
  else
    "$@"
  fi
}

stop() {
  if [ -f "$dir/data/postmaster.pid" ]; then
    as_owner timeout 30 "$bin/pg_ctl" -D "$dir/data" -m immediate -w -t 20 stop >/dev/null 2>&1
    # Whatever is left of the server goes too.
    pid=$(head -n1 "$dir/data/postmaster.pid" 2>/dev/null || true)
    if [ -n "${pid:-}" ] && kill -0 "$pid" 2>/dev/null; then
      kill -9 "$pid" 2>/dev/null || true
    fi
  fi
  rm -rf "$dir"
}

fail() {
  echo "pg-fixture: $*" >&2
  [ -f "$dir/server.log" ] && tail -n 20 "$dir/server.log" >&2
  stop
  exit 1
}

port_in_use() {
  (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null
}

start() {
  local schema=${3:?schema file}
  stop
  mkdir -p "$dir" || fail "cannot make $dir"
  chmod 755 "$dir"
  printf '%s\n' "postgres-superuser-pw" > "$dir/pwfile"
  if [ "$(id -u)" -eq 0 ]; then
    chown -R postgres: "$dir" || fail "cannot give $dir to postgres"
  fi
  as_owner timeout 120 "$bin/initdb" -D "$dir/data" -U postgres --pwfile="$dir/pwfile" -E UTF8 \
    --locale=C.UTF-8 --auth-local=trust --auth-host=scram-sha-256 --no-sync >"$dir/initdb.log" 2>&1 ||
    { cat "$dir/initdb.log" >&2; fail "initdb failed"; }

  # The tests need no durability; a benchmark passes the server's real settings.
  local server_options=${PG_SERVER_OPTIONS:--c fsync=off -c full_page_writes=off}
  local port started=no
  for _ in $(seq 1 20); do
    port=$((20000 + RANDOM % 30000))
    port_in_use "$port" && continue
    if as_owner timeout 60 "$bin/pg_ctl" -D "$dir/data" -l "$dir/server.log" -w -t 30 \
      -o "-p $port -k $dir -c listen_addresses=127.0.0.1 $server_options" start >/dev/null 2>&1; then
      started=yes
      break
    fi
    # Only a port taken in the meantime is worth another try.
    grep -q "could not bind\|could not create listen socket\|already in use" "$dir/server.log" 2>/dev/null ||
      fail "the server did not start"
    as_owner timeout 30 "$bin/pg_ctl" -D "$dir/data" -m immediate -w -t 20 stop >/dev/null 2>&1
  done
  [ "$started" = yes ] || fail "the server did not start"

  local psql=/usr/bin/psql
  [ -x "$bin/psql" ] && psql="$bin/psql"
  as_owner timeout 60 "$psql" -X -q -v ON_ERROR_STOP=1 -h "$dir" -p "$port" -U postgres -d postgres \
    -c "CREATE ROLE $user LOGIN PASSWORD '$password'" -c "CREATE DATABASE buhinhyo OWNER $user" >/dev/null ||
    fail "cannot create the user and the database"
  # Read here and handed over on stdin: the server's user may not be able to read the checkout.
  [ -r "$schema" ] || fail "cannot read $schema"
  as_owner timeout 60 "$psql" -X -q -v ON_ERROR_STOP=1 -h "$dir" -p "$port" -U "$user" -d buhinhyo \
    <"$schema" >/dev/null || fail "cannot create the tables"

  local driver
  driver=$(find /usr/lib /usr/local/lib -name psqlodbcw.so 2>/dev/null | head -n1)
  [ -n "$driver" ] || fail "psqlodbcw.so not found (package odbc-postgresql)"
  # psqlODBC's driver without wide characters too, as an office may have set a data source up.
  cat > "$dir/odbcinst.ini" <<INI
[PostgreSQL Unicode]
Description=PostgreSQL ODBC driver (Unicode)
Driver=$driver

[PostgreSQL ANSI]
Description=PostgreSQL ODBC driver (ANSI)
Driver=${driver%w.so}a.so
INI
  local source
  for source in "buhinhyo_test|PostgreSQL Unicode" "buhinhyo_test_ansi|PostgreSQL ANSI"; do
    cat <<INI
[${source%%|*}]
Driver=${source#*|}
Servername=127.0.0.1
Port=$port
Database=buhinhyo
BoolsAsChar=0

INI
  done > "$dir/odbc.ini"
  chmod 644 "$dir/odbc.ini" "$dir/odbcinst.ini"
  echo "pg-fixture: server on 127.0.0.1:$port, DSN buhinhyo_test in $dir/odbc.ini"
}

case "$action" in
  start) start "$@" ;;
  stop) stop; exit 0 ;;
  *) echo "usage: $0 start DIR SCHEMA | stop DIR" >&2; exit 2 ;;
esac
