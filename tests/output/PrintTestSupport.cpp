#include "PrintTestSupport.h"

#include "TeamMode.h"

#include "Database.h"
#include "LibreOffice.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QSqlError>
#include <QSqlQuery>
#include <QtTest>

using namespace Qt::StringLiterals;

const QString PrintFixture::customer = u"株式会社サンプル機工"_s;

std::vector<StoredLine> MakeLines(int n)
{
    static const QStringList names = {u"ベースプレート"_s, u"ブラケット"_s, u"シャフト"_s,    u"カラー"_s,
                                      u"六角穴付ボルト"_s, u"平行ピン"_s,   u"リニアガイド"_s};
    static const QStringList materials = {u"SS400"_s, u"S45C"_s, u"A5052"_s, u"SUS304"_s};
    static const QStringList makers = {QString(), u"ミスミ"_s, u"THK"_s};
    std::vector<StoredLine> lines;
    for (int i = 1; i <= n; ++i) {
        StoredLine l;
        l.zno = u"%1"_s.arg(i, 3, 10, QChar(u'0'));
        l.hinmei = names[i % names.size()];
        l.zaishitu = materials[i % materials.size()];
        l.maker = makers[(i / 7) % makers.size()];
        const bool pair = i % 9 == 0;
        l.suryo = pair ? 2 : 1 + i % 4;
        l.tani = pair ? u"R"_s : u"個"_s;
        l.suryo2 = pair ? QVariant(2) : QVariant();
        l.tani2 = pair ? u"L"_s : QString();
        l.biko = i % 5 == 0 ? u"黒染め"_s : QString();
        l.tanka = 1000 + (i % 6) * 1500;
        l.kingk = l.tanka.toInt() * l.suryo.toInt();
        l.haishi = i % 10 == 0;
        l.kakko = i % 13 == 0;
        lines.push_back(l);
    }
    return lines;
}

PrintFixture::PrintFixture()
{
    if (!connect())
        qFatal("cannot connect the test database");
    QFile rows(sourceDir() + u"/data/templates/sample_settei.sql.in"_s);
    if (!rows.open(QIODevice::ReadOnly))
        qFatal("cannot read the sample settings");
    QString sql = QString::fromUtf8(rows.readAll());
    sql.replace(u"@TEMPLATE_DIR@"_s, sourceDir() + u"/data/templates"_s).replace(u"@CUSTOMER@"_s, customer);
    // In team mode the rows are made in the folder's own file and copied onto the server.
    const std::shared_ptr<Database> file =
        teamMode() ? Database::openSqliteFile(path(u"DB/CADDB.sqlite"_s)) : nullptr;
    for (const QString& statement : sql.remove(QRegularExpression(u"--[^\n]*"_s)).split(u';'))
        if (!statement.trimmed().isEmpty())
            file ? file->Execute(statement) : exec(statement);
    if (file)
        CopyTableRows(*file, *ctx.DbConnection, u"SETTEI"_s);
}

QString PrintFixture::workbook(const QString& name)
{
    return sourceDir() + u"/tests/settings/data/"_s + name;
}

PrintRequest SampleRequest(const QString& kind)
{
    PrintRequest r;
    r.dwgNo = u"DWG-95"_s;
    r.assy = u"01"_s;
    r.name = u"搬送ユニット"_s;
    r.date = u"2026/11/21"_s;
    r.designer = u"山田"_s;
    r.customer = PrintFixture::customer;
    r.kind = kind;
    return r;
}

void PrintFixture::addTable(const QString& dwgNo, const QString& assy, const QString& kind,
                            const std::vector<StoredLine>& lines, const QString& name)
{
    storeTable(dwgNo, assy, kind, name, customer, {});
    exec(u"UPDATE BUHINHYO SET CH_HDATE = '2026/11/21' WHERE CH_DWGNO = '"_s + dwgNo + u'\'');
    QSqlDatabase& db = ctx.DbConnection->sql();
    db.transaction();
    QSqlQuery q(db);
    q.prepare(
        u"INSERT INTO BUHINHYO_M (CH_ASSY,CH_DWGNO,CH_USER,CH_BUHIN,CH_ZNO,CH_HINMEI,CH_ZAISHITU,INT_SURYO,"
        "CH_TANI,INT_SURYO2,CH_TANI2,CH_BIKO,INT_TANKA,INT_KINGK,CH_MAKER,CH_HAISHI,CH_KAKKO,CH_UPDDATE) "
        "VALUES (?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,'20261121')"_s);
    for (const StoredLine& l : lines) {
        for (const QVariant& v : {QVariant(assy), QVariant(dwgNo), QVariant(customer), QVariant(kind),
                                  QVariant(l.zno), QVariant(l.hinmei), QVariant(l.zaishitu), l.suryo,
                                  QVariant(l.tani), l.suryo2, QVariant(l.tani2), QVariant(l.biko), l.tanka,
                                  l.kingk, QVariant(l.maker), QVariant(l.haishi), QVariant(l.kakko)})
            q.addBindValue(v);
        if (!q.exec())
            qFatal("%s", qPrintable(q.lastError().text()));
    }
    db.commit();
}

