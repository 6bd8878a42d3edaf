#!/usr/bin/env bash
# Regenerates the test workbooks in this folder:
#   templates written by libxlsxwriter (make_templates.c), one of them also saved by LibreOffice
#   (header_boxes_lo.xlsx, a file as a real spreadsheet program writes it), the shipped
#   manufactured-parts template with a cover sheet before and a copy sheet after its 部品表,
#   saved by LibreOffice (three_sheet_template.xlsx), and the damaged and hostile workbooks
#   (make_broken.py).
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

python3 - "$here/../../../data/templates/mfg_parts_template.fods" "$work/three_sheet_template.fods" <<'PY'
import sys
s = open(sys.argv[1], encoding="utf-8").read()
def sheet(name, text):
    return ('<table:table table:name="%s" table:style-name="ta1"><table:table-column/><table:table-row>'
            '<table:table-cell office:value-type="string"><text:p>%s</text:p></table:table-cell>'
            '</table:table-row></table:table>' % (name, text))
start = s.index('<table:table table:name="部品表"')
end = s.index('</table:table>', start) + len('</table:table>')
s = s[:start] + sheet("表紙", "表紙 COVER") + s[start:end] + sheet("控え", "控え HIKAE") + s[end:]
open(sys.argv[2], "w", encoding="utf-8").write(s)
PY
soffice -env:UserInstallation="file://$work/profile" --headless --convert-to xlsx:"Calc MS Excel 2007 XML" \
    --outdir "$here" "$work/three_sheet_template.fods" >/dev/null 2>&1

python3 "$here/make_broken.py" "$here/header_boxes.xlsx" "$here"
ls -l "$here"/*.xlsx
