// A parts table printed through the list output and read back by the data import.
#include "Database.h"
#include "IniAccess.h"
#include "LibreOffice.h"
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
        f.addTable(u"DWG-95"_s, u"01"_s, u"1"_s, made);
        const QList<StoredLine> original = ReadStoredLines(*f.ctx.DbConnection, u"DWG-95"_s);
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
        // Read back from the old format, as LibreOffice saves it.
        QVERIFY(LibreOffice::convert(out.filePath(u"profile"_s), u"xls"_s, out.path(), printed).isEmpty());

        // The layout on the screen is used as it stands, saved or not.
        OutputSettingsScreen screen(f.ctx, nullptr);
        screen.show();
        screen.findChild<QComboBox*>(u"cboUser"_s)->setEditText(PrintFixture::customer);
        QTest::mouseClick(screen.findChild<QPushButton*>(u"cmdSearch"_s), Qt::LeftButton);
        f.exec(u"DELETE FROM SETTEI"_s);
        screen.findChild<QLineEdit*>(u"txtCpyPath"_s)->setText(out.filePath(u"printed.xls"_s));
        screen.findChild<QLineEdit*>(u"txtCpySheet"_s)->setText(u"部品表"_s);
        QTest::mouseClick(screen.findChild<QPushButton*>(u"cmdImport"_s), Qt::LeftButton);
        QVERIFY2(f.messages.shown.size() == 2, qPrintable(f.messages.texts().join(u'|')));
        QVERIFY2(f.messages.shown.first().text.contains(u"新規登録：1件（明細95行）"_s),
                 qPrintable(f.messages.shown.first().text));
        QCOMPARE(f.codes().last(), u"I100"_s);

        const QList<StoredLine> back = ReadStoredLines(*f.ctx.DbConnection, u"DWG-95"_s);
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