QList<StoredLine> ReadStoredLines(Database& db, const QString& dwgNo, const QString& orderBy)
{
    Recordset rs(db, u"SELECT * FROM BUHINHYO_M WHERE CH_DWGNO = '"_s + dwgNo + u"' ORDER BY "_s + orderBy);
    auto number = [&](const QString& column) {
        const QString text = rs.Field(column);
        return text.isEmpty() ? QVariant() : QVariant(text.toDouble());
    };
    QList<StoredLine> out;
    for (; !rs.Eof(); rs.MoveNext())
        out.append({rs.Field(u"CH_ZNO"_s), rs.Field(u"CH_HINMEI"_s), rs.Field(u"CH_ZAISHITU"_s),
                    number(u"INT_SURYO"_s), rs.Field(u"CH_TANI"_s), number(u"INT_SURYO2"_s),
                    rs.Field(u"CH_TANI2"_s), rs.Field(u"CH_BIKO"_s), number(u"INT_TANKA"_s),
                    number(u"INT_KINGK"_s), rs.Field(u"CH_MAKER"_s), rs.Bool(u"CH_HAISHI"_s),
                    rs.Bool(u"CH_KAKKO"_s), rs.Field(u"CH_UPDDATE"_s)});
    return out;
}

void RecordingPresenter::preview(const QString& workbookPath, const QString& printPath,
                                 const QStringList& shownNotes, const QStringList& shownRunNotes)
{
    notes << shownNotes;
    runNotes << shownRunNotes;
    previewed << workbookPath;
    printCopies << printPath;
    if (!m_copyTo.isEmpty()) {
        QFile::remove(m_copyTo);
        QFile::copy(workbookPath, m_copyTo);
    }
}

QString RenderPdf(const QString& workbook, const QString& outFolder, QString* problem)
{
    *problem =
        LibreOffice::convert(QDir(outFolder).absoluteFilePath(u"profile"_s), u"pdf"_s, outFolder, workbook);
    return problem->isEmpty() ? LibreOffice::convertedPath(workbook, outFolder, u"pdf"_s) : QString();
}

int PdfPageCount(const QString& pdf)
{
    QProcess p;
    p.start(u"pdfinfo"_s, {pdf});
    p.waitForFinished(60000);
    for (const QByteArray& line : p.readAllStandardOutput().split('\n'))
        if (line.startsWith("Pages:"))
            return line.mid(6).trimmed().toInt();
    return -1;
}

QString PdfText(const QString& pdf, int page)
{
    QProcess p;
    p.start(u"pdftotext"_s,
            {u"-layout"_s, u"-f"_s, QString::number(page), u"-l"_s, QString::number(page), pdf, u"-"_s});
    p.waitForFinished(60000);
    return QString::fromUtf8(p.readAllStandardOutput());
}

SettingsRecord SampleSettings(const QString& user, const QString& templatePath)
{
    SettingsRecord r{user,      u"1"_s,  templatePath, u"部品表"_s, u"/nowhere/import.xlsx"_s,
                     u"取込"_s, u"20"_s, u"1"_s,       u"C"_s,      u" 製作部品表 "_s,
                     {},        {}};
    const char* cells[kHeaderItemCount][2] = {{"2", "B"}, {"2", "D"}, {"3", "B"},
                                              {"3", "D"}, {"3", "F"}, {"2", "F"}};
    for (int i = 0; i < kHeaderItemCount; ++i)
        r.header[size_t(i)] = {QString::fromLatin1(cells[i][0]), QString::fromLatin1(cells[i][1]), true};
    for (int i = 0; i < kDetailItemCount; ++i) {
        const QString letter(QChar(u'A' + i));
        r.detail[size_t(i)] = {u"6"_s, letter, u"15"_s,
                               letter, true,   kDetailCaptions[size_t(i)].toString() + u' '};
    }
    return r;
}
