#include "Database.h"
#include "LibreOffice.h"
#include "OutputSettingsScreen.h"
#include "PrintTestSupport.h"
#include "SettingsSave.h"
#include "TeamMode.h"
#include "XlsxOutputWorkbook.h"

#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QtTest>

using namespace Qt::StringLiterals;

// The data import of the output settings screen: parts tables read back from a filled list and from
// a list the print run wrote.
class TestSettingsImport : public QObject
{
    Q_OBJECT
    std::unique_ptr<PrintFixture> f;
    std::unique_ptr<OutputSettingsScreen> screen;

    template <class T> T* w(const QString& name) { return screen->findChild<T*>(name); }
    QList<StoredLine> lines(const QString& dwgNo)
    {
        return ReadStoredLines(*f->ctx.DbConnection, dwgNo, u"INT_NUMBER"_s);
    }
    QStringList header(const QString& dwgNo)
    {
        const QList<QStringList> rows =
            f->rows(u"SELECT CH_USER, CH_NAME, CH_HDATE, CH_DESINED, CH_ASSY FROM BUHINHYO "
                    "WHERE CH_DWGNO = '"_s +
                    dwgNo + u"' AND CH_BUHIN = '1'"_s);
        return rows.value(0);
    }
    // Runs the import with the questions answered in this order.
    void importAnswering(std::initializer_list<MsgAnswer> answers = {})
    {
        f->messages.clear();
        for (MsgAnswer a : answers)
            f->messages.setNextAnswer(a);
        QTest::mouseClick(w<QPushButton>(u"cmdImport"_s), Qt::LeftButton);
    }
    void loadSampleLayout()
    {
        WriteSettings(*f->ctx.DbConnection, *f->ctx.ini,
                      SampleSettings(u"客先A"_s, PrintFixture::workbook(u"one_sheet.xlsx"_s)));
        QTest::mouseClick(w<QPushButton>(u"cmdSearch"_s), Qt::LeftButton);
    }
    // The sample layout of 客先A on the screen and the filled list chosen as the workbook to read.
    void readyToImport()
    {
        loadSampleLayout();
        w<QLineEdit>(u"txtCpyPath"_s)->setText(PrintFixture::workbook(u"filled_list.xlsx"_s));
        w<QLineEdit>(u"txtCpySheet"_s)->setText(u"部品表"_s);
    }

private Q_SLOTS:
    void init()
    {
        f = std::make_unique<PrintFixture>();
        screen = std::make_unique<OutputSettingsScreen>(f->ctx, nullptr);
        screen->show();
        w<QComboBox>(u"cboUser"_s)->setEditText(u"客先A"_s);
    }
    void cleanup()
    {
        screen.reset();
        f.reset();
    }

    void refusals()
    {
        importAnswering();
        QCOMPARE(f->codes(), QStringList(u"E111"_s));
        // A path, but no customer or page rows on the screen.
        w<QLineEdit>(u"txtCpyPath"_s)->setText(PrintFixture::workbook(u"filled_list.xlsx"_s));
        for (const QString& user : {QString(), u"客先A"_s}) {
            w<QComboBox>(u"cboUser"_s)->setEditText(user);
            importAnswering();
            QCOMPARE(f->codes(), QStringList(user.isEmpty() ? u"E117"_s : u"E118"_s));
        }
        // A workbook that is not one: the error box, nothing written, the screen usable.
        loadSampleLayout();
        w<QLineEdit>(u"txtCpyPath"_s)->setText(f->ctx.IniPath);
        importAnswering();
        QCOMPARE(f->messages.shown.size(), 1);
        QVERIFY(w<QPushButton>(u"cmdImport"_s)->isEnabled());
        QVERIFY(lines(u"D-500"_s).isEmpty());
    }

    void importCreatesTables()
    {
        readyToImport();
        w<QLineEdit>(u"txtCpySheet"_s)->setText(u"部品表"_s);
        importAnswering({MsgAnswer::No}); // the summary answered No: nothing written
        const QString summary = f->messages.texts().value(0);
        QVERIFY2(summary.contains(u"新規登録：2件（明細13行）"_s), qPrintable(summary));
        QVERIFY2(summary.contains(u"3頁目"_s), qPrintable(summary)); // the page without a drawing number
        QVERIFY(header(u"D-500"_s).isEmpty());
        importAnswering();
        QCOMPARE(f->codes().last(), u"I100"_s);
        QCOMPARE(header(u"D-500"_s),
                 QStringList({u"客先A"_s, u"ベースユニット"_s, u"2026/10/01"_s, u"山田"_s, u"10"_s}));
        QCOMPARE(header(u"D-600"_s).value(2), u"2026/11/21"_s); // an unreadable date becomes today's
        const auto read = lines(u"D-500"_s);
        QCOMPARE(read.size(), 12);
        // What only a hand-filled sheet has: the update date of the import, a struck line, a total "計4".
        QCOMPARE(read.at(0).upd, u"20261121"_s);
        QVERIFY(read.at(3).haishi);
        QCOMPARE(read.at(11).tani + read.at(11).suryo.toString(), u"計4"_s);
        // An unreadable quantity is kept in the remarks, and the summary said so.
        QCOMPARE(lines(u"D-600"_s).value(0).biko, u"一式"_s);
        QVERIFY2(summary.contains(u"一式"_s), qPrintable(summary));
    }

