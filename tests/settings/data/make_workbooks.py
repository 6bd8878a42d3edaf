#!/usr/bin/env python3
"""Makes the small workbooks the settings tests open: sheet lists and a filled parts list.

Run from this folder: python3 make_workbooks.py (standard library only). The .xlsx files are kept
in the repository; this script says exactly what is in them.
"""
import zipfile
from xml.sax.saxutils import escape


def col_name(n):
    s = ""
    while n:
        n, r = divmod(n - 1, 26)
        s = chr(65 + r) + s
    return s


def sheet_xml(cells):
    rows = {}
    for (r, c), v in cells.items():
        rows.setdefault(r, []).append((c, v))
    out = ['<?xml version="1.0" encoding="UTF-8" standalone="yes"?>',
           '<worksheet xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main"><sheetData>']
    for r in sorted(rows):
        out.append('<row r="%d">' % r)
        for c, (value, struck) in sorted(rows[r]):
            ref = "%s%d" % (col_name(c), r)
            style = ' s="1"' if struck else ''
            if isinstance(value, (int, float)):
                out.append('<c r="%s"%s><v>%s</v></c>' % (ref, style, value))
            else:
                out.append('<c r="%s"%s t="inlineStr"><is><t xml:space="preserve">%s</t></is></c>'
                           % (ref, style, escape(value)))
        out.append('</row>')
    out.append('</sheetData></worksheet>')
    return "".join(out)


def write_book(path, sheets):
    """sheets: list of (name, {(row, col): (value, struck)})"""
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as z:
        z.writestr("[Content_Types].xml",
                   '<?xml version="1.0" encoding="UTF-8" standalone="yes"?>'
                   '<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">'
                   '<Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/>'
                   '<Default Extension="xml" ContentType="application/xml"/>'
                   '<Override PartName="/xl/workbook.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml"/>'
                   '<Override PartName="/xl/styles.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.styles+xml"/>'
                   + "".join('<Override PartName="/xl/worksheets/sheet%d.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.worksheet+xml"/>' % (i + 1)
                             for i in range(len(sheets)))
                   + '</Types>')
        z.writestr("_rels/.rels",
                   '<?xml version="1.0" encoding="UTF-8" standalone="yes"?>'
                   '<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">'
                   '<Relationship Id="rId1" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument" Target="xl/workbook.xml"/>'
                   '</Relationships>')
        z.writestr("xl/workbook.xml",
                   '<?xml version="1.0" encoding="UTF-8" standalone="yes"?>'
                   '<workbook xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main" '
                   'xmlns:r="http://schemas.openxmlformats.org/officeDocument/2006/relationships"><sheets>'
                   + "".join('<sheet name="%s" sheetId="%d" r:id="rId%d"/>' % (escape(name), i + 1, i + 1)
                             for i, (name, _) in enumerate(sheets))
                   + '</sheets></workbook>')
        z.writestr("xl/_rels/workbook.xml.rels",
                   '<?xml version="1.0" encoding="UTF-8" standalone="yes"?>'
                   '<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">'
                   + "".join('<Relationship Id="rId%d" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/worksheet" Target="worksheets/sheet%d.xml"/>' % (i + 1, i + 1)
                             for i in range(len(sheets)))
                   + '<Relationship Id="rId%d" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/styles" Target="styles.xml"/>' % (len(sheets) + 1)
                   + '</Relationships>')
        z.writestr("xl/styles.xml",
                   '<?xml version="1.0" encoding="UTF-8" standalone="yes"?>'
                   '<styleSheet xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main">'
                   '<fonts count="2"><font><sz val="11"/><name val="Calibri"/></font>'
                   '<font><strike/><sz val="11"/><name val="Calibri"/></font></fonts>'
                   '<fills count="2"><fill><patternFill patternType="none"/></fill><fill><patternFill patternType="gray125"/></fill></fills>'
                   '<borders count="1"><border><left/><right/><top/><bottom/><diagonal/></border></borders>'
                   '<cellStyleXfs count="1"><xf numFmtId="0" fontId="0" fillId="0" borderId="0"/></cellStyleXfs>'
                   '<cellXfs count="2"><xf numFmtId="0" fontId="0" fillId="0" borderId="0" xfId="0"/>'
                   '<xf numFmtId="0" fontId="1" fillId="0" borderId="0" xfId="0" applyFont="1"/></cellXfs>'
                   '<cellStyles count="1"><cellStyle name="Normal" xfId="0" builtinId="0"/></cellStyles>'
                   '</styleSheet>')
        for i, (_, cells) in enumerate(sheets):
            z.writestr("xl/worksheets/sheet%d.xml" % (i + 1), sheet_xml(cells))


def t(value, struck=False):
    return (value, struck)


# Sheet lists.
write_book("three_sheets.xlsx", [("表紙", {(1, 1): t("表紙")}), ("部品表", {(1, 1): t("部品表")}),
                                 ("控え", {(1, 1): t("控え")})])
write_book("one_sheet.xlsx", [("一枚目", {(1, 1): t("ただ一枚")})])

# A filled parts list: pages of 20 rows; drawing number B2, name D2, assembly B3, date D3,
# designer F3, page label F2; detail lines in rows 6 to 15, columns A to H
# (item number, name, material, remarks, quantity, unit price, amount, maker).
cells = {}


def header(top, dwg, name, assy, date, designer, label):
    cells[(top + 2, 2)] = t(dwg)
    cells[(top + 2, 4)] = t(name)
    cells[(top + 3, 2)] = t(assy)
    cells[(top + 3, 4)] = t(date)
    cells[(top + 3, 6)] = t(designer)
    cells[(top + 2, 6)] = t(label)
    cells[(top + 5, 1)] = t("図番№")
    cells[(top + 5, 2)] = t("品名")


def line(row, zno, hinmei, zai, biko, qty, tanka, kingk, maker, struck=False):
    for c, v in enumerate([zno, hinmei, zai, biko, qty], start=1):
        if v != "":
            cells[(row, c)] = t(v, struck)
    if tanka != "":
        cells[(row, 6)] = t(tanka, struck)
    if kingk != "":
        cells[(row, 7)] = t(kingk, struck)
    if maker != "":
        cells[(row, 8)] = t(maker, struck)


header(0, "D-500", "ベースユニット", "10", "2026/10/01", "山田", "1 / 2")
for k in range(10):
    line(6 + k, "%03d" % (k + 1), "部品%d" % (k + 1), "SS400", "", "%d個" % (k + 1), 1000 * (k + 1),
         1000 * (k + 1) * (k + 1), "ミスミ", struck=(k == 3))
header(20, "D-500", "ベースユニット", "10", "2026/10/01", "山田", "2 / 2")
line(26, "(011)", "カバー", "A5052", "黒アルマイト", "R=2 L=2", 4500, "18,000", "")
line(27, "012", "ボルト", "SCM435", "", "計4", "", "", "")
cells[(46, 2)] = t("DWG.№のない頁")
header(60, "D-600", "フレーム", "", "令和8年", "佐藤", "1 / 1")
line(66, "001", "フレーム", "SS400", "", "一式", "", "", "")
write_book("filled_list.xlsx", [("部品表", cells)])
