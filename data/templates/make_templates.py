#!/usr/bin/env python3
"""Makes the shipped sample templates of the parts lists.

Writes one flat OpenDocument spreadsheet (.fods) per kind and turns it into .xlsx with LibreOffice
headless. The .xlsx files are committed; run this again after changing the layout:

    python3 data/templates/make_templates.py            # writes next to this script

The page: title in row 1, a boxed header (図番, 品名, ASSY, 日付, 設計, 頁) in rows 3-5, column
headings in row 7, 40 detail rows (8-47) with borders, a footer in row 49; 50 rows a page, A4
portrait. The print run copies rows 1-50 for every further page.
"""
import os
import shutil
import subprocess
import sys
import tempfile
from xml.sax.saxutils import escape

HERE = os.path.dirname(os.path.abspath(__file__))
SHEET = "部品表"
KINDS = {
    "1": ("mfg_parts_template", "製作部品表(MFG.PARTS.TABLE)",
          ["図番№", "品　名", "材　質", "数　量", "備　考", "単　価", "金　額", "ﾒｰｶｰ"]),
    "2": ("purchased_parts_template", "購入部品表(MFG.PARTS.TABLE)",
          ["図番№", "品　名", "型式・材質", "数　量", "備　考", "単　価", "金　額", "ﾒｰｶｰ"]),
}
COLUMN_WIDTHS_CM = [1.6, 3.9, 2.4, 1.9, 2.7, 1.6, 1.8, 2.1]
FIRST_LINE, LAST_LINE, PAGE_ROWS = 8, 47, 50

THIN = "0.5pt solid #000000"
MEDIUM = "1.2pt solid #000000"


def cell_style(name, size="10pt", bold=False, align="start", fill=None, top=None, bottom=None,
               left=None, right=None, valign="middle", fmt=None):
    props = [f'style:vertical-align="{valign}"']
    borders = []
    for side, value in (("top", top), ("bottom", bottom), ("left", left), ("right", right)):
        if value:
            borders.append(f'fo:border-{side}="{value}"')
    if fill:
        props.append(f'fo:background-color="{fill}"')
    text = (f'<style:text-properties style:font-name="IPAGothic" fo:font-size="{size}" '
            f'style:font-name-asian="ＭＳ ゴシック" style:font-size-asian="{size}"'
            + (' fo:font-weight="bold" style:font-weight-asian="bold"' if bold else "") + "/>")
    data = f' style:data-style-name="{fmt}"' if fmt else ""
    return (f'<style:style style:name="{name}" style:family="table-cell" style:parent-style-name="Default"{data}>'
            f'<style:table-cell-properties {" ".join(props + borders)} style:shrink-to-fit="false"/>'
            f'<style:paragraph-properties fo:text-align="{align}"/>{text}</style:style>')


