#include "Database.h"
#include "IniAccess.h"
#include "OutputSettingsScreen.h"
#include "PrintTestSupport.h"
#include "SettingsRecord.h"
#include "SettingsSave.h"

#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QtTest>

using namespace Qt::StringLiterals;

class TestSettingsImport : public QObject
{
    Q_OBJECT

    std::unique_ptr<PrintFixture> f;
    OutputSettingsScreen* screen = nullptr;

    template <class T> T* w(const QString& name) { return screen->findChild<T*>(name); }

    QList<StoredLine> lines(const QString& dwgNo)
    {
        return ReadStoredLines(*f->ctx.DbConnection, dwgNo, u"INT_NUMBER"_s);
    }
    QStringList header(const QString& dwgNo, const QString& assy)
    {
        std::unique_ptr<Recordset> rs;
        OpenRecordset(*f->ctx.DbConnection, rs,
                      u"SELECT * FROM BUHINHYO WHERE CH_ASSY  = '"_s + assy + u"' AND CH_DWGNO = '"_s +
                          dwgNo + u"' AND CH_BUHIN = '1'"_s);
        if (rs->RecordCount() == 0)
            return {};
        return {rs->Field(u"CH_USER"_s), rs->Field(u"CH_NAME"_s), rs->Field(u"CH_HDATE"_s),
                rs->Field(u"CH_DESINED"_s)};
    }
    void loadSampleLayout()
    {
        WriteSettings(*f->ctx.DbConnection, *f->ctx.ini,
                      SampleSettings(u"客先A"_s, PrintFixture::workbook(u"one_sheet.xlsx"_s)));
        QTest::mouseClick(w<QPushButton>(u"cmdSearch"_s), Qt::LeftButton);
    }
    void runImport() { QTest::mouseClick(w<QPushButton>(u"cmdImport"_s), Qt::LeftButton); }
    // The sample layout of 客先A on the screen and the filled list chosen as the workbook to read.
    void readyToImport()
    {
        loadSampleLayout();
        w<QLineEdit>(u"txtCpyPath"_s)->setText(PrintFixture::workbook(u"filled_list.xlsx"_s));
        w<QLineEdit>(u"txtCpySheet"_s)->setText(u"部品表"_s);
    }
    // Runs the import with the questions answered in this order.
    void importAnswering(std::initializer_list<MsgAnswer> answers)
    {
        f->messages.clear();
        for (MsgAnswer a : answers)
            f->messages.setNextAnswer(a);
        runImport();
    }

private Q_SLOTS:
    void init()
    {
        f = std::make_unique<PrintFixture>();
        screen = new OutputSettingsScreen(f->ctx, nullptr);
        screen->show();
        w<QComboBox>(u"cboUser"_s)->setEditText(u"客先A"_s);
    }
    void cleanup()
    {
        delete screen;
        f.reset();
    }

    void refusals()
    {
        runImport();
        QCOMPARE(f->codes(), QStringList{u"E111"_s});
        // A path, but no customer or page rows on the screen.
        w<QLineEdit>(u"txtCpyPath"_s)->setText(PrintFixture::workbook(u"filled_list.xlsx"_s));
        w<QComboBox>(u"cboUser"_s)->setEditText(QString());
        runImport();
        w<QComboBox>(u"cboUser"_s)->setEditText(u"客先A"_s);
        runImport();
        QCOMPARE(f->codes(), (QStringList{u"E111"_s, u"E117"_s, u"E118"_s}));
        // A workbook that is not one: the error box, nothing written, the screen usable.
        loadSampleLayout();
        w<QLineEdit>(u"txtCpyPath"_s)->setText(f->ctx.IniPath);
        f->messages.clear();
        runImport();
        QCOMPARE(f->messages.shown.size(), 1);
        QVERIFY(w<QPushButton>(u"cmdImport"_s)->isEnabled());
        QVERIFY(lines(u"D-500"_s).isEmpty());
    }

