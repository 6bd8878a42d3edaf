#include "PartsTableEditor.h"

#include "AppContext.h"
#include "Common.h"
#include "Database.h"
#include "ListQuery.h"
#include "Numbering.h"
#include "PartsRecords.h"
#include "RuntimeError.h"

#include <QDate>
#include <cmath>
#include <limits>

using namespace EditorCol;

namespace
{
// A number cell read as an integer of the given range: rounding halves to even, a text that is not
// a number is a type mismatch, a value outside the range an overflow.
long long readInteger(const QString& text, long long lo, long long hi)
{
    bool ok = false;
    const double d = text.trimmed().toDouble(&ok);
    if (!ok)
        throw RuntimeError::typeMismatch();
    const double r = std::nearbyint(d);
    if (r < double(lo) || r > double(hi))
        throw RuntimeError::overflow();
    return static_cast<long long>(r);
}
} // namespace

PartsTableEditor::PartsTableEditor(AppContext& ctx, std::shared_ptr<Database> db)
    : m_ctx(ctx), m_db(std::move(db))
{
}

QString PartsTableEditor::TitleOfKind(const QString& kind)
{
    if (kind == u"1")
        return QStringLiteral("製作部品表(MFG.PARTS.TABLE)");
    if (kind == u"2")
        return QStringLiteral("購入部品表(MFG.PARTS.TABLE)");
    return QStringLiteral("部品表(MFG.PARTS.TABLE)");
}

bool PartsTableEditor::ask(const QString& text, const QString& title)
{
    return m_ctx.messages->show(MsgIcon::Question, MsgButtons::YesNo, title, text) == MsgAnswer::Yes;
}

void PartsTableEditor::refreshInput()
{
    if (onRefreshInput)
        onRefreshInput();
    refreshDisplay();
}

void PartsTableEditor::refreshDisplay()
{
    if (onRefreshDisplay)
        onRefreshDisplay();
}

void PartsTableEditor::open(const EditorOpenValues& values)
{
    m_header.dwgNo = values.dwgNo;
    m_header.assy = values.assy;
    m_header.name = values.name;
    m_header.kind = values.kind;
    m_header.date = values.date;
    m_header.designer = values.designer;
    m_start = 1;
    load();
}

void PartsTableEditor::load()
{
    if (!m_db)
        throw RuntimeError(91,
                           QStringLiteral("オブジェクト変数または With ブロック変数が設定されていません。"));
    m_grid.resetToOneLine();
    m_header.title = TitleOfKind(m_header.kind);

    if (const auto stored = ReadHeader(*m_db, m_header.assy, m_header.dwgNo, m_header.kind)) {
        m_header.customer = stored->user;
        m_header.dwgNo = stored->dwgNo;
        m_header.assy = stored->assy;
        m_header.date = stored->date;
        // The name shown is the one chosen in the search; the stored one wins only when the user
        // says so. After a save the two agree and the question is not asked again.
        if (stored->name != m_header.name) {
            const QString extra = QStringLiteral("元のNAME　：") + stored->name + u'\n' +
                                  QStringLiteral("新しいNAME：") + m_header.name;
            if (m_ctx.ini->ShowMessage(QStringLiteral("Q001"), extra) == u"NO")
                m_header.name = stored->name;
        }
    } else {
        m_header.date = m_ctx.clock->now().date().toString(QStringLiteral("yyyy/MM/dd"));
    }

    std::vector<PartsGrid::Line> lines = ReadStoredLines(*m_db, m_header.dwgNo, m_header.assy, m_header.kind);
    if (!lines.empty())
        m_grid.setLines(std::move(lines));
    renumber();
    refreshInput();
}

