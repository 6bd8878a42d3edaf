#!/usr/bin/env bash
# Installs the Debian 12 packages that building, running and testing buhinhyo need.
# Only what is missing is installed; nothing happens when everything is there.
set -euo pipefail

packages=(
  # build
  cmake ninja-build g++ pkg-config
  qt6-base-dev qt6-pdf-dev libqt6sql6-sqlite libqt6sql6-odbc libgl-dev
  libzip-dev zlib1g-dev libpugixml-dev
  # regenerating the workbook engine's test templates (tests/data/xlsx/make_templates.sh)
  libxlsxwriter-dev
  libgtest-dev libbenchmark-dev
  # database: the embedded SQLite file, and a real server through ODBC for the tests
  sqlite3 libsqlite3-dev unixodbc unixodbc-dev odbc-postgresql postgresql
  # the screens' font, and Excel-like metrics for the rendered workbooks
  fonts-ipafont-gothic fonts-crosextra-carlito fonts-liberation2
  # rendering workbooks for the preview and the tests
  libreoffice-calc-nogui poppler-utils
  # a display for the program and its screenshots on a machine without one
  xvfb xauth
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi
echo "Installing: ${missing[*]}"
SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
$SUDO apt-get update -qq
DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
