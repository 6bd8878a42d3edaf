#include "PrintTestSupport.h"

#include "Connect.h"
#include "Database.h"
#include "LibreOffice.h"
#include "TestSupport.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSqlError>
#include <QSqlQuery>
#include <QtTest>

const QString PrintFixture::customer = QStringLiteral("株式会社サンプル機工");

std::vector<StoredLine> MakeLines(int n)
{
    static const QStringList names = {QStringLiteral("ベースプレート"), QStringLiteral("ブラケット"),
                                      QStringLiteral("シャフト"),       QStringLiteral("カラー"),
                                      QStringLiteral("六角穴付ボルト"), QStringLiteral("平行ピン"),
                                      QStringLiteral("リニアガイド")};
    static const QStringList materials = {QStringLiteral("SS400"), QStringLiteral("S45C"),
                                          QStringLiteral("A5052"), QStringLiteral("SUS304")};
    static const QStringList makers = {QString(), QStringLiteral("ミスミ"), QStringLiteral("THK")};
    std::vector<StoredLine> lines;
    for (int i = 1; i <= n; ++i) {
        StoredLine l;
        l.zno = QStringLiteral("%1").arg(i, 3, 10, QChar(u'0'));
        l.hinmei = names[i % names.size()];
        l.zaishitu = materials[i % materials.size()];
        l.maker = makers[(i / 7) % makers.size()];
        if (i % 9 == 0) {
            l.suryo = 2;
            l.tani = QStringLiteral("R");
            l.suryo2 = 2;
            l.tani2 = QStringLiteral("L");
        } else {
            l.suryo = 1 + i % 4;
            l.tani = QStringLiteral("個");
        }
        l.biko = i % 5 == 0 ? QStringLiteral("黒染め") : QString();
        l.tanka = 1000 + (i % 6) * 1500;
        l.kingk = l.tanka.toInt() * l.suryo.toInt();
        l.haishi = i % 10 == 0;
        l.kakko = i % 13 == 0;
        lines.push_back(l);
    }
    return lines;
}

namespace
{
// The message catalogue of the tests: code and text.
const std::pair<const char*, const char*> kCatalogue[] = {{"E102", "数値を入力して下さい。"},
                                                          {"E108", "シートを選択して下さい。"},
                                                          {"E109", "EXCELファイルを開けませんでした。"},
                                                          {"E111", "EXCELファイルをコピーできませんでした。"},
                                                          {"E114", "EXCELファイルが見つかりません。"},
                                                          {"E115", "雛形ファイルを設定して下さい。"},
                                                          {"E117", "客先を入力して下さい。"},
                                                          {"E118", "１頁行数を入力して下さい。"},
                                                          {"E120", "列の指定が正しくありません。"},
                                                          {"E150", "出力設定がされていません。"},
                                                          {"I100", "完了しました。"},
                                                          {"Q105", "既に登録されています。上書きしますか？"}};
} // namespace

PrintFixture::PrintFixture()
{
    ctx.setPaths(m_dir.path());
    ctx.messages = &messages;
    ctx.fileDialogs = &dialogs;
    ctx.clock = &clock;
    QString ini = QStringLiteral("[DBMS]\r\nDB=LOCAL\r\n[LOCAL]\r\nMDB=DB\\CADDB.sqlite\r\n"
                                 "[USER]\r\nMAX=2\r\n1=客先A\r\n2=客先B\r\n[MSGCD]\r\n");
    for (const auto& [code, text] : kCatalogue)
        ini += QString::fromUtf8(code) + u'=' + QString::fromUtf8(text) + QStringLiteral("\r\n");
    writeCp932File(ctx.IniPath, ini);
    ctx.makeIni();
    QDir().mkpath(ctx.AppPath + QStringLiteral("DB"));
    QDir().mkpath(ctx.AppPath + QStringLiteral("WORK"));
    const QString db = ctx.AppPath + QStringLiteral("DB/CADDB.sqlite");
    QProcess sqlite;
    sqlite.start(QStringLiteral("sqlite3"),
                 {db, QStringLiteral(".read ") + sourceDir() + QStringLiteral("/data/schema.sql")});
    sqlite.waitForFinished(60000);
    if (sqlite.exitCode() != 0) {
        qWarning() << sqlite.readAllStandardError();
        return;
    }
    const ConnectResult r = ConnectDatabase(ctx);
    if (r.endProgram || !ctx.DbConnection)
        return;
    QFile rows(sourceDir() + QStringLiteral("/data/templates/sample_settei.sql.in"));
    if (!rows.open(QIODevice::ReadOnly))
        return;
    QString sql = QString::fromUtf8(rows.readAll());
    sql.replace(QStringLiteral("@TEMPLATE_DIR@"), sourceDir() + QStringLiteral("/data/templates"));
    sql.replace(QStringLiteral("@CUSTOMER@"), customer);
    for (const QString& statement : sql.split(u';')) {
        QString s;
        for (const QString& line : statement.split(u'\n'))
            if (!line.trimmed().startsWith(QStringLiteral("--")))
                s += line + u'\n';
        if (!s.trimmed().isEmpty())
            exec(s);
    }
    m_ok = true;
}

