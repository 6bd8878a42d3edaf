#!/bin/sh
# Installs ExcelJS for the reader checks: install.sh SOURCE_FOLDER TARGET_FOLDER
# Runs npm ci only when the lock file changed since the last install; without npm it does
# nothing (the reader test then skips its ExcelJS part and says why).
set -e
src="$1"
dst="$2"
if ! command -v npm >/dev/null 2>&1; then
    echo "npm not found: the ExcelJS reader check will be skipped"
    exit 0
fi
mkdir -p "$dst"
if [ -d "$dst/node_modules/exceljs" ] && cmp -s "$src/package-lock.json" "$dst/package-lock.json"; then
    echo "ExcelJS already installed in $dst"
    exit 0
fi
cp "$src/package.json" "$src/package-lock.json" "$dst/"
cd "$dst"
npm ci --no-audit --no-fund --loglevel=error
