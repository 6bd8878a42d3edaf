#!/usr/bin/env bash
# Team use under load: a fresh PostgreSQL cluster (durable: fsync on), a program folder in team
# mode with the sample data moved in by buhinhyo-admin, then bench_team's simulated desks.
#   bench/team/run.sh [desks=20] [seconds=60] [lines=200]
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
build=${BUILD_DIR:-$root/build}
nice cmake --build "$build" -j2 --target bench_team buhinhyo-print buhinhyo-admin stage >/dev/null
dir=/tmp/buhinhyo-bench-team-$$
folder=$dir-app
trap '"$root/tests/db/pg-fixture.sh" stop "$dir"; rm -rf "$folder"' EXIT
PG_SERVER_OPTIONS="-c fsync=on -c synchronous_commit=on" \
  "$root/tests/db/pg-fixture.sh" start "$dir" "$root/data/schema-postgresql.sql"
export ODBCINI=$dir/odbc.ini ODBCSYSINI=$dir
# The server set up for team use as README says (the fixture made role, database and tables already).
port=$(sed -n 's/^Port=//p' "$ODBCINI" | head -n1)
PGHOST=127.0.0.1 PGPORT=$port PGUSER=postgres PGPASSWORD=postgres-superuser-pw "$root/scripts/team-server.sh" \
  --host 127.0.0.1 --port "$port" --database buhinhyo --user buhinhyo --password buhinhyo-test-pw \
  --dsn buhinhyo_test >/dev/null
cp -r "$build/app" "$folder"
mkdir -p "$folder/WORK"
# The shipped settings file with the team's data source.
sed -e 's/^DB=LOCAL\r$/DB=ODBC\r/' -e 's/^DSN=buhinhyo\r$/DSN=buhinhyo_test\r/' \
  -e 's/^UID=buhin\r$/UID=buhinhyo\r/' -e 's/^PWD=buhin\r$/PWD=buhinhyo-test-pw\r/' \
  -e 's/^;SHARED=1/SHARED=1/' "$root/data/PARA.ini" >"$folder/PARA.ini"
"$folder/buhinhyo-admin" copy-to-server
echo "load before: $(cut -d' ' -f1-3 /proc/loadavg), $(nproc) cores"
nice "$build/bench/team/bench_team" "$folder" "${1:-20}" "${2:-60}" "${3:-200}"
