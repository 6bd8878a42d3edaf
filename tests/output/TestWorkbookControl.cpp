#include "LibreOffice.h"
#include "RuntimeError.h"
#include "TestSupport.h"
#include "WorkbookControl.h"

#include <QtTest>

using namespace Qt::StringLiterals;

// The template copied to the work copy, and old .xls templates converted by LibreOffice.
class TestWorkbookControl : public QObject
{
    Q_OBJECT
    std::unique_ptr<AppFolder> f;

private Q_SLOTS:
    void init()
    {
        f = std::make_unique<AppFolder>();
        LibreOffice::setProgram(u"/nonexistent/soffice"_s);
    }

    void templateIsCopiedToTheWorkCopy()
    {
        writeCp932File(f->path(u"SHINKI"_s), u"not a workbook"_s);
        writeCp932File(f->path(u"t.xlsx"_s), u"first"_s);
        writeCp932File(f->path(u"u.xlsx"_s), u"second"_s);
        WorkbookControl wc(f->ctx);
        QStringList opened;
        wc.setOpener([&](const QString& p) { opened << p; });
        // "SHINKI" always asks, even when a file of that name exists; cancelled: "NO", nothing copied.
        QCOMPARE(wc.OpenTemplate(u"SHINKI"_s), u"NO"_s);
        QCOMPARE(f->dialogs.lastTitle, u"EXCELﾌｧｲﾙ指定"_s);
        QVERIFY(f->dialogs.lastFilters.first().contains(u"*.xlsx"_s));
        QVERIFY(!QFile::exists(f->ctx.WorkbookPath) && opened.isEmpty());
        // Chosen: copied to the work copy and opened there; a second template overwrites it.
        f->dialogs.next << f->path(u"t.xlsx"_s);
        QCOMPARE(wc.OpenTemplate(QString()), f->path(u"t.xlsx"_s));
        QCOMPARE(readFileBytes(f->ctx.WorkbookPath), QByteArray("first"));
        QCOMPARE(opened, QStringList(f->ctx.WorkbookPath));
        QCOMPARE(wc.OpenTemplate(f->path(u"u.xlsx"_s)), f->path(u"u.xlsx"_s));
        QCOMPARE(readFileBytes(f->ctx.WorkbookPath), QByteArray("second"));
        QVERIFY(f->messages.shown.isEmpty());
    }

    void failuresAreReportedByTheirMessage()
    {
        WorkbookControl wc(f->ctx);
        const QString missing = f->path(u"nothing.xlsx"_s);
        QCOMPARE(wc.OpenTemplate(missing), u"ERROR"_s);
        QCOMPARE(f->shownBoxes(), QStringList(u"エラー|EXCELファイルが見つかりません。"_s + missing +
                                              u"を設定し直して下さい。"_s));
        // The engine cannot open the copy: E109 with the error number.
        writeCp932File(f->path(u"t.xlsx"_s), u"x"_s);
        wc.setOpener([](const QString&) { throw RuntimeError(1004, u"broken"_s); });
        f->messages.clear();
        QCOMPARE(wc.OpenTemplate(f->path(u"t.xlsx"_s)), u"NO"_s);
        QCOMPARE(f->messages.texts(), QStringList(u"EXCELファイルを開けませんでした。エラーＣＤ：1004"_s));
        // The work copy cannot be replaced (a folder stands in its way): E111.
        QFile::remove(f->ctx.WorkbookPath);
        QVERIFY(QDir().mkpath(f->ctx.WorkbookPath + u"/inner"_s));
        wc.setOpener(nullptr);
        f->messages.clear();
        QCOMPARE(wc.OpenTemplate(f->path(u"t.xlsx"_s)), u"NO"_s);
        QVERIFY(f->messages.texts().value(0).startsWith(
            u"EXCELファイルをコピーできませんでした。エラーＣＤ："_s));
        // An .xls template without LibreOffice: what to do instead.
        writeCp932File(f->path(u"old.xls"_s), u"xls bytes"_s);
        f->messages.clear();
        QCOMPARE(wc.OpenTemplate(f->path(u"old.xls"_s)), u"NO"_s);
        QVERIFY(f->messages.texts().value(0).contains(u".xlsx 形式で保存し直し"_s));
    }

    void xlsConvertedOnceAndCached()
    {
        LibreOffice::setProgram(QStandardPaths::findExecutable(u"soffice"_s));
        if (!LibreOffice::installed())
            QSKIP("LibreOffice is not installed");
        // A tiny .xls made by LibreOffice itself from a CSV.
        writeCp932File(f->path(u"seed.csv"_s), u"A,B\n1,2\n"_s);
        QCOMPARE(LibreOffice::convert(f->path(u"profile"_s), u"xls"_s, f->dir.path(), f->path(u"seed.csv"_s)),
                 QString());
        WorkbookControl wc(f->ctx);
        QCOMPARE(wc.OpenTemplate(f->path(u"seed.xls"_s)), f->path(u"seed.xls"_s));
        QVERIFY2(f->messages.shown.isEmpty(), qPrintable(f->messages.texts().join(u'|')));
        const QByteArray copy = readFileBytes(f->ctx.WorkbookPath);
        QVERIFY(copy.startsWith("PK")); // an .xlsx package
        // The second time comes from the cache, even without LibreOffice.
        LibreOffice::setProgram(u"/nonexistent/soffice"_s);
        QCOMPARE(wc.OpenTemplate(f->path(u"seed.xls"_s)), f->path(u"seed.xls"_s));
        QCOMPARE(readFileBytes(f->ctx.WorkbookPath), copy);
        // LibreOffice ends with status 0 even when it could not load the file.
        QVERIFY(!LibreOffice::checkConversion(f->ctx.WorkbookPath, "Error: source file could not be loaded\n")
                     .isEmpty());
        QVERIFY(LibreOffice::checkConversion(f->ctx.WorkbookPath, "convert a.xlsx -> a.pdf\n").isEmpty());
        QVERIFY(!LibreOffice::checkConversion(f->path(u"none.pdf"_s), QByteArray()).isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestWorkbookControl)
#include "TestWorkbookControl.moc"