std::vector<PartsGrid::Line> PartsTableEditor::ReadStoredLines(Database& db, const QString& dwgNo,
                                                               const QString& assy, const QString& kind)
{
    std::unique_ptr<Recordset> rs;
    OpenRecordset(db, rs,
                  BuildListQuery(QStringLiteral("FORM LOAD"), QString(), dwgNo, assy, kind, QString()));
    OrderByItemNumber(db, *rs);
    std::vector<PartsGrid::Line> lines;
    lines.reserve(size_t(std::max(0, rs->RecordCount())));
    static const QString fields[] = {QStringLiteral("CH_HINMEI"),  QStringLiteral("CH_ZAISHITU"),
                                     QStringLiteral("INT_SURYO"),  QStringLiteral("CH_TANI"),
                                     QStringLiteral("INT_SURYO2"), QStringLiteral("CH_TANI2"),
                                     QStringLiteral("CH_BIKO"),    QStringLiteral("INT_TANKA"),
                                     QStringLiteral("INT_KINGK"),  QStringLiteral("CH_MAKER")};
    if (rs->RecordCount() > 0)
        rs->MoveFirst();
    while (!rs->Eof()) {
        PartsGrid::Line line;
        auto& c = line.cells;
        const bool haishi = rs->Bool(QStringLiteral("CH_HAISHI"));
        c[No] = haishi ? QStringLiteral("廃止") : QString::number(lines.size() + 1);
        const QString zno = rs->Field(QStringLiteral("CH_ZNO"));
        c[Zno] = FormatStoredZno(zno);
        for (int col = Hinmei; col <= Maker; ++col)
            c[size_t(col)] = rs->Field(fields[col - Hinmei]);
        c[Number] = rs->Field(QStringLiteral("INT_NUMBER"));
        c[Haishi] = rs->Field(QStringLiteral("CH_HAISHI"));
        c[Kakko] = rs->Field(QStringLiteral("CH_KAKKO"));
        if (rs->Bool(QStringLiteral("CH_KAKKO")))
            c[Zno] = u'(' + DigitsOnly(zno) + u')';
        line.marked = haishi;
        lines.push_back(std::move(line));
        rs->MoveNext();
    }
    rs->Close();
    return lines;
}

void PartsTableEditor::renumber()
{
    Renumber(m_grid, m_header.assy, m_start);
}

void PartsTableEditor::setStartNumber(int start)
{
    m_start = start;
    renumber();
    refreshDisplay();
}

bool PartsTableEditor::insertAbove()
{
    const int row = m_grid.currentRow();
    if (!ask(QString::number(row) + QStringLiteral("行目の上側に挿入します。"),
             QStringLiteral("行の挿入確認")))
        return false;
    m_grid.insertLine(row);
    m_grid.setCurrent(row);
    refreshInput();
    renumber();
    return true;
}

bool PartsTableEditor::insertBelow()
{
    const int row = m_grid.currentRow();
    if (!ask(QString::number(row) + QStringLiteral("行目の下側に挿入します。"),
             QStringLiteral("行の挿入確認")))
        return false;
    m_grid.insertLine(row + 1);
    m_grid.setCurrent(row);
    refreshInput();
    renumber();
    return true;
}

bool PartsTableEditor::copyToBottom()
{
    const int row = m_grid.currentRow();
    if (!m_grid.isDataRow(row))
        return false;
    if (!ask(QString::number(row) + QStringLiteral("行目のデータを最下行にコピーします。"),
             QStringLiteral("行のコピー確認")))
        return false;
    const PartsGrid::Cells source = m_grid.line(row).cells;
    const int last = m_grid.appendLine();
    for (int col = 0; col < Count; ++col)
        m_grid.setCell(last, col, source[size_t(col)]);
    // The copy is a new line: it is stored as a row of its own on the next save.
    m_grid.setCell(last, Number, QString());
    m_grid.setCurrent(last);
    refreshInput();
    m_grid.setMarked(last, TextIsTrue(m_grid.cell(last, Haishi)));
    renumber();
    return true;
}

QString PartsTableEditor::StoredNumber16(const QString& cell)
{
    return QString::number(
        readInteger(cell, std::numeric_limits<int16_t>::min(), std::numeric_limits<int16_t>::max()));
}