QStringList PrintFixture::codes() const
{
    QStringList out;
    for (const auto& shown : messages.shown) {
        QString code = shown.text.left(4);
        for (const auto& [c, text] : kCatalogue)
            if (shown.text.startsWith(QString::fromUtf8(text)))
                code = QString::fromUtf8(c);
        out << code;
    }
    return out;
}

QString PrintFixture::workbook(const QString& name)
{
    return sourceDir() + QStringLiteral("/tests/settings/data/") + name;
}

PrintRequest SampleRequest(const QString& kind)
{
    PrintRequest r;
    r.dwgNo = QStringLiteral("DWG-95");
    r.assy = QStringLiteral("01");
    r.name = QStringLiteral("搬送ユニット");
    r.date = QStringLiteral("2026/11/21");
    r.designer = QStringLiteral("山田");
    r.customer = PrintFixture::customer;
    r.kind = kind;
    return r;
}

PrintFixture::~PrintFixture()
{
    ctx.DbConnection.reset();
}

void PrintFixture::exec(const QString& sql)
{
    QSqlQuery q(ctx.DbConnection->sql());
    if (!q.exec(sql))
        qWarning() << "SQL failed:" << q.lastError().text() << sql.left(200);
}

void PrintFixture::addTable(const QString& dwgNo, const QString& assy, const QString& kind,
                            const std::vector<StoredLine>& lines, const QString& name)
{
    QSqlDatabase& db = ctx.DbConnection->sql();
    db.transaction();
    QSqlQuery h(db);
    h.prepare(
        QStringLiteral("INSERT INTO BUHINHYO (CH_DWGNO,CH_ASSY,CH_BUHIN,CH_USER,CH_NAME,CH_HDATE,CH_DESINED) "
                       "VALUES (?,?,?,?,?,?,?)"));
    for (const QVariant& v :
         {QVariant(dwgNo), QVariant(assy), QVariant(kind), QVariant(customer), QVariant(name),
          QVariant(QStringLiteral("2026/11/21")), QVariant(QStringLiteral("山田"))})
        h.addBindValue(v);
    if (!h.exec())
        qWarning() << h.lastError().text();
    QSqlQuery q(db);
    q.prepare(QStringLiteral(
        "INSERT INTO BUHINHYO_M "
        "(CH_ASSY,CH_DWGNO,CH_USER,CH_BUHIN,CH_ZNO,CH_HINMEI,CH_ZAISHITU,INT_SURYO,CH_TANI,"
        "INT_SURYO2,CH_TANI2,CH_BIKO,INT_TANKA,INT_KINGK,CH_MAKER,CH_HAISHI,CH_KAKKO,CH_UPDDATE) "
        "VALUES (?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)"));
    for (const StoredLine& l : lines) {
        for (const QVariant& v :
             {QVariant(assy), QVariant(dwgNo), QVariant(customer), QVariant(kind), QVariant(l.zno),
              QVariant(l.hinmei), QVariant(l.zaishitu), l.suryo, QVariant(l.tani), l.suryo2,
              QVariant(l.tani2), QVariant(l.biko), l.tanka, l.kingk, QVariant(l.maker),
              QVariant(l.haishi ? 1 : 0), QVariant(l.kakko ? 1 : 0), QVariant(QStringLiteral("20261121"))})
            q.addBindValue(v);
        if (!q.exec()) {
            qWarning() << q.lastError().text();
            break;
        }
    }
    db.commit();
}