    void importCreatesTables()
    {
        readyToImport();
        w<QLineEdit>(u"txtCpySheet"_s)->setText(u"部品表"_s);
        f->messages.clear();
        f->messages.setNextAnswer(MsgAnswer::No); // the summary answered No: nothing written
        runImport();
        QCOMPARE(f->messages.shown.size(), 1);
        const QString summary = f->messages.shown.first().text;
        QVERIFY2(summary.contains(u"新規登録：2件（明細13行）"_s), qPrintable(summary));
        QVERIFY2(summary.contains(u"3頁目"_s), qPrintable(summary)); // the page without a drawing number
        QVERIFY(header(u"D-500"_s, u"10"_s).isEmpty());

        f->messages.clear();
        runImport();
        QCOMPARE(f->codes().last(), u"I100"_s);
        QCOMPARE(header(u"D-500"_s, u"10"_s),
                 (QStringList{u"客先A"_s, u"ベースユニット"_s, u"2026/10/01"_s, u"山田"_s}));
        // An unreadable date becomes today's.
        QCOMPARE(header(u"D-600"_s, QString()).value(2), u"2026/11/21"_s);
        const auto read = lines(u"D-500"_s);
        QCOMPARE(read.size(), 12);
        // The cell by cell reading is checked by the print and import round trip; here what only a
        // hand-filled sheet has: the update date of the import and a total written as "計4".
        QCOMPARE(read.at(0).upd, u"20261121"_s);
        QVERIFY(read.at(3).haishi); // struck through on the sheet
        QCOMPARE(read.at(11).tani, u"計"_s);
        QCOMPARE(read.at(11).suryo.toDouble(), 4.0);
        QCOMPARE(lines(u"D-600"_s).size(), 1);
    }

    void aFailureWritesNothing()
    {
        readyToImport();
        // The database refuses the lines of the second table, after the first has been written.
        f->ctx.DbConnection->Execute(
            u"CREATE TRIGGER refuse BEFORE INSERT ON BUHINHYO_M "
            "WHEN NEW.CH_DWGNO = 'D-600' BEGIN SELECT RAISE(ABORT, 'refused'); END"_s);
        f->messages.clear();
        runImport();
        QCOMPARE(f->messages.shown.size(), 2); // the summary, then the error box
        QCOMPARE(f->messages.shown.last().icon, MsgIcon::Stop);
        QVERIFY(header(u"D-500"_s, u"10"_s).isEmpty());
        QVERIFY(lines(u"D-500"_s).isEmpty());
        QVERIFY(w<QPushButton>(u"cmdImport"_s)->isEnabled());
    }

    void existingTablesAreAskedAbout()
    {
        readyToImport();
        runImport(); // both created (default answer Yes)
        QCOMPARE(lines(u"D-500"_s).size(), 12);

        // D-500: not replaced, not added (skip); D-600: replaced; then the summary answered No.
        importAnswering({MsgAnswer::No, MsgAnswer::No, MsgAnswer::Yes, MsgAnswer::No});
        QCOMPARE(f->messages.shown.size(), 4);
        QVERIFY(f->messages.shown.at(0).text.contains(u"既に登録されています（明細12行）"_s));
        QVERIFY(f->messages.shown.at(3).text.contains(u"取り込まない：1件"_s));
        QVERIFY(f->messages.shown.at(3).text.contains(u"明細の置き換え：1件（明細1行）"_s));
        QCOMPARE(lines(u"D-500"_s).size(), 12);
        QCOMPARE(lines(u"D-600"_s).size(), 1);

        // D-500 replaced, D-600 added to; summary Yes.
        importAnswering({MsgAnswer::Yes, MsgAnswer::No, MsgAnswer::Yes, MsgAnswer::Yes});
        QCOMPARE(f->codes().last(), u"I100"_s);
        QCOMPARE(lines(u"D-500"_s).size(), 12);
        QCOMPARE(lines(u"D-600"_s).size(), 2);

        // Everything skipped: said so, nothing asked further.
        importAnswering({MsgAnswer::No, MsgAnswer::No, MsgAnswer::No, MsgAnswer::No});
        QCOMPARE(f->messages.shown.size(), 5);
        QVERIFY(f->messages.shown.last().text.contains(u"取り込む部品表はありません"_s));
    }
};

QTEST_MAIN(TestSettingsImport)
#include "TestSettingsImport.moc"