def styles():
    out = []
    for i, w in enumerate(COLUMN_WIDTHS_CM):
        out.append(f'<style:style style:name="co{i}" style:family="table-column">'
                   f'<style:table-column-properties fo:break-before="auto" style:column-width="{w}cm"/></style:style>')
    for name, h in (("ro_title", "0.95cm"), ("ro_gap", "0.3cm"), ("ro_head", "0.62cm"), ("ro_line", "0.5cm"),
                    ("ro_foot", "0.5cm")):
        out.append(f'<style:style style:name="{name}" style:family="table-row">'
                   f'<style:table-row-properties style:row-height="{h}" fo:break-before="auto" '
                   f'style:use-optimal-row-height="false"/></style:style>')
    out.append('<style:style style:name="ta1" style:family="table" style:master-page-name="PageA4">'
               '<style:table-properties table:display="true" style:writing-mode="lr-tb"/></style:style>')
    out.append(cell_style("ce_title", size="16pt", bold=True, align="center", bottom=MEDIUM))
    out.append(cell_style("ce_label", size="9pt", align="center", fill="#d9d9d9", top=THIN, bottom=THIN, left=MEDIUM,
                          right=THIN))
    out.append(cell_style("ce_value", size="11pt", align="start", top=THIN, bottom=THIN, left=THIN, right=MEDIUM))
    out.append(cell_style("ce_box_top", size="9pt", align="center", fill="#d9d9d9", top=MEDIUM, bottom=THIN,
                          left=MEDIUM, right=THIN))
    out.append(cell_style("ce_value_top", size="11pt", align="start", top=MEDIUM, bottom=THIN, left=THIN, right=MEDIUM))
    out.append(cell_style("ce_box_bot", size="9pt", align="center", fill="#d9d9d9", top=THIN, bottom=MEDIUM,
                          left=MEDIUM, right=THIN))
    out.append(cell_style("ce_value_bot", size="11pt", align="start", top=THIN, bottom=MEDIUM, left=THIN,
                          right=MEDIUM))
    out.append(cell_style("ce_heading", size="9pt", bold=True, align="center", fill="#d9d9d9", top=MEDIUM,
                          bottom=MEDIUM, left=THIN, right=THIN))
    for name, align, fmt in (("ce_line", "start", None), ("ce_line_c", "center", None),
                             ("ce_line_num", "end", "N3")):
        out.append(cell_style(name, size="10pt", align=align, top=THIN, bottom=THIN, left=THIN, right=THIN, fmt=fmt))
        out.append(cell_style(name + "_last", size="10pt", align=align, top=THIN, bottom=MEDIUM, left=THIN,
                              right=THIN, fmt=fmt))
    out.append(cell_style("ce_foot", size="8pt", align="start"))
    out.append(cell_style("ce_foot_r", size="8pt", align="end"))
    return "\n".join(out)


def cell(style, text=None, span=1):
    attrs = f' table:style-name="{style}"'
    if span > 1:
        attrs += f' table:number-columns-spanned="{span}" table:number-rows-spanned="1"'
    body = ""
    if text is not None:
        attrs += ' office:value-type="string" calcext:value-type="string"'
        body = f"<text:p>{escape(text)}</text:p>"
    out = f"<table:table-cell{attrs}>{body}</table:table-cell>"
    if span > 1:
        out += f'<table:covered-table-cell table:style-name="{style}"/>' * (span - 1)
    return out


def row(style, cells):
    return f'<table:table-row table:style-name="{style}">{"".join(cells)}</table:table-row>'


def empty_row(style):
    return row(style, ['<table:table-cell table:number-columns-repeated="8"/>'])


def sheet(title, headings):
    rows = [row("ro_title", [cell("ce_title", title, 8)]), empty_row("ro_gap")]
    header = [("図　番", "日　付"), ("品　名", "設　計"), ("ASSY", "頁")]
    for i, (left, right) in enumerate(header):
        label, value = ("ce_box_top", "ce_value_top") if i == 0 else (
            ("ce_box_bot", "ce_value_bot") if i == 2 else ("ce_label", "ce_value"))
        rows.append(row("ro_head", [cell(label, left), cell(value, None, 3), cell(label, right), cell(value, None, 3)]))
    rows.append(empty_row("ro_gap"))
    rows.append(row("ro_head", [cell("ce_heading", h) for h in headings]))
    for r in range(FIRST_LINE, LAST_LINE + 1):
        suffix = "_last" if r == LAST_LINE else ""
        styles_of = ["ce_line_c", "ce_line", "ce_line", "ce_line_c", "ce_line", "ce_line_num", "ce_line_num",
                     "ce_line"]
        rows.append(row("ro_line", [cell(s + suffix) for s in styles_of]))
    rows.append(empty_row("ro_foot"))
    rows.append(row("ro_foot", [cell("ce_foot", "注）廃止の行は取消線と灰色の図番欄で示します。", 5),
                                cell("ce_foot_r", "部品表システム", 3)]))
    rows.append(empty_row("ro_foot"))
    cols = "".join(f'<table:table-column table:style-name="co{i}" table:default-cell-style-name="Default"/>'
                   for i in range(8))
    return (f'<table:table table:name="{SHEET}" table:style-name="ta1" '
            f'table:print-ranges="$\'{SHEET}\'.$A$1:.$H${PAGE_ROWS}">{cols}{"".join(rows)}</table:table>')