QString PartsTableEditor::StoredNumber32(const QString& cell)
{
    if (cell.isEmpty())
        return QString();
    return QString::number(
        readInteger(cell, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

bool PartsTableEditor::deleteLine()
{
    const int row = m_grid.currentRow();
    if (!m_grid.isDataRow(row))
        return false;
    if (!ask(QString::number(row) + QStringLiteral("行目を削除します。"), QStringLiteral("行の削除確認")))
        return false;
    const QString stored = m_grid.cell(row, Number);
    if (!stored.isEmpty()) {
        // The stored row goes at once, before the grid changes; a failure leaves the line in place.
        const QString number = StoredNumber16(stored);
        DeleteDetailLine(*m_db, number);
    }
    if (m_grid.rows() == 2) {
        addLineAtBottom();
        m_grid.setCurrent(row);
    }
    m_grid.removeLine(row);
    refreshInput();
    renumber();
    return true;
}

void PartsTableEditor::addLineAtBottom()
{
    const int row = m_grid.growByOne();
    m_grid.setCurrent(row, No);
    m_grid.setCell(row, No, QStringLiteral("追加"));
}

void PartsTableEditor::setAbolished(bool on)
{
    if (m_grid.lineCount() == 0)
        addLineAtBottom();
    else if (m_grid.lineCount() == 1)
        renumber();
    const int row = m_grid.currentRow();
    m_grid.setCell(row, Haishi, on ? QStringLiteral("1") : QStringLiteral("0"));
    m_grid.setCell(row, No, on ? QStringLiteral("廃止") : QString::number(row));
    m_grid.setMarked(row, on);
    m_grid.setCurrent(row, Haishi);
    refreshDisplay();
}

bool PartsTableEditor::setBracketed(bool on)
{
    if (m_grid.lineCount() == 0)
        addLineAtBottom();
    const int row = m_grid.currentRow();
    const QString zno = m_grid.cell(row, Zno);
    if (zno.isEmpty())
        return false;
    m_grid.setCell(row, Kakko, on ? QStringLiteral("1") : QStringLiteral("0"));
    const QString digits = DigitsOnly(zno);
    m_grid.setCell(row, Zno, on ? u'(' + digits + u')' : digits);
    refreshDisplay();
    return on;
}

void PartsTableEditor::appendCopiedLines(std::vector<PartsGrid::Line> lines)
{
    if (lines.empty())
        return;
    if (m_grid.lineCount() == 1) {
        const auto& c = m_grid.line(1).cells;
        bool empty = c[Number].isEmpty();
        for (int col = Hinmei; col <= Maker && empty; ++col)
            empty = c[size_t(col)].trimmed().isEmpty();
        if (empty)
            m_grid.removeLine(1);
    }
    const int first = m_grid.rows();
    for (PartsGrid::Line& l : lines) {
        const int row = m_grid.appendLine();
        // No stored number: the copy is a new line, inserted as a row of its own on the next save.
        l.cells[Number].clear();
        for (int col = Zno; col < Count; ++col)
            m_grid.setCell(row, col, l.cells[size_t(col)]);
        m_grid.setMarked(row, l.marked);
    }
    m_grid.setCurrent(first, Zno);
    renumber();
    refreshInput();
}

InputValues PartsTableEditor::inputFromLine(int row) const
{
    InputValues v;
    if (!m_grid.isDataRow(row))
        return v;
    const auto& c = m_grid.line(row).cells;
    v.hinmei = c[Hinmei];
    v.zaishitu = c[Zaishitu];
    v.suryo = c[Suryo];
    v.tani = c[Tani];
    v.suryo2 = c[Suryo2];
    v.tani2 = c[Tani2];
    v.biko = c[Biko];
    v.tanka = c[Tanka];
    v.maker = c[Maker];
    return v;
}

void PartsTableEditor::writeInputToLine(const InputValues& v)
{
    if (m_grid.lineCount() == 0)
        addLineAtBottom();
    const int row = m_grid.currentRow();
    m_grid.setCell(row, Hinmei, v.hinmei);
    m_grid.setCell(row, Zaishitu, v.zaishitu);
    m_grid.setCell(row, Suryo, v.suryo);
    m_grid.setCell(row, Tani, v.tani);
    m_grid.setCell(row, Suryo2, v.suryo2);
    m_grid.setCell(row, Tani2, v.tani2);
    m_grid.setCell(row, Biko, v.biko);
    m_grid.setCell(row, Tanka, v.tanka);
    m_grid.setCell(row, Maker, v.maker);
    // The amount follows quantity times unit price when both are given; otherwise it stays as it is.
    bool okQty = false;
    bool okPrice = false;
    const double qty = v.suryo.toDouble(&okQty);
    const double price = v.tanka.toDouble(&okPrice);
    if (okQty && okPrice)
        m_grid.setCell(row, Kingk, DecimalText(qty * price));
    refreshDisplay();
}

bool PartsTableEditor::HasEnteredData(const PartsGrid& grid)
{
    for (int r = 1; r < grid.rows(); ++r) {
        const auto& c = grid.line(r).cells;
        for (int col = Hinmei; col <= Maker; ++col)
            if (!c[size_t(col)].trimmed().isEmpty())
                return true;
    }
    return false;
}

QString PartsTableEditor::HeaderDate(const QString& shown)
{
    for (const auto* format : {u"yyyy/MM/dd", u"yyyy/M/d", u"yyyyMMdd", u"yyyy-MM-dd"}) {
        const QDate d = QDate::fromString(shown.trimmed(), QString::fromUtf16(format));
        if (d.isValid())
            return d.toString(QStringLiteral("yyyy/MM/dd"));
    }
    return shown;
}

PartsLine PartsTableEditor::LineFromCells(const PartsGrid::Cells& c)
{
    PartsLine l;
    l.number = StoredNumber32(c[Number]);
    l.zno = c[Zno];
    l.hinmei = c[Hinmei];
    l.zaishitu = c[Zaishitu];
    l.suryo = c[Suryo];
    l.tani = c[Tani];
    l.suryo2 = c[Suryo2];
    l.tani2 = c[Tani2];
    l.biko = c[Biko];
    l.tanka = c[Tanka];
    l.kingk = c[Kingk];
    l.maker = c[Maker];
    l.haishi = TextIsTrue(c[Haishi]);
    l.kakko = TextIsTrue(c[Kakko]);
    return l;
}

PartsTableEditor::SaveResult PartsTableEditor::save()
{
    if (m_header.customer.isEmpty()) {
        m_ctx.messages->show(MsgIcon::Exclamation, MsgButtons::Ok, QStringLiteral("注意"),
                             QStringLiteral("客先の選択がされていません。更新出来ません。"));
        return SaveResult::NoCustomer;
    }
    if (!HasEnteredData(m_grid)) {
        m_ctx.messages->show(MsgIcon::Exclamation, MsgButtons::Ok, QStringLiteral("注意"),
                             QStringLiteral("データが入力されていません。入力して下さい。"));
        return SaveResult::NoData;
    }
    if (m_header.customer.trimmed().isEmpty()) {
        m_ctx.ini->ShowMessage(QStringLiteral("E103"), QString());
        return SaveResult::BlankCustomer;
    }
    PartsHeader h;
    h.user = m_header.customer;
    h.assy = m_header.assy;
    h.dwgNo = m_header.dwgNo;
    h.kind = m_header.kind;
    h.name = m_header.name;
    h.date = HeaderDate(m_header.date);
    h.designer = m_header.designer;
    QList<PartsLine> lines;
    lines.reserve(m_grid.lineCount());
    for (int r = 1; r < m_grid.rows(); ++r)
        lines.append(LineFromCells(m_grid.line(r).cells));
    SaveTable(*m_db, h, lines, m_ctx.clock->now().date().toString(QStringLiteral("yyyyMMdd")));
    m_ctx.ini->ShowMessage(QStringLiteral("I100"), QString());
    // The reload shows the numbers the database gave the new lines, so a second save updates them.
    load();
    return SaveResult::Saved;
}

PrintRequest PartsTableEditor::printRequest(bool keepExcel, bool summary, bool pagePerMaker) const
{
    PrintRequest r;
    r.runMode = QStringLiteral("HONBAN");
    r.dwgNo = m_header.dwgNo;
    r.assy = m_header.assy;
    r.name = m_header.name;
    r.date = m_header.date;
    r.designer = m_header.designer;
    r.customer = m_header.customer;
    // The kind of the table this editor shows, whatever another screen chose since.
    r.kind = m_header.kind;
    r.keepExcel = keepExcel;
    r.summary = summary;
    r.pagePerMaker = pagePerMaker;
    return r;
}