    void aFailureWritesNothing()
    {
        readyToImport();
        // The database refuses the lines of the second table, after the first has been written.
        f->ctx.DbConnection->Execute(
            u"CREATE TRIGGER refuse BEFORE INSERT ON BUHINHYO_M WHEN NEW.CH_DWGNO = 'D-600' "
            "BEGIN SELECT RAISE(ABORT, 'refused'); END"_s);
        importAnswering();
        QCOMPARE(f->messages.shown.size(), 2); // the summary, then the error box
        QCOMPARE(f->messages.shown.last().icon, MsgIcon::Stop);
        QVERIFY(header(u"D-500"_s).isEmpty());
        QVERIFY(lines(u"D-500"_s).isEmpty());
    }

    void existingTablesAreAskedAbout()
    {
        readyToImport();
        importAnswering(); // both created
        // D-500: not replaced, not added (skip); D-600: replaced; then the summary answered No.
        importAnswering({MsgAnswer::No, MsgAnswer::No, MsgAnswer::Yes, MsgAnswer::No});
        QCOMPARE(f->messages.shown.size(), 4);
        QVERIFY(f->messages.texts().at(0).contains(u"既に登録されています（明細12行）"_s));
        QVERIFY(f->messages.texts().at(3).contains(u"取り込まない：1件"_s));
        QVERIFY(f->messages.texts().at(3).contains(u"明細の置き換え：1件（明細1行）"_s));
        QCOMPARE(lines(u"D-500"_s).size() + lines(u"D-600"_s).size(), 13);
        // D-500 replaced, D-600 added to; summary Yes.
        importAnswering({MsgAnswer::Yes, MsgAnswer::No, MsgAnswer::Yes, MsgAnswer::Yes});
        QCOMPARE(f->codes().last(), u"I100"_s);
        QCOMPARE(lines(u"D-500"_s).size(), 12);
        QCOMPARE(lines(u"D-600"_s).size(), 2);
        // Everything skipped: said so, nothing asked further.
        importAnswering({MsgAnswer::No, MsgAnswer::No, MsgAnswer::No, MsgAnswer::No});
        QCOMPARE(f->messages.shown.size(), 5);
        QVERIFY(f->messages.texts().last().contains(u"取り込む部品表はありません"_s));
        if (!teamMode())
            return;
        // A table another desk has open is not written: D-600 only is replaced.
        LockHolder holder;
        const auto held =
            TeamLock::take(openOtherDesk(), PartsTableLockName(u"D-500"_s, u"10"_s, u"1"_s), &holder);
        importAnswering({MsgAnswer::Ok, MsgAnswer::Yes, MsgAnswer::Yes});
        QVERIFY(f->messages.texts().at(0).endsWith(u"編集中のため取り込みません。"_s));
        QCOMPARE(f->codes().last(), u"I100"_s);
        QCOMPARE(lines(u"D-500"_s).size() + lines(u"D-600"_s).size(), 13);
    }

    void printedTableImportsBack()
    {
        // Numbers from 0.0001 to 2,147,483,647 and quantities below one or below zero.
        std::vector<StoredLine> made = MakeLines(95);
        const std::tuple<double, QString, double, QString, double, double> values[] = {
            {0.5, u"kg"_s, 0, QString(), 1000000, 500000},
            {0.3, u"R"_s, 0.3, u"L"_s, 0.0001, 2147483647},
            {-2, u"個"_s, 0, QString(), 100000, 2.5}};
        for (size_t i = 0; i < std::size(values); ++i) {
            StoredLine& l = made[i];
            std::tie(l.suryo, l.tani, l.suryo2, l.tani2, l.tanka, l.kingk) = values[i];
            if (l.suryo2.toDouble() == 0)
                l.suryo2 = QVariant();
        }
        f->addTable(u"DWG-95"_s, u"01"_s, u"1"_s, made);
        const QList<StoredLine> original = ReadStoredLines(*f->ctx.DbConnection, u"DWG-95"_s);
        const QString printed = f->path(u"printed.xlsx"_s);
        RecordingPresenter presenter(printed);
        QCOMPARE(RunPrint(f->ctx, SampleRequest(), OpenXlsxOutputWorkbook, presenter), PrintOutcome::Done);
        f->exec(u"DELETE FROM BUHINHYO_M"_s);
        f->exec(u"DELETE FROM BUHINHYO"_s);
        // Read back from the old format, as LibreOffice saves it.
        QVERIFY(LibreOffice::convert(f->path(u"profile"_s), u"xls"_s, f->dir.path(), printed).isEmpty());
        // The layout on the screen is used as it stands, saved or not.
        w<QComboBox>(u"cboUser"_s)->setEditText(PrintFixture::customer);
        QTest::mouseClick(w<QPushButton>(u"cmdSearch"_s), Qt::LeftButton);
        f->exec(u"DELETE FROM SETTEI"_s);
        w<QLineEdit>(u"txtCpyPath"_s)->setText(f->path(u"printed.xls"_s));
        w<QLineEdit>(u"txtCpySheet"_s)->setText(u"部品表"_s);
        importAnswering();
        QVERIFY2(f->messages.texts().value(0).contains(u"新規登録：1件（明細95行）"_s),
                 qPrintable(f->messages.texts().join(u'|')));
        QCOMPARE(f->codes().last(), u"I100"_s);
        // Every stored value comes back: texts, quantities with units, prices, abolished, brackets.
        QVERIFY(ReadStoredLines(*f->ctx.DbConnection, u"DWG-95"_s) == original);
        QCOMPARE(header(u"DWG-95"_s), QStringList({PrintFixture::customer, u"搬送ユニット"_s, u"2026/11/21"_s,
                                                   u"山田"_s, u"01"_s}));
    }
};

QTEST_MAIN(TestSettingsImport)
#include "TestSettingsImport.moc"
