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
