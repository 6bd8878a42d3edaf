#!/usr/bin/env bash
# Sets up a PostgreSQL server for team use (several desks, one parts database):
#   team-server.sh --host H --port P --database D --user U --password PW --dsn N
# Connects as a PostgreSQL superuser through the usual libpq environment (PGHOST, PGPORT, PGUSER,
# PGPASSWORD; PGHOST and PGPORT default to --host and --port), then
#   - creates the login role U with password PW when it is missing,
#   - creates the database D owned by U when it is missing,
#   - creates the tables (data/schema-postgresql.sql, as U) when they are missing,
#   - has the server's WAL writer flush whenever it wakes (wal_writer_flush_after = 0, for the whole
#     server) when it does not already,
#   - writes the data source N (driver psqlODBC, server H, port P, database D) into the unixODBC
#     user file ($ODBCINI, else ~/.odbc.ini), keeping the data sources already there,
# and prints the PARA.ini lines of a desk. Running it again changes nothing.
set -euo pipefail

usage() {
  echo "usage: $0 --host H --port P --database D --user U --password PW --dsn N" >&2
  exit 2
}
host="" port="" database="" user="" password="" dsn=""
while [ $# -gt 0 ]; do
  [ $# -ge 2 ] || usage
  case "$1" in
    --host) host=$2 ;;
    --port) port=$2 ;;
    --database) database=$2 ;;
    --user) user=$2 ;;
    --password) password=$2 ;;
    --dsn) dsn=$2 ;;
    *) usage ;;
  esac
  shift 2
done
for v in host port database user password dsn; do
  [ -n "${!v}" ] || { echo "team-server: --$v is missing" >&2; usage; }
done
case "$dsn" in *[]\[=]*) echo "team-server: the data source name may not hold [ ] or =" >&2; exit 2 ;; esac

schema="$(cd "$(dirname "$0")/.." && pwd)/data/schema-postgresql.sql"
[ -r "$schema" ] || { echo "team-server: cannot read $schema" >&2; exit 1; }
export PGHOST=${PGHOST:-$host} PGPORT=${PGPORT:-$port}
psql_as() { # database, then psql's own arguments; the script comes on stdin
  local db=$1
  shift
  psql -X -q -v ON_ERROR_STOP=1 -d "$db" -v u="$user" -v pw="$password" -v d="$database" "$@"
}

# The role and the database, only when missing.
psql_as postgres <<'SQL' || { echo "team-server: cannot create the role or the database (superuser?)" >&2; exit 1; }
SELECT format('CREATE ROLE %I LOGIN PASSWORD %L', :'u', :'pw')
 WHERE NOT EXISTS (SELECT 1 FROM pg_roles WHERE rolname = :'u') \gexec
SELECT format('CREATE DATABASE %I OWNER %I', :'d', :'u')
 WHERE NOT EXISTS (SELECT 1 FROM pg_database WHERE datname = :'d') \gexec
SQL

# The tables, owned by the role; the schema leaves existing tables and rows as they are.
{
  echo "SET client_min_messages = warning;"
  echo "SELECT format('SET ROLE %I', :'u') \\gexec"
  cat "$schema"
} | psql_as "$database" >/dev/null || { echo "team-server: cannot create the tables in $database" >&2; exit 1; }

# The desks commit each line of a save without waiting for the disk, and each such commit wakes the
# server's WAL writer while the log is not yet on disk. By default the writer writes but holds the
# disk flush back for up to 1 MB of log, so with twenty desks saving it was woken (by a signal) about
# 5,000 times a second for nothing; flushing whenever it wakes brings that down to once per filled
# log page, and the log reaches the disk sooner. A server-wide setting, reloaded without a restart.
flush_after=$(psql_as postgres -t -A -c "SHOW wal_writer_flush_after") ||
  { echo "team-server: cannot read the server's settings" >&2; exit 1; }
if [ "$flush_after" != "0" ]; then
  psql_as postgres -c "ALTER SYSTEM SET wal_writer_flush_after = 0" -c "SELECT pg_reload_conf()" >/dev/null ||
    { echo "team-server: cannot set wal_writer_flush_after (superuser?)" >&2; exit 1; }
  echo "team-server: the server's WAL writer now flushes whenever it wakes (wal_writer_flush_after = 0)" >&2
fi

# The data source in the user's unixODBC file: the section N is written only when it differs.
ini=${ODBCINI:-$HOME/.odbc.ini}
if odbcinst -q -d -n "PostgreSQL Unicode" >/dev/null 2>&1; then
  driver="PostgreSQL Unicode"
else
  driver=$(find /usr/lib /usr/local/lib -name psqlodbcw.so 2>/dev/null | head -n1)
  [ -n "$driver" ] || { echo "team-server: psqlODBC is not installed (package odbc-postgresql)" >&2; exit 1; }
fi
section="[$dsn]
Description=buhinhyo team database
Driver=$driver
Servername=$host
Port=$port
Database=$database
BoolsAsChar=0"
current=""
if [ -f "$ini" ]; then
  current=$(awk -v s="[$dsn]" '$0 == s {on = 1; print; next} /^\[/ {on = 0} on && NF' "$ini")
fi
if [ "$current" != "$section" ]; then
  mkdir -p "$(dirname "$ini")"
  tmp=$(mktemp "$ini.XXXXXX")
  if [ -f "$ini" ]; then
    awk -v s="[$dsn]" '$0 == s {skip = 1; next} /^\[/ {skip = 0} !skip' "$ini" >"$tmp"
    [ -s "$tmp" ] && [ -n "$(tail -c1 "$tmp")" ] && echo >>"$tmp"
  fi
  printf '%s\n' "$section" >>"$tmp"
  chmod 600 "$tmp"
  mv "$tmp" "$ini"
  echo "team-server: data source $dsn written to $ini" >&2
fi

cat <<INI
; PARA.ini of each desk (section [DBMS] and [ODBC]):
[DBMS]
DB=ODBC
[ODBC]
PRV=MSDASQL
DSN=$dsn
UID=$user
PWD=$password
SHARED=1
INI
