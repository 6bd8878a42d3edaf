#!/usr/bin/env bash
# Installs the Debian 12 packages that building, running and testing buhinhyo need.
# Only what is missing is installed; nothing happens when everything is there.
#   --desktop  also what a user at the screen needs (./run): the spreadsheet program that the
#              preview's "表計算ソフトで開く" and keep-Excel hand the workbook to, and xdg-utils,
#              through which the desktop picks it. The tests do without them.
# An entry "a|b" is there when either package is installed; a is installed when neither is.
set -euo pipefail

# LibreOffice renders the workbooks; the tests need only its converter ("nogui"), a user at the
# screen Calc with its windows, which converts as well.
calc="libreoffice-calc-nogui|libreoffice-calc"
desktop=()
if [ "${1:-}" = "--desktop" ]; then
  calc=libreoffice-calc
  desktop=(xdg-utils)
fi

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
  # a user-space (FUSE) mount for the test of a database file on a network file system
  bindfs
  # the packet filter's command, for the test of a desk that loses its network
  nftables
  # the screens' font, and Excel-like metrics for the rendered workbooks
  fonts-ipafont-gothic fonts-crosextra-carlito fonts-liberation2
  # Qt's own texts in Japanese: the buttons of every box, the file, print and page set-up dialogs
  qt6-translations-l10n
  # rendering workbooks for the preview and the tests; the preview's LibreOffice kept warm is
  # driven over UNO by a small Python helper (src/output/buhinhyo-render.py)
  "$calc" poppler-utils python3-uno
  # a display for the program and its screenshots on a machine without one
  xvfb xauth
  "${desktop[@]}"
)

installed() {
  dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q "install ok installed"
}
missing=()
for entry in "${packages[@]}"; do
  IFS='|' read -r -a choices <<<"$entry"
  found=""
  for p in "${choices[@]}"; do
    if installed "$p"; then found=1; fi
  done
  [ -n "$found" ] || missing+=("${choices[0]}")
done
if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi
echo "Installing: ${missing[*]}"
SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
$SUDO apt-get update -qq
DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
