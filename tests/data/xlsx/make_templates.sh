#!/usr/bin/env bash
# Regenerates the test workbooks in this folder:
#   templates written by libxlsxwriter (make_templates.c), one of them also saved by LibreOffice
#   (header_boxes_lo.xlsx, a file as a real spreadsheet program writes it), the shipped
#   manufactured-parts template with a cover sheet before and a copy sheet after its 部品表,
#   saved by LibreOffice (three_sheet_template.xlsx; three_sheet_views.xlsx adds a custom view), and
#   the damaged and hostile workbooks (make_broken.py).
# Needs libxlsxwriter-dev, pkg-config, a C compiler, python3 and LibreOffice; gnumeric (ssconvert) for
# real/gnm_rows_to_end.xlsx.
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
# The same with a custom view in the workbook, as Excel keeps one ("印刷用"): it cannot follow
# inserted pages, which the print run passes on as a note.
python3 - "$here/three_sheet_template.xlsx" "$here/three_sheet_views.xlsx" <<'PY'
import sys, zipfile
view = ('<customWorkbookViews><customWorkbookView name="印刷用" guid="{5E1A2B3C-0D4F-4A6B-8C7D-9E0F1A2B3C4D}" '
        'windowWidth="16384" windowHeight="8192" activeSheetId="2"/></customWorkbookViews>')
with zipfile.ZipFile(sys.argv[1]) as src, zipfile.ZipFile(sys.argv[2], "w", zipfile.ZIP_DEFLATED) as dst:
    for info in src.infolist():
        data = src.read(info.filename)
        if info.filename == "xl/workbook.xml":
            data = data.replace(b"<extLst>", view.encode() + b"<extLst>", 1)
        dst.writestr(info, data)
PY

python3 "$here/make_broken.py" "$here/header_boxes.xlsx" "$here"

# Templates of other producers (real/, listed in real/SOURCES.txt): numbers only from LibreOffice, and
# a Gnumeric sheet whose formatted, heightened rows run to row 1048576.
printf '10,20,30,40\n11,21,31,41\n12,22,32,42\n13,23,33,43\n14,24,34,44\n' >"$work/lo_numbers_only.csv"
soffice -env:UserInstallation="file://$work/profile" --headless --convert-to xlsx --outdir "$work" \
    "$work/lo_numbers_only.csv" >/dev/null 2>&1
cp "$work/lo_numbers_only.xlsx" "$here/real/"
if command -v ssconvert >/dev/null; then
    printf '品番,品名,材質,数量\n1,ベース,SS400,2\n2,カバー,A5052,1\n3,シャフト,S45C,4\n' >"$work/parts.csv"
    ssconvert "$work/parts.csv" "$work/parts.gnumeric" 2>/dev/null
    python3 - "$work/parts.gnumeric" "$work/rows.gnumeric" <<'PY'
import gzip, re, sys
s = gzip.open(sys.argv[1], "rt", encoding="utf-8").read()
s = s.replace('gnm:Cols="256" gnm:Rows="65536"', 'gnm:Cols="16384" gnm:Rows="1048576"').replace(">parts.csv<", ">部品表<")
styles = re.search(r"<gnm:Styles>.*?</gnm:Styles>", s, re.S).group(0)
plain = re.search(r"(<gnm:Style HAlign.*?</gnm:Style>)", styles, re.S).group(1)
box = plain.replace("</gnm:Style>", "<gnm:StyleBorder>" + "".join(
    f'<gnm:{e} Style="1" Color="0:0:0"/>' for e in ("Top", "Bottom", "Left", "Right")) + "</gnm:StyleBorder></gnm:Style>")
last, cut = 1048575, 1048575 - 1000
def region(c0, r0, c1, r1, st):
    return f'<gnm:StyleRegion startCol="{c0}" startRow="{r0}" endCol="{c1}" endRow="{r1}">{st}</gnm:StyleRegion>'
# columns B:D boxed down to 1000 rows above the end: those last rows differ from their columns
s = s.replace(styles, "<gnm:Styles>" + region(0, 0, 0, last, plain) + region(1, 0, 3, cut, box)
              + region(1, cut + 1, 3, last, plain) + region(4, 0, 16383, last, plain) + "</gnm:Styles>")
s = s.replace('<gnm:Rows DefaultSizePts="13.5"/>', f'<gnm:Rows DefaultSizePts="13.5"><gnm:RowInfo No="{cut + 1}" '
              'Unit="18" MarginA="0" MarginB="0" HardSize="1" Count="1000"/></gnm:Rows>')
open(sys.argv[2], "w", encoding="utf-8").write(s.replace("<gnm:MaxCol>3</gnm:MaxCol>", "<gnm:MaxCol>16383</gnm:MaxCol>"))
PY
    ssconvert "$work/rows.gnumeric" "$here/real/gnm_rows_to_end.xlsx" 2>/dev/null
fi
ls -l "$here"/*.xlsx
