#!/usr/bin/env python3
"""Writes damaged and hostile workbooks from a good one: make_broken.py GOOD.xlsx OUTDIR"""
import os
import re
import sys
import zipfile

good, out = sys.argv[1], sys.argv[2]
SHEET = "xl/worksheets/sheet1.xml"


def entries():
    with zipfile.ZipFile(good) as z:
        return [(i.filename, z.read(i.filename)) for i in z.infolist()]


def write(name, items, extra=None):
    path = os.path.join(out, name)
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as z:
        for n, data in items:
            info = zipfile.ZipInfo(n, date_time=(1980, 1, 1, 0, 0, 0))
            info.compress_type = zipfile.ZIP_DEFLATED
            z.writestr(info, data)
        if extra:
            extra(z)


items = entries()
data = open(good, "rb").read()

# cut in the middle: no central directory
open(os.path.join(out, "broken_truncated.xlsx"), "wb").write(data[: len(data) * 3 // 5])
# not a zip at all
open(os.path.join(out, "broken_not_zip.xlsx"), "wb").write("部品表\tではありません\n".encode("utf-8") * 20)
# the workbook part is missing
write("broken_no_workbook.xlsx", [(n, d) for n, d in items if n != "xl/workbook.xml"])
# the sheet part is missing
write("broken_no_sheet.xlsx", [(n, d) for n, d in items if n != SHEET])
# the content types are missing
write("broken_no_content_types.xlsx", [(n, d) for n, d in items if n != "[Content_Types].xml"])
# sheet XML cut off in the middle of a tag
write("broken_bad_xml.xlsx", [(n, d[: len(d) // 2] if n == SHEET else d) for n, d in items])
# rows out of order and a cell address outside its row
sheet = dict(items)[SHEET].decode("utf-8")
row3 = re.search(r'<row r="3".*?</row>', sheet).group(0)
bad = sheet.replace(row3, re.sub(r'r="([A-Z]*)3"', r'r="\g<1>99"', row3), 1)
write("broken_row_order.xlsx", [(n, bad.encode("utf-8") if n == SHEET else d) for n, d in items])
# entity expansion ("billion laughs")
lol = '<?xml version="1.0"?>\n<!DOCTYPE lolz [\n<!ENTITY lol "lol">\n'
prev = "lol"
for i in range(1, 10):
    lol += '<!ENTITY lol%d "%s">\n' % (i, ("&%s;" % prev) * 10)
    prev = "lol%d" % i
lol += ']>\n<worksheet xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main"><sheetData><row r="1"><c r="A1" t="inlineStr"><is><t>&lol9;</t></is></c></row></sheetData></worksheet>'
write("broken_entities.xlsx", [(n, lol.encode() if n == SHEET else d) for n, d in items])
# a zip bomb: the sheet inflates to 300 MiB of blanks
def bomb(z):
    info = zipfile.ZipInfo(SHEET, date_time=(1980, 1, 1, 0, 0, 0))
    info.compress_type = zipfile.ZIP_DEFLATED
    with z.open(info, "w", force_zip64=True) as f:
        block = b" " * (1 << 20)
        for _ in range(300):
            f.write(block)
write("broken_zip_bomb.xlsx", [(n, d) for n, d in items if n != SHEET], bomb)
# an entry whose name climbs out of the folder
write("broken_path_traversal.xlsx", items + [("../../../../tmp/buhinhyo_evil.txt", b"evil")])

# Not damaged, only bare, as streaming writers make a workbook: inline strings, no shared strings,
# styles, theme or document properties, and rows and cells without their addresses.
MAIN = "http://schemas.openxmlformats.org/spreadsheetml/2006/main"
REL = "http://schemas.openxmlformats.org/officeDocument/2006/relationships"
PKG = "http://schemas.openxmlformats.org/package/2006/relationships"
row = '<row><c t="inlineStr"><is><t>{0}</t></is></c><c><v>{1}</v></c></row>'
write("real/minimal_inline.xlsx", [
    ("[Content_Types].xml", '<?xml version="1.0" encoding="UTF-8"?><Types xmlns="http://schemas.openxmlformats.org/'
     'package/2006/content-types"><Default Extension="rels" ContentType="application/vnd.openxmlformats-package.'
     'relationships+xml"/><Default Extension="xml" ContentType="application/xml"/><Override PartName="/xl/'
     'workbook.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml"/>'
     '<Override PartName="/xl/worksheets/sheet1.xml" ContentType="application/vnd.openxmlformats-officedocument.'
     'spreadsheetml.worksheet+xml"/></Types>'),
    ("_rels/.rels", f'<?xml version="1.0" encoding="UTF-8"?><Relationships xmlns="{PKG}"><Relationship Id="rId1" '
     f'Type="{REL}/officeDocument" Target="xl/workbook.xml"/></Relationships>'),
    ("xl/workbook.xml", f'<?xml version="1.0" encoding="UTF-8"?><workbook xmlns="{MAIN}" xmlns:r="{REL}"><sheets>'
     '<sheet name="部品表" sheetId="1" r:id="rId1"/></sheets></workbook>'),
    ("xl/_rels/workbook.xml.rels", f'<?xml version="1.0" encoding="UTF-8"?><Relationships xmlns="{PKG}">'
     f'<Relationship Id="rId1" Type="{REL}/worksheet" Target="worksheets/sheet1.xml"/></Relationships>'),
    ("xl/worksheets/sheet1.xml", f'<?xml version="1.0" encoding="UTF-8"?><worksheet xmlns="{MAIN}"><sheetData>'
     + "".join(row.format(t, n) for t, n in (("品名", 2), ("ベース", 3), ("カバー &amp; ボルト", 4.5)))
     + "</sheetData></worksheet>"),
])
