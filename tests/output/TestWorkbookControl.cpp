#include "AppContext.h"
#include "LibreOffice.h"
#include "RuntimeError.h"
#include "TestSupport.h"
#include "WorkbookControl.h"

#include <QDir>
#include <QFile>
#include <QtTest>

class TestWorkbookControl : public QObject
{
    Q_OBJECT
private:
    std::unique_ptr<QTemporaryDir> m_dirHolder;
    ScriptedMessageService m_messages;
    ScriptedFileDialogService m_dialogs;
    AppContext m_ctx;

    QString path(const QString& name) const { return m_dirHolder->filePath(name); }
    void writeFile(const QString& name, const QByteArray& bytes)
    {
        QFile f(path(name));
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(bytes);
    }

private Q_SLOTS:
    void init()
    {
        m_dirHolder = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dirHolder->isValid());
        m_ctx.setPaths(m_dirHolder->path());
        m_ctx.messages = &m_messages;
        m_ctx.fileDialogs = &m_dialogs;
        writeCp932File(
            m_ctx.IniPath,
            QStringLiteral("[MSGCD]\r\nE109=ブックを開けません。\r\nE111=ファイルをコピーできません。\r\n"
                           "E114=ファイルがありません。\r\n"));
        m_ctx.makeIni();
        m_messages.clear();
        m_dialogs.next.clear();
        m_dialogs.calls = 0;
        LibreOffice::setProgram(QStringLiteral("/nonexistent/soffice"));
    }

    void columnLetters()
    {
        QCOMPARE(ColumnLetter(1), QStringLiteral("A"));
        QCOMPARE(ColumnLetter(26), QStringLiteral("Z"));
        QCOMPARE(ColumnLetter(27), QString());
        QCOMPARE(ColumnLetter(0), QString());
        QCOMPARE(ColumnLetter(-1), QString());
        QCOMPARE(ColumnNumber(QStringLiteral("A")).value(), 1);
        QCOMPARE(ColumnNumber(QStringLiteral("H")).value(), 8);
        QCOMPARE(ColumnNumber(QStringLiteral("Z")).value(), 26);
        for (const char* bad : {"", "a", "z", "AA", "IV", "1", " A", "A ", "Ａ"})
            QCOMPARE(ColumnNumber(QString::fromUtf8(bad)).value(), 0);
        for (int n = 1; n <= 26; ++n)
            QCOMPARE(ColumnNumber(ColumnLetter(n)).value(), n);
    }

    void shinkiAsksForAFile()
    {
        writeFile(QStringLiteral("SHINKI"), "not a workbook");
        writeFile(QStringLiteral("t.xlsx"), "first");
        WorkbookControl wc(m_ctx);
        QStringList opened;
        wc.setOpener([&](const QString& p) { opened << p; });

        // Cancelled: "NO", nothing copied, even though a file named SHINKI exists.
        QCOMPARE(wc.OpenTemplate(QStringLiteral("SHINKI")), QStringLiteral("NO"));
        QCOMPARE(m_dialogs.calls, 1);
        QCOMPARE(m_dialogs.lastTitle, QStringLiteral("EXCELﾌｧｲﾙ指定"));
        QVERIFY(m_dialogs.lastFilters.first().contains(QStringLiteral("*.xlsx")));
        QVERIFY(m_dialogs.lastFilters.first().contains(QStringLiteral("*.xls")));
        QVERIFY(!QFile::exists(m_ctx.WorkbookPath));
        QVERIFY(opened.isEmpty());

        // Chosen: copied to the work copy, opened there, remembered.
        m_dialogs.next << path(QStringLiteral("t.xlsx"));
        QCOMPARE(wc.OpenTemplate(QString()), path(QStringLiteral("t.xlsx")));
        QCOMPARE(readFileBytes(m_ctx.WorkbookPath), QByteArray("first"));
        QCOMPARE(opened, QStringList{m_ctx.WorkbookPath});
        QCOMPARE(wc.templatePath(), path(QStringLiteral("t.xlsx")));

        // A second template overwrites the work copy.
        writeFile(QStringLiteral("u.xlsx"), "second");
        QCOMPARE(wc.OpenTemplate(path(QStringLiteral("u.xlsx"))), path(QStringLiteral("u.xlsx")));
        QCOMPARE(readFileBytes(m_ctx.WorkbookPath), QByteArray("second"));
        QVERIFY(m_messages.shown.isEmpty());
    }

    void missingTemplate()
    {
        WorkbookControl wc(m_ctx);
        const QString missing = path(QStringLiteral("nothing.xlsx"));
        QCOMPARE(wc.OpenTemplate(missing), QStringLiteral("ERROR"));
        QCOMPARE(m_messages.shown.size(), 1);
        QCOMPARE(m_messages.shown[0].title, QStringLiteral("エラー"));
        QCOMPARE(m_messages.shown[0].text, QStringLiteral("ファイルがありません。") + missing +
                                               QStringLiteral("を設定し直して下さい。"));
        QVERIFY(!QFile::exists(m_ctx.WorkbookPath));
        QVERIFY(wc.templatePath().isEmpty());
    }

    void copyAndOpenFailures()
    {
        writeFile(QStringLiteral("t.xlsx"), "x");
        WorkbookControl wc(m_ctx);
        // The engine cannot open the copy: E109 with the error number.
        wc.setOpener([](const QString&) { throw RuntimeError(1004, QStringLiteral("broken")); });
        QCOMPARE(wc.OpenTemplate(path(QStringLiteral("t.xlsx"))), QStringLiteral("NO"));
        QCOMPARE(m_messages.texts(), QStringList{QStringLiteral("ブックを開けません。エラーＣＤ：1004")});
        QVERIFY(m_messages.shown[0].detail.startsWith(QStringLiteral("broken\n雛形：")));

        // The work copy cannot be replaced (a folder stands in its way): E111.
        m_messages.clear();
        QFile::remove(m_ctx.WorkbookPath);
        QVERIFY(QDir().mkpath(m_ctx.WorkbookPath + QStringLiteral("/inner")));
        wc.setOpener(nullptr);
        QCOMPARE(wc.OpenTemplate(path(QStringLiteral("t.xlsx"))), QStringLiteral("NO"));
        QCOMPARE(m_messages.shown.size(), 1);
        QVERIFY(m_messages.shown[0].text.startsWith(
            QStringLiteral("雛形ファイルを作業ファイルにコピーできませんでした。エラーＣＤ：")));
        QVERIFY(m_messages.shown[0].detail.contains(m_ctx.WorkbookPath));
    }

    void xlsWithoutLibreOffice()
    {
        writeFile(QStringLiteral("old.xls"), "xls bytes");
        WorkbookControl wc(m_ctx);
        QCOMPARE(wc.OpenTemplate(path(QStringLiteral("old.xls"))), QStringLiteral("NO"));
        QCOMPARE(m_messages.shown.size(), 1);
        QVERIFY(m_messages.shown[0].text.contains(QStringLiteral(".xlsx 形式で保存し直し")));
        QVERIFY(!QFile::exists(m_ctx.WorkbookPath));
    }

    void xlsConvertedOnceAndCached()
    {
        LibreOffice::setProgram(QString());
        LibreOffice::setProgram(QStandardPaths::findExecutable(QStringLiteral("soffice")));
        if (!LibreOffice::installed())
            QSKIP("LibreOffice is not installed");
        // A tiny .xls made by LibreOffice itself from a CSV.
        writeFile(QStringLiteral("seed.csv"), "A,B\n1,2\n");
        const QString profile = path(QStringLiteral("profile"));
        QCOMPARE(LibreOffice::convert(profile, QStringLiteral("xls"), m_dirHolder->path(),
                                      path(QStringLiteral("seed.csv"))),
                 QString());
        WorkbookControl wc(m_ctx);
        QCOMPARE(wc.OpenTemplate(path(QStringLiteral("seed.xls"))), path(QStringLiteral("seed.xls")));
        QVERIFY2(m_messages.shown.isEmpty(), qPrintable(m_messages.texts().join(u'|')));
        const QByteArray copy = readFileBytes(m_ctx.WorkbookPath);
        QVERIFY(copy.startsWith("PK")); // an .xlsx package
        const QStringList cached =
            QDir(m_ctx.AppPath + QStringLiteral("WORK/xls-cache")).entryList({QStringLiteral("*.xlsx")});
        QCOMPARE(cached.size(), 1);
        // The second time comes from the cache even without LibreOffice.
        LibreOffice::setProgram(QStringLiteral("/nonexistent/soffice"));
        QCOMPARE(wc.OpenTemplate(path(QStringLiteral("seed.xls"))), path(QStringLiteral("seed.xls")));
        QCOMPARE(readFileBytes(m_ctx.WorkbookPath), copy);
    }

    void conversionChecks()
    {
        QTemporaryDir d;
        const QString out = d.filePath(QStringLiteral("a.pdf"));
        QVERIFY(!LibreOffice::checkConversion(out, QByteArray()).isEmpty()); // no output
        QFile f(out);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("%PDF");
        f.close();
        QVERIFY(LibreOffice::checkConversion(out, "convert a.xlsx -> a.pdf\n").isEmpty());
        // LibreOffice ends with status 0 even when it could not load the file.
        QVERIFY(!LibreOffice::checkConversion(out, "Error: source file could not be loaded\n").isEmpty());
    }

    void spreadsheetMarker()
    {
        // A LibreOffice or Excel process (by its name in /proc) counts as a running spreadsheet.
        QTemporaryDir proc;
        QVERIFY(QDir(proc.path()).mkpath(QStringLiteral("34")));
        for (const auto& [comm, running] : {std::pair{"bash\n", false}, std::pair{"soffice.bin\n", true},
                                            std::pair{"EXCEL.EXE\n", true}, std::pair{"excel\n", false}}) {
            QFile f(proc.filePath(QStringLiteral("34/comm")));
            QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
            f.write(comm);
            f.close();
            QCOMPARE(SpreadsheetProcessRunning(proc.path()), running);
        }
        WorkbookControl wc(m_ctx);
        const bool running = wc.ExcelRunning() == 0;
        QCOMPARE(running, wc.excelRunningMarker() == u"1");
    }
};

QTEST_GUILESS_MAIN(TestWorkbookControl)
#include "TestWorkbookControl.moc"
