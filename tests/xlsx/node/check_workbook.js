#!/usr/bin/env node
// Reads a workbook with ExcelJS (an independent reader) and compares it with what the engine
// wrote: node check_workbook.js OUT.xlsx EXPECTED.json
// Cell values, strike-through, fills, number formats, alignment, merges, row heights and the
// print area come from ExcelJS; the manual row breaks (which ExcelJS does not read) from the
// sheet's XML through JSZip. Exit status 0 when everything matches.
'use strict';
const fs = require('fs');
const ExcelJS = require('exceljs');
const JSZip = require('jszip');

function serial(d) { return d.getTime() / 86400000 + 25569; }

function plain(value) {
  if (value === null || value === undefined) return '';
  if (typeof value === 'object' && value.richText) return value.richText.map((r) => r.text).join('');
  if (typeof value === 'object' && 'formula' in value) return value.result;
  return value;
}

async function sheetXml(file, sheetName) {
  const zip = await JSZip.loadAsync(fs.readFileSync(file));
  const wbXml = await zip.file('xl/workbook.xml').async('string');
  const rels = await zip.file('xl/_rels/workbook.xml.rels').async('string');
  const esc = (s) => s.replace(/&/g, '&amp;').replace(/'/g, '&apos;').replace(/"/g, '&quot;');
  let m = new RegExp(`<sheet [^>]*name="${esc(sheetName).replace(/[.*+?^${}()|[\]\\]/g, '\\$&')}"[^>]*r:id="([^"]+)"`).exec(wbXml);
  if (!m) m = new RegExp(`<sheet [^>]*name="${sheetName.replace(/'/g, "''")}"[^>]*r:id="([^"]+)"`).exec(wbXml);
  if (!m) throw new Error(`sheet ${sheetName} not in workbook.xml`);
  const t = new RegExp(`<Relationship [^>]*Id="${m[1]}"[^>]*Target="([^"]+)"`).exec(rels)
         || new RegExp(`<Relationship [^>]*Target="([^"]+)"[^>]*Id="${m[1]}"`).exec(rels);
  const target = t[1].startsWith('/') ? t[1].slice(1) : 'xl/' + t[1];
  return zip.file(target).async('string');
}

async function main() {
  const [file, expectedFile] = process.argv.slice(2);
  const exp = JSON.parse(fs.readFileSync(expectedFile, 'utf8'));
  const wb = new ExcelJS.Workbook();
  await wb.xlsx.readFile(file);
  const ws = wb.getWorksheet(exp.sheet);
  const diffs = [];
  if (!ws) {
    console.log(`no sheet "${exp.sheet}" (sheets: ${wb.worksheets.map((w) => w.name).join(', ')})`);
    process.exit(1);
  }
  for (const c of exp.cells) {
    const cell = ws.getCell(c.ref);
    const v = plain(cell.value);
    if ('text' in c && v !== c.text) diffs.push(`${c.ref}: text ${JSON.stringify(v)} != ${JSON.stringify(c.text)}`);
    if ('number' in c) {
      const n = v instanceof Date ? serial(v) : v;
      if (Math.abs(n - c.number) > 1e-9) diffs.push(`${c.ref}: number ${v} != ${c.number}`);
    }
    const strike = !!(cell.font && cell.font.strike);
    if (strike !== c.strike) diffs.push(`${c.ref}: strike ${strike} != ${c.strike}`);
    if ('fill' in c) {
      const f = cell.fill;
      const rgb = f && f.type === 'pattern' && f.pattern === 'solid' && f.fgColor && f.fgColor.argb;
      if (!rgb || rgb.slice(-6).toUpperCase() !== c.fill) diffs.push(`${c.ref}: fill ${JSON.stringify(f)} != ${c.fill}`);
    }
    if ('numFmt' in c && cell.numFmt !== c.numFmt) diffs.push(`${c.ref}: numFmt ${cell.numFmt} != ${c.numFmt}`);
    if ('align' in c) {
      const h = (cell.alignment && cell.alignment.horizontal) || 'general';
      if (h !== c.align) diffs.push(`${c.ref}: align ${h} != ${c.align}`);
    }
  }
  const merges = new Set(ws.model.merges);
  for (const m of exp.merges) if (!merges.has(m)) diffs.push(`merge ${m} missing`);
  if (merges.size !== exp.merges.length) diffs.push(`${merges.size} merges != ${exp.merges.length}`);
  for (const [r, h] of exp.rowHeights) {
    const got = ws.getRow(r).height;
    if (Math.abs(got - h) > 1e-9) diffs.push(`row ${r}: height ${got} != ${h}`);
  }
  const pa = (ws.pageSetup.printArea || '').replace(/\$/g, '').replace(/^.*!/, '');
  if (pa !== exp.printArea) diffs.push(`print area ${ws.pageSetup.printArea} != ${exp.printArea}`);
  const xml = await sheetXml(file, exp.sheet);
  const breaks = [...xml.matchAll(/<brk [^>]*id="(\d+)"/g)].map((m) => Number(m[1]) + 1);
  if (JSON.stringify(breaks) !== JSON.stringify(exp.breaks)) diffs.push(`breaks ${breaks} != ${exp.breaks}`);

  if (diffs.length) {
    console.log(diffs.slice(0, 30).join('\n'));
    if (diffs.length > 30) console.log(`... ${diffs.length - 30} more`);
    process.exit(1);
  }
  console.log(`ok: ${exp.cells.length} cells, ${exp.merges.length} merges, ${breaks.length} breaks`);
}

main().catch((e) => {
  console.log(e && e.stack ? e.stack : String(e));
  process.exit(1);
});
