// A parts table printed through the list output and read back by the data import.
#include "Database.h"
#include "IniAccess.h"
#include "OutputSettingsScreen.h"
#include "PrintRequest.h"
#include "PrintRun.h"
#include "PrintTestSupport.h"
#include "XlsxOutputWorkbook.h"

#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QtTest>

using namespace Qt::StringLiterals;

namespace
{
struct Line {
    QString zno, hinmei, zaishitu, biko, tani, tani2, maker;
    double suryo, suryo2, tanka, kingk;
    bool haishi, kakko;
    bool operator==(const Line&) const = default;
};

QList<Line> storedLines(Database& db, const QString& dwgNo)
{
    std::unique_ptr<Recordset> rs;
    OpenRecordset(db, rs, u"SELECT * FROM BUHINHYO_M WHERE CH_DWGNO = '"_s + dwgNo + u"' ORDER BY CH_ZNO"_s);
    QList<Line> out;
    for (; !rs->Eof(); rs->MoveNext())
        out.append({rs->Field(u"CH_ZNO"_s), rs->Field(u"CH_HINMEI"_s), rs->Field(u"CH_ZAISHITU"_s),
                    rs->Field(u"CH_BIKO"_s), rs->Field(u"CH_TANI"_s), rs->Field(u"CH_TANI2"_s),
                    rs->Field(u"CH_MAKER"_s), rs->Field(u"INT_SURYO"_s).toDouble(),
                    rs->Field(u"INT_SURYO2"_s).toDouble(), rs->Field(u"INT_TANKA"_s).toDouble(),
                    rs->Field(u"INT_KINGK"_s).toDouble(), rs->Bool(u"CH_HAISHI"_s), rs->Bool(u"CH_KAKKO"_s)});
    rs->Close();
    return out;
}
} // namespace

class TestSettingsRoundTrip : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void printedTableImportsBack()
    {
        PrintFixture f;
        QVERIFY(f.ok());
        f.ctx.ini->put(u"USER"_s, u"MAX"_s, u"1"_s);
        f.ctx.ini->put(u"USER"_s, u"1"_s, PrintFixture::customer);
        f.addTable(u"DWG-95"_s, u"01"_s, u"1"_s, MakeLines(95));
        const QList<Line> original = storedLines(*f.ctx.DbConnection, u"DWG-95"_s);
        QCOMPARE(original.size(), 95);

        QTemporaryDir out;
        const QString printed = out.filePath(u"printed.xlsx"_s);
        const PrintRequest r = SampleRequest();
        RecordingPresenter presenter(printed);
        QCOMPARE(RunPrint(f.ctx, r, OpenXlsxOutputWorkbook, presenter), PrintOutcome::Done);
        QCOMPARE(presenter.pages.size(), 3);

        f.exec(u"DELETE FROM BUHINHYO_M"_s);
        f.exec(u"DELETE FROM BUHINHYO"_s);
        f.messages.clear();

        OutputSettingsScreen screen(f.ctx, nullptr);
        screen.show();
        screen.findChild<QComboBox*>(u"cboUser"_s)->setEditText(PrintFixture::customer);
        screen.findChild<QLineEdit*>(u"txtCpyPath"_s)->setText(printed);
        screen.findChild<QLineEdit*>(u"txtCpySheet"_s)->setText(u"部品表"_s);
        QTest::mouseClick(screen.findChild<QPushButton*>(u"cmdImport"_s), Qt::LeftButton);
        QVERIFY2(f.messages.shown.size() == 2, qPrintable(f.messages.texts().join(u'|')));
        QVERIFY2(f.messages.shown.first().text.contains(u"新規登録：1件（明細95行）"_s),
                 qPrintable(f.messages.shown.first().text));
        QCOMPARE(f.codes().last(), u"I100"_s);

        const QList<Line> back = storedLines(*f.ctx.DbConnection, u"DWG-95"_s);
        // Every stored value comes back: texts, quantities with units, prices, abolished, brackets.
        QVERIFY(back == original);
        std::unique_ptr<Recordset> rs;
        OpenRecordset(
            *f.ctx.DbConnection, rs,
            u"SELECT * FROM BUHINHYO WHERE CH_ASSY  = '01' AND CH_DWGNO = 'DWG-95' AND CH_BUHIN = '1'"_s);
        QCOMPARE(rs->RecordCount(), 1);
        QCOMPARE(rs->Field(u"CH_NAME"_s), u"搬送ユニット"_s);
        QCOMPARE(rs->Field(u"CH_HDATE"_s), u"2026/11/21"_s);
        QCOMPARE(rs->Field(u"CH_DESINED"_s), u"山田"_s);
        QCOMPARE(rs->Field(u"CH_USER"_s), PrintFixture::customer);
    }
};

QTEST_MAIN(TestSettingsRoundTrip)
#include "TestSettingsRoundTrip.moc"