def document(title, headings):
    return f'''<?xml version="1.0" encoding="UTF-8"?>
<office:document xmlns:office="urn:oasis:names:tc:opendocument:xmlns:office:1.0"
 xmlns:style="urn:oasis:names:tc:opendocument:xmlns:style:1.0"
 xmlns:text="urn:oasis:names:tc:opendocument:xmlns:text:1.0"
 xmlns:table="urn:oasis:names:tc:opendocument:xmlns:table:1.0"
 xmlns:fo="urn:oasis:names:tc:opendocument:xmlns:xsl-fo-compatible:1.0"
 xmlns:number="urn:oasis:names:tc:opendocument:xmlns:datastyle:1.0"
 xmlns:calcext="urn:org:documentfoundation:names:experimental:calc:xmlns:calcext:1.0"
 office:version="1.3" office:mimetype="application/vnd.oasis.opendocument.spreadsheet">
<office:font-face-decls>
 <style:font-face style:name="IPAGothic" svg:font-family="IPAGothic" xmlns:svg="urn:oasis:names:tc:opendocument:xmlns:svg-compatible:1.0"/>
 <style:font-face style:name="ＭＳ ゴシック" svg:font-family="&apos;ＭＳ ゴシック&apos;" xmlns:svg="urn:oasis:names:tc:opendocument:xmlns:svg-compatible:1.0"/>
</office:font-face-decls>
<office:styles>
 <number:number-style style:name="N3"><number:number number:decimal-places="0" number:min-decimal-places="0" number:min-integer-digits="1" number:grouping="true"/></number:number-style>
 <style:style style:name="Default" style:family="table-cell">
  <style:text-properties style:font-name="IPAGothic" fo:font-size="10pt" style:font-name-asian="ＭＳ ゴシック" style:font-size-asian="10pt"/>
 </style:style>
</office:styles>
<office:automatic-styles>
{styles()}
 <style:page-layout style:name="pm1">
  <style:page-layout-properties fo:page-width="21.001cm" fo:page-height="29.7cm" style:print-orientation="portrait"
   fo:margin-top="1.2cm" fo:margin-bottom="1.0cm" fo:margin-left="1.0cm" fo:margin-right="1.0cm"
   style:table-centering="horizontal" style:scale-to="100%" style:print="objects charts drawings"/>
  <style:header-style/><style:footer-style/>
 </style:page-layout>
</office:automatic-styles>
<office:master-styles>
 <style:master-page style:name="PageA4" style:page-layout-name="pm1">
  <style:header style:display="false"/><style:footer style:display="false"/>
 </style:master-page>
</office:master-styles>
<office:body><office:spreadsheet>
{sheet(title, headings)}
</office:spreadsheet></office:body>
</office:document>
'''


def main():
    out_dir = sys.argv[1] if len(sys.argv) > 1 else HERE
    soffice = shutil.which("soffice")
    if not soffice:
        sys.exit("LibreOffice (soffice) is needed to make the .xlsx templates")
    with tempfile.TemporaryDirectory() as work:
        for kind, (base, title, headings) in KINDS.items():
            fods = os.path.join(out_dir, base + ".fods")
            with open(fods, "w", encoding="utf-8") as f:
                f.write(document(title, headings))
            profile = "file://" + os.path.join(work, "profile")
            result = subprocess.run([soffice, f"-env:UserInstallation={profile}", "--headless", "--convert-to",
                                     "xlsx:Calc MS Excel 2007 XML", "--outdir", out_dir, fods],
                                    capture_output=True, text=True)
            xlsx = os.path.join(out_dir, base + ".xlsx")
            if "Error:" in result.stdout + result.stderr or not os.path.isfile(xlsx):
                sys.exit(f"conversion of {fods} failed: {result.stdout}{result.stderr}")
            print(xlsx)


if __name__ == "__main__":
    main()
