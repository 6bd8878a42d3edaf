#!/usr/bin/env bash
# Regenerates the test workbooks in this folder:
#   templates written by libxlsxwriter (make_templates.c), one of them also saved by LibreOffice
#   (header_boxes_lo.xlsx, a file as a real spreadsheet program writes it), and the damaged
#   and hostile workbooks (make_broken.py).
# Needs libxlsxwriter-dev, pkg-config, a C compiler, python3 and LibreOffice.
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

cc -O1 -o "$work/make_templates" "$here/make_templates.c" $(pkg-config --cflags --libs xlsxwriter)
python3 "$here/make_logo.py" "$work/logo.png"
"$work/make_templates" "$here" "$work/logo.png"

soffice -env:UserInstallation="file://$work/profile" --headless --convert-to xlsx:"Calc MS Excel 2007 XML" \
    --outdir "$work/lo" "$here/header_boxes.xlsx" >/dev/null 2>&1
test -s "$work/lo/header_boxes.xlsx"
cp "$work/lo/header_boxes.xlsx" "$here/header_boxes_lo.xlsx"

python3 "$here/make_broken.py" "$here/header_boxes.xlsx" "$here"
ls -l "$here"/*.xlsx
