#!/usr/bin/env bash
# Mutation check of the test suite, run by hand (not part of ./test or CI).
#
# Applies a fixed list of small faults to src/ one at a time: each fault is found by its file and an
# exact piece of source text (not a line number), so it survives nearby edits. For each fault the
# script builds only the test programs of the fault's module group, runs them (with a time limit),
# restores the file from a saved copy and reports whether a test failed. At the end it prints
# "caught N of M". A fault whose text is no longer in the file is "not applicable"; a fault that does
# not compile is reported too; neither counts in M.
#
#   scripts/mutants.sh            every fault
#   scripts/mutants.sh N1 X3      only these
#   scripts/mutants.sh --check    only check that every fault's text is found exactly once
#
# Environment: BUILD_DIR (default build, configured by ./test or scripts/build.sh), MUTANT_TIMEOUT
# (seconds for the tests of one fault, default 900: a hang counts as caught), MUTANT_JOBS (build and
# test jobs, default 2).
set -uo pipefail
cd "$(dirname "$0")/.."
ROOT=$PWD
BUILD_DIR=${BUILD_DIR:-build}
TEST_TIMEOUT=${MUTANT_TIMEOUT:-900}
JOBS=${MUTANT_JOBS:-2}
# A fault that leaves a screen waiting makes its test function hang: stop it after 90 s, not 300.
export QTEST_FUNCTION_TIMEOUT=${QTEST_FUNCTION_TIMEOUT:-90000}

# Test programs that exercise each group of modules. Keep these in step with the test programs'
# names when tests are moved.
ALL='.'
XLSX='^test_xlsx_|^test_printrun$|^test_settings_import$'
DB='^test_db_|^test_parts_table_editor$|^test_editor_screen$|^test_drawing_search$|^test_aids_|^test_output_settings$|^test_settings_import$'
EDITOR='^test_editor_|^test_parts_table_editor$|^test_drawing_search$|^test_aids_'
OUTPUT='^test_(output_logic|printrun|output_settings|settings_import)$'
SETTINGS='^test_settings_|^test_output_settings$'

# The faults: "@@ ID FILE GROUP", the text to find, a line "--", the text put in its place.
read -r -d '' MUTANTS <<'LIST'
@@ N1 src/editor/Numbering.cpp EDITOR
const QString kept = dash < 0 ? assy : assy.left(dash);
--
const QString kept = dash <= 0 ? assy : assy.left(dash);
@@ N2 src/editor/Numbering.cpp EDITOR
    return QString::number(n).rightJustified(3, u'0');
--
    return QString::number(n).rightJustified(2, u'0');
@@ N3 src/editor/Numbering.cpp EDITOR
const long long n = static_cast<long long>(base) + line + start - 1;
--
const long long n = static_cast<long long>(base) + line + start;
@@ N4 src/editor/Numbering.cpp EDITOR
c[EditorCol::No] = TextIsTrue(c[EditorCol::Haishi]) ? abolished : QString::number(row);
--
c[EditorCol::No] = QString::number(row);
@@ N5 src/editor/Numbering.cpp EDITOR
if (r > 99 || r < 0)
--
if (r > 99 || r < 1)
@@ N6 src/editor/Numbering.cpp EDITOR
c[EditorCol::Zno] = TextIsTrue(c[EditorCol::Kakko]) ? u'(' + zno + u')' : zno;
--
c[EditorCol::Zno] = zno;
@@ E1 src/editor/PartsTableEditor.cpp EDITOR
m_grid.setCell(row, Kingk, DecimalText(qty * price));
--
m_grid.setCell(row, Kingk, DecimalText(qty + price));
@@ E2 src/editor/PartsTableEditor.cpp EDITOR
    m_grid.setCell(last, Number, QString());
--
    m_grid.setCurrent(last);
