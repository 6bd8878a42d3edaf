#!/bin/sh
# contender.sh BUILD_DIR LINES.csv OUT.xlsx
# The benchmark's contender: buhinhyo-print on an application folder whose database holds the
# lines of LINES.csv (staged once per input by stage.sh), its filled workbook copied to OUT.xlsx.
set -eu
build=$1
csv=$2
out=$3
here=$(dirname "$0")
stage=${BENCH_STAGE:-/tmp/buhinhyo-print-bench}/$(basename "$csv" .csv)-$(stat -c %s "$csv")
if [ ! -f "$stage/.ready" ] || [ "$build/app/buhinhyo-print" -nt "$stage/buhinhyo-print" ]; then
    sh "$here/stage.sh" "$build" "$csv" "$stage"
fi
exec "$stage/buhinhyo-print" --dwgno DWG-2024-0815-A --assy 01 --kind 1 --customer ベンチ工業 --out "$out"