QList<StoredLine> ReadStoredLines(Database& db, const QString& dwgNo, const QString& orderBy)
{
    std::unique_ptr<Recordset> rs;
    OpenRecordset(db, rs,
                  QStringLiteral("SELECT * FROM BUHINHYO_M WHERE CH_DWGNO = '") + dwgNo +
                      QStringLiteral("' ORDER BY ") + orderBy);
    auto number = [&](const char* column) {
        const QString text = rs->Field(QString::fromLatin1(column));
        return text.isEmpty() ? QVariant() : QVariant(text.toDouble());
    };
    QList<StoredLine> out;
    for (; !rs->Eof(); rs->MoveNext()) {
        StoredLine l;
        l.zno = rs->Field(QStringLiteral("CH_ZNO"));
        l.hinmei = rs->Field(QStringLiteral("CH_HINMEI"));
        l.zaishitu = rs->Field(QStringLiteral("CH_ZAISHITU"));
        l.suryo = number("INT_SURYO");
        l.tani = rs->Field(QStringLiteral("CH_TANI"));
        l.suryo2 = number("INT_SURYO2");
        l.tani2 = rs->Field(QStringLiteral("CH_TANI2"));
        l.biko = rs->Field(QStringLiteral("CH_BIKO"));
        l.tanka = number("INT_TANKA");
        l.kingk = number("INT_KINGK");
        l.maker = rs->Field(QStringLiteral("CH_MAKER"));
        l.haishi = rs->Bool(QStringLiteral("CH_HAISHI"));
        l.kakko = rs->Bool(QStringLiteral("CH_KAKKO"));
        l.upd = rs->Field(QStringLiteral("CH_UPDDATE"));
        out.append(l);
    }
    rs->Close();
    return out;
}

void RecordingPresenter::preview(const QString& workbookPath, const QString& printPath)
{
    previewed << workbookPath;
    printCopies << printPath;
    if (!m_copyTo.isEmpty()) {
        QFile::remove(m_copyTo);
        QFile::copy(workbookPath, m_copyTo);
    }
}

QString RenderPdf(const QString& workbook, const QString& outFolder, QString* problem)
{
    *problem = LibreOffice::convert(QDir(outFolder).absoluteFilePath(QStringLiteral("profile")),
                                    QStringLiteral("pdf"), outFolder, workbook);
    return problem->isEmpty() ? LibreOffice::convertedPath(workbook, outFolder, QStringLiteral("pdf"))
                              : QString();
}

int PdfPageCount(const QString& pdf)
{
    QProcess p;
    p.start(QStringLiteral("pdfinfo"), {pdf});
    p.waitForFinished(60000);
    for (const QByteArray& line : p.readAllStandardOutput().split('\n'))
        if (line.startsWith("Pages:"))
            return line.mid(6).trimmed().toInt();
    return -1;
}

QString PdfText(const QString& pdf, int page)
{
    QProcess p;
    p.start(QStringLiteral("pdftotext"),
            {QStringLiteral("-layout"), QStringLiteral("-f"), QString::number(page), QStringLiteral("-l"),
             QString::number(page), pdf, QStringLiteral("-")});
    p.waitForFinished(60000);
    return QString::fromUtf8(p.readAllStandardOutput());
}

SettingsRecord SampleSettings(const QString& user, const QString& templatePath)
{
    SettingsRecord r{user,
                     QStringLiteral("1"),
                     templatePath,
                     QStringLiteral("部品表"),
                     QStringLiteral("/nowhere/import.xlsx"),
                     QStringLiteral("取込"),
                     QStringLiteral("20"),
                     QStringLiteral("1"),
                     QStringLiteral("C"),
                     QStringLiteral(" 製作部品表 "),
                     {},
                     {}};
    const char* cells[kHeaderItemCount][2] = {{"2", "B"}, {"2", "D"}, {"3", "B"},
                                              {"3", "D"}, {"3", "F"}, {"2", "F"}};
    for (int i = 0; i < kHeaderItemCount; ++i)
        r.header[size_t(i)] = {QString::fromLatin1(cells[i][0]), QString::fromLatin1(cells[i][1]), true};
    for (int i = 0; i < kDetailItemCount; ++i) {
        const QString letter(QChar(u'A' + i));
        r.detail[size_t(i)] = {QStringLiteral("6"),
                               letter,
                               QStringLiteral("15"),
                               letter,
                               true,
                               kDetailCaptions[size_t(i)].toString() + u' '};
    }
    return r;
}
