#include "LibreOffice.h"
#include "PrintRequest.h"
#include "PrintRun.h"
#include "PrintTestSupport.h"
#include "TestSupport.h"
#include "XlsxOutputWorkbook.h"

#include <Workbook.h>

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QtTest>
#include <map>
#include <tuple>

namespace
{

QString text(const xlsx::Worksheet& s, int row, int col)
{
    return QString::fromStdString(s.cellText(row, col));
}

} // namespace

class TestPrintRun : public QObject
{
    Q_OBJECT
private:
    std::unique_ptr<PrintFixture> f;
    QTemporaryDir out;

    QString result(const QString& name) const { return out.filePath(name); }
    void useThreeSheetTemplate()
    {
        f->exec(QStringLiteral("UPDATE SETTEI SET CH_ORGPATH = '") + sourceDir() +
                QStringLiteral("/tests/data/xlsx/three_sheet_template.xlsx'"));
    }

private Q_SLOTS:
    void init()
    {
        f = std::make_unique<PrintFixture>();
        QVERIFY(f->ok());
        LibreOffice::setProgram(QStandardPaths::findExecutable(QStringLiteral("soffice")));
    }
    void cleanup() { f.reset(); }

    void printsThroughEachTemplate_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("title");
        QTest::newRow("manufactured") << QStringLiteral("1") << QStringLiteral("製作部品表(MFG.PARTS.TABLE)");
        QTest::newRow("purchased") << QStringLiteral("2") << QStringLiteral("購入部品表(MFG.PARTS.TABLE)");
    }
    void printsThroughEachTemplate()
    {
        QFETCH(QString, kind);
        QFETCH(QString, title);
        f->addTable(QStringLiteral("DWG-95"), QStringLiteral("01"), kind, MakeLines(95));
        f->ctx.CurrentKind = kind;
        const QString copy = result(QStringLiteral("kind") + kind + QStringLiteral(".xlsx"));
        RecordingPresenter presenter(copy);
        QCOMPARE(RunPrint(f->ctx, SampleRequest(kind), OpenXlsxOutputWorkbook, presenter),
                 PrintOutcome::Done);
        QVERIFY2(f->messages.shown.isEmpty(), qPrintable(f->messages.texts().join(u'|')));
        QCOMPARE(presenter.previewed, QStringList{f->ctx.WorkbookPath});
        QCOMPARE(presenter.pages.size(), 3);
        QVERIFY(presenter.kept.isEmpty());

        xlsx::Workbook book = xlsx::Workbook::open(copy.toStdString());
        book.validate();
        const xlsx::Worksheet& s = book.sheet("部品表");
        // Header block of every page, the page label "p / total".
        for (int page = 1; page <= 3; ++page) {
            const int t = (page - 1) * 50;
            QCOMPARE(text(s, t + 1, 1), title);
            QCOMPARE(text(s, t + 3, 2), QStringLiteral("DWG-95"));
            QCOMPARE(text(s, t + 4, 2), QStringLiteral("搬送ユニット"));
            QCOMPARE(text(s, t + 5, 2), QStringLiteral("01"));
            QCOMPARE(text(s, t + 3, 6), QStringLiteral("2026/11/21"));
            QCOMPARE(text(s, t + 4, 6), QStringLiteral("山田"));
            QCOMPARE(text(s, t + 5, 6), QStringLiteral("%1 / 3").arg(page));
            QCOMPARE(text(s, t + 7, 1), QStringLiteral("図番№"));
            QCOMPARE(text(s, t + 3, 1), QStringLiteral("図　番")); // the form's own label, copied
        }
        // Lines 1..40 on page 1, 41..80 on page 2, 81..95 on page 3.
        QCOMPARE(text(s, 8, 1), QStringLiteral("001"));
        QCOMPARE(QString::fromStdString(s.numberFormat(8, 1)), QStringLiteral("@"));
        QCOMPARE(s.horizontalAlignment(8, 1), xlsx::HAlign::Right);
        QCOMPARE(text(s, 8, 4), QStringLiteral("2個"));
        QCOMPARE(s.cellNumber(8, 6).value_or(-1), 2500.0);
        QCOMPARE(QString::fromStdString(s.numberFormat(8, 6)), QStringLiteral("#,##0"));
        QCOMPARE(s.cellNumber(8, 7).value_or(-1), 5000.0);
        QCOMPARE(text(s, 16, 4), QStringLiteral("R=2 L=2"));
        QCOMPARE(text(s, 20, 1), QStringLiteral("(013)"));
        QCOMPARE(text(s, 47, 1), QStringLiteral("040"));
        QCOMPARE(text(s, 58, 1), QStringLiteral("041"));
        QCOMPARE(text(s, 108, 1), QStringLiteral("081"));
        QCOMPARE(text(s, 122, 1), QStringLiteral("095"));
        QCOMPARE(text(s, 123, 1), QString());
        // Abolished line 10 (row 17): grey item cell, every cell struck; line 11 is not.
        QCOMPARE(s.fillRgb(17, 1).value_or(0), 0x808080u);
        for (int c = 1; c <= 8; ++c)
            QVERIFY(s.strike(17, c));
        QVERIFY(!s.strike(18, 2));
        QVERIFY(!s.fillRgb(18, 1).has_value());
        // Pages: breaks above 51 and 101, the print area over all three pages.
        QCOMPARE(s.rowBreaksAbove(), (std::vector<int>{51, 101}));
        const auto area = s.printArea();
        QVERIFY(area.has_value());
        QCOMPARE(area->lastRow, 150);
        QCOMPARE(area->lastCol, 8);

        // LibreOffice opens it: three printed pages, the first and last with their lines.
        QString problem;
        const QString pdf = RenderPdf(copy, out.path(), &problem);
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
        QCOMPARE(PdfPageCount(pdf), 3);
        const QString first = PdfText(pdf, 1);
        QVERIFY(first.contains(QStringLiteral("DWG-95")));
        QVERIFY(first.contains(QStringLiteral("1 / 3")));
        QVERIFY(first.contains(QStringLiteral("R=2 L=2")));
        QVERIFY(first.contains(QStringLiteral("2,500")));
        QVERIFY(first.contains(QStringLiteral("040")));
        QVERIFY(!first.contains(QStringLiteral("041")));
        const QString last = PdfText(pdf, 3);
        QVERIFY(last.contains(QStringLiteral("3 / 3")));
        QVERIFY(last.contains(QStringLiteral("081")));
        QVERIFY(last.contains(QStringLiteral("095")));
    }

    void summaryPerMakerNameMaterialUnitsRemarks()
    {
        const auto lines = MakeLines(95);
        f->addTable(QStringLiteral("DWG-95"), QStringLiteral("01"), QStringLiteral("1"), lines);
        using Key = std::tuple<QString, QString, QString, QString, QString, QString>;
        std::map<Key, std::pair<long long, long long>> sums;
        for (const auto& l : lines) {
            if (l.haishi)
                continue;
            auto& s = sums[Key{l.maker, l.hinmei, l.zaishitu, l.tani, l.tani2, l.biko}];
            s.first += l.suryo.toLongLong();
            s.second += l.kingk.toLongLong();
        }
        PrintRequest r = SampleRequest();
        r.summary = true;
        const QString copy = result(QStringLiteral("sum.xlsx"));
        RecordingPresenter presenter(copy);
        QCOMPARE(RunPrint(f->ctx, r, OpenXlsxOutputWorkbook, presenter), PrintOutcome::Done);
        xlsx::Workbook book = xlsx::Workbook::open(copy.toStdString());
        const xlsx::Worksheet& s = book.sheet("部品表");
        int n = 0;
        for (const auto& [key, sum] : sums) {
            const int row = (n / 40) * 50 + 8 + n % 40;
            ++n;
            const auto& [maker, hinmei, zaishitu, tani, tani2, biko] = key;
            QCOMPARE(text(s, row, 1), QString()); // no item numbers in a summary
            QCOMPARE(text(s, row, 2), hinmei);
            QCOMPARE(text(s, row, 3), zaishitu);
            QCOMPARE(text(s, row, 4), QuantityText(QString::number(sum.first), QString(), tani, tani2));
            QCOMPARE(text(s, row, 5), biko);
            QCOMPARE(text(s, row, 6), QString());
            QCOMPARE(s.cellNumber(row, 7).value_or(-1), double(sum.second));
            QCOMPARE(text(s, row, 8), maker);
            QVERIFY(!s.strike(row, 2));
        }
        const int next = (n / 40) * 50 + 8 + n % 40;
        QCOMPARE(text(s, next, 2), QString());
        QCOMPARE(int(s.rowBreaksAbove().size()), (n + 39) / 40 - 1);
    }

    void makerFilterAndPagesPerMaker()
    {
        const auto lines = MakeLines(95);
        f->addTable(QStringLiteral("DWG-95"), QStringLiteral("01"), QStringLiteral("1"), lines);
        int thk = 0;
        std::map<QString, int> perMaker;
        for (const auto& l : lines) {
            thk += l.maker == u"THK";
            ++perMaker[l.maker];
        }
        // The search screen's maker filter: only THK lines.
        f->ctx.makerFilterOn = true;
        f->ctx.makerFilterText = QStringLiteral("THK");
        const QString filtered = result(QStringLiteral("thk.xlsx"));
        RecordingPresenter p1(filtered);
        QCOMPARE(RunPrint(f->ctx, SampleRequest(), OpenXlsxOutputWorkbook, p1), PrintOutcome::Done);
        {
            xlsx::Workbook book = xlsx::Workbook::open(filtered.toStdString());
            const xlsx::Worksheet& s = book.sheet("部品表");
            QCOMPARE(text(s, 8 + thk - 1, 8), QStringLiteral("THK"));
            QCOMPARE(text(s, 8 + thk, 8), QString());
        }
        // A new page for each maker: each maker's lines start at the top of a page.
        f->ctx.makerFilterOn = false;
        PrintRequest r = SampleRequest();
        r.pagePerMaker = true;
        const QString paged = result(QStringLiteral("paged.xlsx"));
        RecordingPresenter p2(paged);
        QCOMPARE(RunPrint(f->ctx, r, OpenXlsxOutputWorkbook, p2), PrintOutcome::Done);
        int pages = 0;
        for (const auto& [maker, count] : perMaker)
            pages += (count + 39) / 40;
        QCOMPARE(p2.pages.size(), pages);
        xlsx::Workbook book = xlsx::Workbook::open(paged.toStdString());
        const xlsx::Worksheet& s = book.sheet("部品表");
        QCOMPARE(int(s.rowBreaksAbove().size()), pages - 1);
        QCOMPARE(text(s, 8, 8), QString()); // the lines without a maker come first
        QCOMPARE(text(s, 58, 8), QStringLiteral("THK"));
        QCOMPARE(text(s, 108, 8), QStringLiteral("ミスミ"));
        QCOMPARE(text(s, 5, 6), QStringLiteral("1 / 3"));
    }

    void keepWorkbookRenamesTheSheet()
    {
        // A template saved by LibreOffice with a cover sheet before the list sheet and a copy after.
        useThreeSheetTemplate();
        f->addTable(QStringLiteral("DWG-95"), QStringLiteral("01"), QStringLiteral("1"), MakeLines(5));
        PrintRequest r = SampleRequest();
        r.keepExcel = true;
        RecordingPresenter presenter{QString()};
        QCOMPARE(RunPrint(f->ctx, r, OpenXlsxOutputWorkbook, presenter), PrintOutcome::Done);
        QCOMPARE(presenter.kept, QStringList{f->ctx.WorkbookPath});
        xlsx::Workbook book = xlsx::Workbook::open(f->ctx.WorkbookPath.toStdString());
        QCOMPARE(book.sheetNames(), (std::vector<std::string>{"表紙", "DWG-95 01", "控え"}));
        QCOMPARE(text(book.sheet("DWG-95 01"), 12, 1), QStringLiteral("005"));
        // The preview shows and prints the list sheet alone; the kept workbook prints every sheet.
        QString problem;
        const QString shown = RenderPdf(presenter.printCopies.value(0), out.path(), &problem);
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
        QCOMPARE(PdfPageCount(shown), 1);
        QVERIFY(PdfText(shown, 1).contains(QStringLiteral("1 / 1")));
        QCOMPARE(PdfPageCount(RenderPdf(f->ctx.WorkbookPath, out.filePath(QStringLiteral("kept")), &problem)),
                 3);
    }

    void testModePrintsSampleLines()
    {
        PrintRequest r = SampleRequest();
        r.runMode = QStringLiteral("TEST");
        r.dwgNo = QStringLiteral("TEST");
        const QString copy = result(QStringLiteral("test.xlsx"));
        RecordingPresenter presenter(copy);
        QCOMPARE(RunPrint(f->ctx, r, OpenXlsxOutputWorkbook, presenter), PrintOutcome::Done);
        xlsx::Workbook book = xlsx::Workbook::open(copy.toStdString());
        const xlsx::Worksheet& s = book.sheet("部品表");
        QCOMPARE(text(s, 8, 2), QStringLiteral("HINMEI品名"));
        QCOMPARE(text(s, 12, 4), QStringLiteral("5SET"));
        QCOMPARE(text(s, 17, 8), QStringLiteral("会社名"));
        QCOMPARE(text(s, 18, 2), QString());
        QCOMPARE(text(s, 5, 6), QStringLiteral("1 / 1"));

        // A table without lines still prints one page: header cells, headings and its label.
        r.runMode = QStringLiteral("HONBAN");
        r.dwgNo = QStringLiteral("EMPTY");
        RecordingPresenter empty(result(QStringLiteral("empty.xlsx")));
        QCOMPARE(RunPrint(f->ctx, r, OpenXlsxOutputWorkbook, empty), PrintOutcome::Done);
        QCOMPARE(empty.pages, (QList<QPair<int, int>>{{1, 1}}));
        xlsx::Workbook emptyBook = xlsx::Workbook::open(result(QStringLiteral("empty.xlsx")).toStdString());
        QCOMPARE(text(emptyBook.sheet("部品表"), 3, 2), QStringLiteral("EMPTY"));
        QCOMPARE(text(emptyBook.sheet("部品表"), 5, 6), QStringLiteral("1 / 1"));
    }

    void missingSettingsRow()
    {
        PrintRequest r = SampleRequest();
        r.customer = QStringLiteral("未登録の客先");
        RecordingPresenter presenter{QString()};
        QCOMPARE(RunPrint(f->ctx, r, OpenXlsxOutputWorkbook, presenter), PrintOutcome::NoSettings);
        QCOMPARE(f->messages.texts(), QStringList{QStringLiteral("出力設定がされていません。")});
        QVERIFY(presenter.previewed.isEmpty());
        QVERIFY(!QFile::exists(f->ctx.WorkbookPath));
        // The other kind of the same customer is a separate row.
        f->exec(QStringLiteral("DELETE FROM SETTEI WHERE CH_BUHIN = '2'"));
        f->messages.clear();
        QCOMPARE(RunPrint(f->ctx, SampleRequest(QStringLiteral("2")), OpenXlsxOutputWorkbook, presenter),
                 PrintOutcome::NoSettings);
        QCOMPARE(f->messages.shown.size(), 1);
    }

    void missingTemplate()
    {
        const QString missing = result(QStringLiteral("gone.xlsx"));
        f->exec(QStringLiteral("UPDATE SETTEI SET CH_ORGPATH = '") + missing + u'\'');
        RecordingPresenter presenter{QString()};
        QCOMPARE(RunPrint(f->ctx, SampleRequest(), OpenXlsxOutputWorkbook, presenter),
                 PrintOutcome::TemplateNotOpened);
        QCOMPARE(f->messages.texts(), QStringList{QStringLiteral("EXCELファイルが見つかりません。") +
                                                  missing + QStringLiteral("を設定し直して下さい。")});
        QVERIFY(presenter.previewed.isEmpty());
        // An empty path asks for a file; cancelling ends the run without a message.
        f->exec(QStringLiteral("UPDATE SETTEI SET CH_ORGPATH = ''"));
        f->messages.clear();
        QCOMPARE(RunPrint(f->ctx, SampleRequest(), OpenXlsxOutputWorkbook, presenter),
                 PrintOutcome::TemplateNotOpened);
        QCOMPARE(f->dialogs.calls, 1);
        QVERIFY(f->messages.shown.isEmpty());
    }

    void errorsOutsideThePageLoop()
    {
        // A sheet the template does not have: the settings error box with the error number.
        f->exec(QStringLiteral("UPDATE SETTEI SET CH_ORGSHEET = '無いシート'"));
        RecordingPresenter presenter{QString()};
        QCOMPARE(RunPrint(f->ctx, SampleRequest(), OpenXlsxOutputWorkbook, presenter), PrintOutcome::Failed);
        QCOMPARE(f->messages.shown.size(), 1);
        QCOMPARE(f->messages.shown[0].title, QStringLiteral("設定エラー"));
        QCOMPARE(f->messages.shown[0].icon, MsgIcon::Stop);
        QCOMPARE(f->messages.shown[0].text,
                 QStringLiteral("プレビュー中にエラーが発生しました。設定内容の確認を行って下さい（9)"));
        // The cause is the box's detail text: the missing sheet, those there are, the step, the file.
        for (const QString& part :
             {QStringLiteral("「無いシート」がありません（あるシート：部品表）"),
              QStringLiteral("処理：出力シート"), QStringLiteral("mfg_parts_template.xlsx")})
            QVERIFY2(f->messages.shown[0].detail.contains(part), qPrintable(f->messages.shown[0].detail));
        QVERIFY(presenter.previewed.isEmpty());
    }

    void overflowingListCounter()
    {
        // 32,768 lines do not fit the 16-bit row counter of the list.
        std::vector<StoredLine> many(32768);
        for (size_t i = 0; i < many.size(); ++i)
            many[i].zno = QString::number(i);
        f->addTable(QStringLiteral("BIG"), QStringLiteral("01"), QStringLiteral("1"), many);
        PrintRequest r = SampleRequest();
        r.dwgNo = QStringLiteral("BIG");
        RecordingPresenter presenter{QString()};
        QCOMPARE(RunPrint(f->ctx, r, OpenXlsxOutputWorkbook, presenter), PrintOutcome::Failed);
        QCOMPARE(f->messages.texts(),
                 QStringList{
                     QStringLiteral("プレビュー中にエラーが発生しました。設定内容の確認を行って下さい（6)")});
    }

    void batchCommand()
    {
        const QString program =
            QString::fromLocal8Bit(qgetenv("BUHINHYO_BINARY_DIR")) + QStringLiteral("/app/buhinhyo-print");
        if (!QFile::exists(program))
            QSKIP("buhinhyo-print is not built");
        f->addTable(QStringLiteral("DWG-95"), QStringLiteral("01"), QStringLiteral("1"), MakeLines(95));
        useThreeSheetTemplate(); // the PDF holds the list sheet's pages only
        const QString local = f->appFolder() + QStringLiteral("/buhinhyo-print");
        QVERIFY(QFile::copy(program, local));
        auto run = [&](const QStringList& args) {
            QProcess p;
            p.start(local, args);
            p.waitForFinished(120000);
            return std::make_pair(p.exitCode(), QString::fromUtf8(p.readAllStandardError()));
        };
        const QStringList base{QStringLiteral("--dwgno"), QStringLiteral("DWG-95"), QStringLiteral("--assy"),
                               QStringLiteral("01"),      QStringLiteral("--kind"), QStringLiteral("1")};
        const QString xlsxOut = result(QStringLiteral("batch.xlsx"));
        const QString pdfOut = result(QStringLiteral("batch.pdf"));
        auto [code, err] =
            run(base + QStringList{QStringLiteral("--customer"), PrintFixture::customer,
                                   QStringLiteral("--out"), xlsxOut, QStringLiteral("--pdf"), pdfOut});
        QVERIFY2(code == 0, qPrintable(err));
        QCOMPARE(PdfPageCount(pdfOut), 3);
        xlsx::Workbook book = xlsx::Workbook::open(xlsxOut.toStdString());
        QCOMPARE(text(book.sheet("部品表"), 4, 2),
                 QStringLiteral("搬送ユニット")); // from the stored header row
        QCOMPARE(text(book.sheet("部品表"), 55, 6), QStringLiteral("2 / 3"));

        std::tie(code, err) = run(base + QStringList{QStringLiteral("--customer"), QStringLiteral("誰か")});
        QCOMPARE(code, 3);
        QVERIFY(err.contains(QStringLiteral("出力設定がされていません。")));
        std::tie(code, err) = run({QStringLiteral("--dwgno"), QStringLiteral("X"), QStringLiteral("--assy"),
                                   QStringLiteral("01"), QStringLiteral("--kind"), QStringLiteral("1"),
                                   QStringLiteral("--customer"), PrintFixture::customer});
        QCOMPARE(code, 4);
        std::tie(code, err) = run({QStringLiteral("--kind"), QStringLiteral("3")});
        QCOMPARE(code, 1);
        // No LibreOffice on the PATH: the workbook is written, the PDF cannot be.
        {
            QProcess p;
            QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
            env.insert(QStringLiteral("PATH"), QStringLiteral("/nonexistent"));
            p.setProcessEnvironment(env);
            p.start(local, base + QStringList{QStringLiteral("--customer"), PrintFixture::customer,
                                              QStringLiteral("--out"), xlsxOut, QStringLiteral("--pdf"),
                                              result(QStringLiteral("none.pdf"))});
            p.waitForFinished(120000);
            QCOMPARE(p.exitCode(), 7);
            QVERIFY(QFile::exists(xlsxOut));
            QVERIFY(!QFile::exists(result(QStringLiteral("none.pdf"))));
        }
        // A run that fails writes the cause after its message.
        f->exec(QStringLiteral("UPDATE SETTEI SET CH_ORGSHEET = '無いシート'"));
        std::tie(code, err) = run(base + QStringList{QStringLiteral("--customer"), PrintFixture::customer});
        QCOMPARE(code, 6);
        QVERIFY2(err.contains(QStringLiteral("原因: インデックスが有効範囲にありません。\n")) &&
                     err.contains(QStringLiteral("「無いシート」がありません")),
                 qPrintable(err));
        // A template that is gone: E114 on stderr, status 5.
        f->exec(QStringLiteral("UPDATE SETTEI SET CH_ORGPATH = '/nonexistent/template.xlsx'"));
        std::tie(code, err) = run(base + QStringList{QStringLiteral("--customer"), PrintFixture::customer});
        QCOMPARE(code, 5);
        QVERIFY(err.contains(QStringLiteral("/nonexistent/template.xlsxを設定し直して下さい。")));
        std::tie(code, err) = run({QStringLiteral("--help")});
        QCOMPARE(code, 0);
    }
};

QTEST_GUILESS_MAIN(TestPrintRun)
#include "TestPrintRun.moc"