@@ E3 src/editor/PartsTableEditor.cpp EDITOR
    if (m_header.customer.isEmpty()) {
--
    if (m_header.customer.isNull() && false) {
@@ P1 src/output/PageLayout.cpp OUTPUT
(listRows.value() + rowsPerPage.value() - 1LL) / rowsPerPage.value()
--
(listRows.value() + rowsPerPage.value()) / rowsPerPage.value()
@@ P2 src/output/PageLayout.cpp OUTPUT
headingRow = first >= last ? first + Int16::from(1) : first - Int16::from(1);
--
headingRow = first - Int16::from(1);
@@ P3 src/output/PageLayout.cpp OUTPUT
step({u"改ページ"}, [&] { m_target.pageBreakAbove(top); });
--
step({u"改ページ"}, [&] { (void)top; });
@@ P4 src/output/PageLayout.cpp OUTPUT
                m_target.fillGrey(row, column);
--
                (void)column;
@@ P5 src/output/PageLayout.cpp OUTPUT
if (format != u"@" && looksLikeNumber(w.value, &w.numberValue))
--
if (looksLikeNumber(w.value, &w.numberValue))
@@ P6 src/output/PageLayout.cpp OUTPUT
currentMaker == previousMaker && lineCounter <= rowsPerPage
--
currentMaker == previousMaker && lineCounter < rowsPerPage
@@ P7 src/output/PageLayout.cpp OUTPUT
lineRow = first >= last ? lineRow - Int16::from(1) : lineRow + Int16::from(1);
--
lineRow = lineRow + Int16::from(1);
@@ P8 src/output/PageLayout.cpp OUTPUT
return Int16::from(static_cast<long long>(std::nearbyint(d)));
--
return Int16::from(static_cast<long long>(std::trunc(d)));
@@ P9 src/output/PageLayout.cpp OUTPUT
writeTextCell(row, m_maker.letter, line.at(LcMaker), abolished);
--
writeTextCell(row, m_maker.letter, line.at(LcMaker), false);
@@ Q1 src/output/PageLayout.cpp OUTPUT
if (DigitsValue(quantity) <= 0)
--
if (DigitsValue(quantity) < 0)
@@ Q2 src/output/PageLayout.cpp OUTPUT
if (unit == u"R" || unit == u"L")
--
if (unit == u"R")
@@ Q3 src/output/PageLayout.cpp OUTPUT
        return firstHalf + u' ' + secondHalf;
--
        return firstHalf + secondHalf;
@@ Q4 src/settings/QuantityNotation.cpp SETTINGS
unit = side.left(1).toString();
--
unit = side.toString();
@@ Q5 src/settings/QuantityNotation.cpp SETTINGS
{QStringView(u"R/L×"), QStringView(u"L/R×"), QStringView(u"計")}
--
{QStringView(u"R/L×"), QStringView(u"L/R×")}
@@ L1 src/output/ListQuery.cpp OUTPUT
if (filterWord == u"MAKER")
--
if (filterWord == u"maker")
@@ L2 src/output/ListQuery.cpp OUTPUT
tail = QStringLiteral(" AND CH_HAISHI = FALSE") +
--
tail = QStringLiteral("") +
@@ W1 src/output/WorkbookControl.cpp OUTPUT
if (path == u"SHINKI" || path.isEmpty()) {
--
if (path.isEmpty()) {
@@ W2 src/output/WorkbookControl.cpp OUTPUT
if (c < u'A' || c > u'Z')
--
if (c < u'A' || c > u'z')
@@ W3 src/output/SettingsRecord.cpp OUTPUT
rs.SetField(DetailColumnName(i, u"_ER"), d.endRow);
--
rs.SetField(DetailColumnName(i, u"_ER"), d.startRow);
@@ S1 src/settings/SettingsSave.cpp SETTINGS
if (pageRows.trimmed().isEmpty())
--
if (pageRows.isEmpty())
@@ S2 src/settings/SettingsSave.cpp SETTINGS
if (!fileExists(templatePath))
--
if (templatePath.isNull())
@@ S3 src/settings/SettingsSave.cpp SETTINGS
if (ini.ShowMessage(QStringLiteral("Q105"), QString()) == u"NO") {
--
if (ini.ShowMessage(QStringLiteral("Q105"), QString()) == u"no") {
@@ S4 src/settings/ColumnLetters.cpp SETTINGS
if (name == u"IV")
--
if (name == u"IW")
@@ S5 src/settings/OutputSettingsScreen.cpp SETTINGS
    return !CheckNumberText(text);
--
    return true;
@@ S6 src/settings/JapaneseEra.cpp SETTINGS
era.year == 1 && !era.name.isEmpty() ? QStringLiteral("元")
--
era.year == 0 && !era.name.isEmpty() ? QStringLiteral("元")
@@ M1 src/settings/ImportParser.cpp SETTINGS
(cells.lastRow() + stride - 1) / stride
--
cells.lastRow() / stride
@@ M2 src/settings/ImportParser.cpp SETTINGS
struck = struck || cells.struck(row, r.col);
--
struck = struck || false;
@@ M3 src/settings/ImportParser.cpp SETTINGS
if (zno.size() >= 2 && zno.startsWith(u'(') && zno.endsWith(u')')) {
--
if (zno.size() > 99) {
@@ M4 src/settings/ImportParser.cpp SETTINGS
d = QDate(1899, 12, 30).addDays(qint64(t.toDouble()));
--
d = QDate(1899, 12, 31).addDays(qint64(t.toDouble()));
@@ M5 src/settings/ImportParser.cpp SETTINGS
r.step = sr <= er ? 1 : -1;
--
r.step = 1;
@@ M6 src/settings/ImportParser.cpp SETTINGS
    t.remove(u',');
--
    t.remove(u'_');
@@ R1 src/db/Recordset.cpp DB
    return n != 0;
--
    return n > 0;
@@ R2 src/db/Recordset.cpp DB
        if (db->Write(statement, bound) == 0)
            throw rowGone();
--
        db->Write(statement, bound);
@@ R3 src/db/Recordset.cpp DB
            if (text.isEmpty())
                return QVariant();
--
            if (text.isEmpty())
                return QVariant(0);
@@ R4 src/db/Recordset.cpp DB
    if (d->pos >= int(d->rows.size()))
        throw noCurrentRow();
--
    if (d->pos > int(d->rows.size()))
        throw noCurrentRow();
@@ R5 src/db/Recordset.cpp DB
                row.values[k] = id;
--
                (void)id;
@@ R6 src/db/Recordset.cpp DB
    --d->live;
--
    (void)d->live;
@@ R7 src/db/Recordset.cpp DB
        return {QStringLiteral("INT_NUMBER")};
--
        return {QStringLiteral("CH_ASSY")};
@@ R8 src/db/Database.cpp DB
    if (m_dialect == Dialect::Sqlite || !m_db.driver() || !m_db.driver()->hasFeature(QSqlDriver::Unicode))
--
    if (m_dialect == Dialect::Sqlite)
@@ R9 src/db/Cursor.cpp DB
            const size_t got = cut ? size_t(room) - terminator : size_t(indicator);
--
            const size_t got = cut ? size_t(room) : size_t(indicator);
@@ D1 src/db/PartsRecords.cpp DB
    if (given(line.suryo))
--
    if (true)
@@ D2 src/db/PartsRecords.cpp DB
{QStringLiteral("yyyy/M/d"), QStringLiteral("yyyy-M-d"), QStringLiteral("yyyyMMdd")}
--
{QStringLiteral("yyyy-M-d"), QStringLiteral("yyyyMMdd")}
@@ D3 src/db/PartsRecords.cpp DB
    if (rs.RecordCount() != 0)
        return;
--
    if (rs.RecordCount() < 0)
        return;
@@ D4 src/db/PartsRecords.cpp DB
quoted(typed.trimmed() + u'%')
--
quoted(u'%' + typed.trimmed() + u'%')
@@ I1 src/app/IniFile.cpp ALL
((v.front() == u'"' && v.back() == u'"') || (v.front() == u'\'' && v.back() == u'\''))
--
(v.front() == u'"' && v.back() == u'"')
@@ I2 src/app/IniFile.cpp ALL
        if (used + n > maxBytes)
--
        if (used + n >= maxBytes)
@@ I3 src/app/IniFile.cpp ALL
            if (!m_sectionIndex.contains(lower))
--
            if (true)
@@ I4 src/app/IniFile.cpp ALL
        if (!current->keys.contains(key))
--
        if (true)
@@ I5 src/app/IniFile.cpp ALL
            lines[k->line].raw = raw.left(eq + 1) + *encodeLine(value);
--
            lines[k->line].raw = *encodeLine(keyName + u'=' + value);
@@ I6 src/app/IniAccess.cpp ALL
        buttons = MsgButtons::OkCancel;
--
        buttons = MsgButtons::Ok;
@@ I7 src/app/IniAccess.cpp ALL
    if (result.startsWith(u"EOF")) {
--
    if (!value) {
@@ C1 src/app/Common.cpp ALL
ini.put(section, QStringLiteral("MAX"), QString::number(count + 1));
--
ini.put(section, QStringLiteral("MAX"), QString::number(count));
@@ C2 src/app/Common.cpp ALL
(c == u'-' && i > 0)
--
(c == u'-' && i >= 0)
@@ C3 src/app/Common.cpp ALL
    return ok && d != 0.0;
--
    return ok && d > 0.0;
@@ X1 src/xlsx/Formula.cpp XLSX
        if (r.a.row >= top) {
--
        if (r.a.row > top) {
@@ X2 src/xlsx/Formula.cpp XLSX
    if (hi >= top) {
--
    if (hi > top) {
@@ X3 src/xlsx/Formula.cpp XLSX
if (p.row > 0 && !p.absRow && rows != 0) {
--
if (p.row > 0 && rows != 0) {
@@ X4 src/xlsx/Formula.cpp XLSX
if ((name[0] == 'R' || name[0] == 'r' || name[0] == 'C' || name[0] == 'c') && name.size() > 1 &&
--
if (false && name.size() > 1 &&
@@ X5 src/xlsx/Formula.cpp XLSX
                    out += quoteSheetName(ref.sheet) + "!";
--
                    out += ref.sheet + "!";
@@ X6 src/xlsx/Insert.cpp XLSX
            b.id = b.id < kMaxRow - count ? b.id + count : kMaxRow;
--
            b.id = b.id < kMaxRow - count ? b.id + count - 1 : kMaxRow;
@@ X7 src/xlsx/Book.cpp XLSX
                    if (c.hasFormula() && c.hasV) {
--
                    if (c.hasFormula() && c.hasV && false) {
@@ X8 src/xlsx/Insert.cpp XLSX
if (auto nf = shiftForCopy(c.x->f, d, 0)) {
--
if (auto nf = shiftForCopy(c.x->f, 0, 0)) {
@@ X9 src/xlsx/Worksheet.cpp XLSX
    if (s.breaks.size() >= 1023)
--
    if (s.breaks.size() > 1023)
@@ X10 src/xlsx/Support.cpp XLSX
            out += "_x005F_";
--
            out += "_";
LIST

python_tool() {
    python3 - "$@" <<'PY'
import os, sys
cmd = sys.argv[1]
text = os.environ["MUTANTS"]
mutants = []
for block in text.split("@@ ")[1:]:
    head, _, body = block.partition("\n")
    ident, path, group = head.split()
    before, sep, after = body.rstrip("\n").partition("\n--\n")
    if not sep:
        sys.exit("mutant %s: no '--' line" % ident)
    mutants.append((ident, path, group, before, after))
if cmd == "list":
    for m in mutants:
        print(m[0], m[1], m[2])
elif cmd == "apply":
    ident = sys.argv[2]
    for m in mutants:
        if m[0] == ident:
            src = open(m[1], encoding="utf-8").read()
            n = src.count(m[3])
            if n != 1:
                print("found %d times" % n)
                sys.exit(3)
            with open(m[1], "w", encoding="utf-8") as f:
                f.write(src.replace(m[3], m[4]))
            sys.exit(0)
    sys.exit("unknown mutant " + ident)
PY
}
export MUTANTS

group_regex() { eval "printf '%s' \"\$$1\""; }

# The executables of the tests a regex selects: the targets to build.
targets_of() {
    (cd "$BUILD_DIR" && ctest -N -R "$1" --show-only=json-v1) | python3 -c '
import json, os, sys
seen = []
tests = os.path.join(os.path.abspath(sys.argv[1]), "tests") + "/"
for t in json.load(sys.stdin)["tests"]:
    cmd = t.get("command") or []
    if cmd and cmd[0].startswith(tests):
        name = os.path.basename(cmd[0])
        if name not in seen:
            seen.append(name)
print(" ".join(seen))' "$BUILD_DIR"
}

mapfile -t LINES < <(python_tool list)
if [ "${1:-}" = "--check" ]; then
    bad=0
    for line in "${LINES[@]}"; do
        read -r id file _ <<<"$line"
        cp -p "$file" "/tmp/mutant-check.$$"
        if ! out=$(python_tool apply "$id"); then
            echo "$id $file: $out"
            bad=1
        fi
        cp -p "/tmp/mutant-check.$$" "$file"
    done
    rm -f "/tmp/mutant-check.$$"
    echo "${#LINES[@]} mutants listed"
    exit $bad
fi

if [ ! -f "$BUILD_DIR/build.ninja" ]; then
    echo "no build in $BUILD_DIR: run ./test first" >&2
    exit 2
fi
WANT=" $* "
OUT="$ROOT/$BUILD_DIR/mutants"
mkdir -p "$OUT"
SAVED=""
SAVED_FILE=""
restore() {
    if [ -n "$SAVED" ]; then
        cp "$SAVED" "$SAVED_FILE" # a fresh time stamp: the next build compiles the original again
        rm -f "$SAVED"
        SAVED=""
    fi
}
trap 'restore; exit 130' INT TERM
trap restore EXIT

caught=0
survived=0
skipped=0
broken=0
: >"$OUT/results.txt"
for line in "${LINES[@]}"; do
    read -r id file group <<<"$line"
    if [ $# -gt 0 ] && [[ "$WANT" != *" $id "* ]]; then
        continue
    fi
    regex=$(group_regex "$group")
    SAVED=$(mktemp)
    SAVED_FILE=$file
    cp "$file" "$SAVED"
    if ! python_tool apply "$id" >/dev/null; then
        result="not applicable"
        skipped=$((skipped + 1))
    else
        targets=$(targets_of "$regex")
        # shellcheck disable=SC2086
        if ! nice cmake --build "$BUILD_DIR" -j"$JOBS" --target $targets >"$OUT/$id.build.log" 2>&1; then
            result="does not build"
            broken=$((broken + 1))
        elif (cd "$BUILD_DIR" && timeout -k 30 "$TEST_TIMEOUT" nice ctest -R "$regex" -j"$JOBS") \
            >"$OUT/$id.test.log" 2>&1; then
            result="SURVIVED"
            survived=$((survived + 1))
        else
            failing=$(grep -oE '[0-9]+ - [A-Za-z0-9_]+ \(' "$OUT/$id.test.log" | sed -E 's/^[0-9]+ - //; s/ \($//' |
                tr '\n' ' ')
            [ -n "$failing" ] || failing="(a hang: stopped after ${TEST_TIMEOUT}s)"
            result="caught by ${failing% }"
            caught=$((caught + 1))
        fi
    fi
    restore
    printf '%-4s %-40s %s\n' "$id" "$file" "$result" | tee -a "$OUT/results.txt"
done
# Leave the build as the sources are.
nice cmake --build "$BUILD_DIR" -j"$JOBS" >"$OUT/final.build.log" 2>&1
total=$((caught + survived))
{
    echo "caught $caught of $total"
    [ $skipped -eq 0 ] || echo "not applicable: $skipped"
    [ $broken -eq 0 ] || echo "does not build: $broken"
} | tee -a "$OUT/results.txt"
