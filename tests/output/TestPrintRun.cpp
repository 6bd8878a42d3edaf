#include "LibreOffice.h"
#include "PageLayout.h"
#include "PrintTestSupport.h"
#include "SettingsRecord.h"
#include "WorkbookControl.h"
#include "XlsxOutputWorkbook.h"

#include <Workbook.h>

#include <QProcess>
#include <QtTest>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <sys/mount.h>
#include <tuple>
#include <unistd.h>

using namespace Qt::StringLiterals;

// Print runs through the shipped templates on a real database, the workbooks read back by the engine
// and printed by LibreOffice; the template's work copy.
class TestPrintRun : public QObject
{
    Q_OBJECT
    std::unique_ptr<PrintFixture> f;
    QTemporaryDir out;

    static QString text(const xlsx::Worksheet& s, int row, int col)
    {
        return QString::fromStdString(s.cellText(row, col));
    }
    // Runs the print and opens the work copy as the preview saw it.
    xlsx::Workbook run(const PrintRequest& r, const QString& name, RecordingPresenter* shown = nullptr)
    {
        RecordingPresenter own(out.filePath(name));
        RecordingPresenter& p = shown ? *shown : own;
        if (RunPrint(f->ctx, r, OpenXlsxOutputWorkbook, p) != PrintOutcome::Done)
            qWarning() << f->messages.texts();
        return xlsx::Workbook::open(out.filePath(name).toStdString());
    }
    // The folder's own copy of buhinhyo-print ("" when it is not built), and a run of it on a table of
    // the sample customer with the given outputs: exit code and stderr.
    QString batchProgram()
    {
        const QString copy = f->path(u"buhinhyo-print"_s);
        if (!QFile::exists(copy) &&
            !QFile::copy(qEnvironmentVariable("BUHINHYO_BINARY_DIR") + u"/app/buhinhyo-print"_s, copy))
            return {};
        return copy;
    }
    static QStringList batchArgs(const QString& dwgNo, const QStringList& outputs,
                                 const QString& customer = PrintFixture::customer)
    {
        return QStringList{u"--dwgno"_s, dwgNo,  u"--assy"_s,     u"01"_s,
                           u"--kind"_s,  u"1"_s, u"--customer"_s, customer} +
               outputs;
    }
    // env: variables changed for the run ("NAME=value"). What it wrote: help on stdout, the rest on stderr.
    std::pair<int, QString> batch(const QStringList& outputs,
                                  const QString& customer = PrintFixture::customer,
                                  const QStringList& env = {}, const QStringList& args = {})
    {
        QProcess p;
        QProcessEnvironment e = QProcessEnvironment::systemEnvironment();
        for (const QString& v : env)
            e.insert(v.section(u'=', 0, 0), v.section(u'=', 1));
        p.setProcessEnvironment(e);
        p.start(batchProgram(), args.isEmpty() ? batchArgs(u"DWG-95"_s, outputs, customer) : args);
        p.waitForFinished(120000);
        return {p.exitCode(), QString::fromUtf8(p.readAllStandardOutput() + p.readAllStandardError())};
    }
    // A real small file system at dir: 0, or why it cannot be mounted here. fillDisk fills it up.
    static int mountSmallDisk(const QString& dir)
    {
        QDir().mkpath(dir);
        return ::mount("tmpfs", QFile::encodeName(dir).constData(), "tmpfs", 0, "size=256k") == 0 ? 0 : errno;
    }
    static void fillDisk(const QString& dir)
    {
        const int fd = ::open(QFile::encodeName(dir + u"/filler"_s).constData(), O_WRONLY | O_CREAT, 0644);
        static const char block[65536] = {};
        for (const ssize_t size : {65536, 4096, 1})
            while (::write(fd, block, size_t(size)) == size) {
            }
        ::close(fd);
    }
    // A template saved by LibreOffice with a cover sheet before the list sheet and a copy after.
    void useThreeSheetTemplate(const QString& name = u"three_sheet_template.xlsx"_s)
    {
        f->exec(u"UPDATE SETTEI SET CH_ORGPATH = '"_s + sourceDir() + u"/tests/data/xlsx/"_s + name + u"'"_s);
    }

private Q_SLOTS:
    void init()
    {
        f = std::make_unique<PrintFixture>();
        LibreOffice::setProgram(QStandardPaths::findExecutable(u"soffice"_s));
    }
    void cleanup()
    {
        for (const QString& disk : {f->path(u"WORK"_s), out.filePath(u"full"_s)})
            ::umount2(QFile::encodeName(disk).constData(), MNT_DETACH);
        f.reset();
    }

    void printsThroughEachTemplate_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("title");
        QTest::newRow("manufactured") << u"1"_s << u"製作部品表(MFG.PARTS.TABLE)"_s;
        QTest::newRow("purchased") << u"2"_s << u"購入部品表(MFG.PARTS.TABLE)"_s;
    }
    void printsThroughEachTemplate()
    {
        QFETCH(QString, kind);
        QFETCH(QString, title);
        // Stored last to first, printed in item-number order; the lines are those of the kind asked
        // for, whatever another screen chose since.
        const auto lines = MakeLines(95);
        f->addTable(u"DWG-95"_s, u"01"_s, kind, {lines.rbegin(), lines.rend()});
        f->ctx.CurrentKind = kind == u"1" ? u"2"_s : u"1"_s;
        const QString copy = out.filePath(u"kind"_s + kind + u".xlsx"_s);
        RecordingPresenter presenter(copy);
        QCOMPARE(RunPrint(f->ctx, SampleRequest(kind), OpenXlsxOutputWorkbook, presenter),
                 PrintOutcome::Done);
        QVERIFY2(f->messages.shown.isEmpty(), qPrintable(f->messages.texts().join(u'|')));
        QCOMPARE(presenter.previewed, QStringList(f->ctx.WorkbookPath));
        QCOMPARE(presenter.notes, QStringList()); // everything of the shipped templates comes through
        QCOMPARE(presenter.pages.size(), 3);
        xlsx::Workbook book = xlsx::Workbook::open(copy.toStdString());
        book.validate();
        const xlsx::Worksheet& s = book.sheet("部品表");
        // The header block of every page with its label "p / total", and the form's own texts.
        for (int page = 1; page <= 3; ++page) {
            const int t = (page - 1) * 50;
            QCOMPARE(QStringList({text(s, t + 1, 1), text(s, t + 3, 2), text(s, t + 4, 2), text(s, t + 5, 2),
                                  text(s, t + 3, 6), text(s, t + 4, 6), text(s, t + 5, 6), text(s, t + 7, 1),
                                  text(s, t + 3, 1)}),
                     QStringList({title, u"DWG-95"_s, u"搬送ユニット"_s, u"01"_s, u"2026/11/21"_s, u"山田"_s,
                                  u"%1 / 3"_s.arg(page), u"図番№"_s, u"図　番"_s}));
        }
        // Lines 1..40 on page 1, 41..80 on page 2, 81..95 on page 3.
        QCOMPARE(QStringList({text(s, 8, 1), text(s, 8, 4), text(s, 16, 4), text(s, 20, 1), text(s, 47, 1),
                              text(s, 58, 1), text(s, 108, 1), text(s, 122, 1), text(s, 123, 1)}),
                 QStringList({u"001"_s, u"2個"_s, u"R=2 L=2"_s, u"(013)"_s, u"040"_s, u"041"_s, u"081"_s,
                              u"095"_s, QString()}));
        // The cells as the page layout asks for them (its own tests go through every rule).
        QCOMPARE(s.numberFormat(8, 1) + s.numberFormat(8, 6), std::string("@#,##0"));
        QCOMPARE(s.horizontalAlignment(8, 1), xlsx::HAlign::Right);
        QCOMPARE(s.cellNumber(8, 6).value_or(-1) + s.cellNumber(8, 7).value_or(-1), 7500.0);
        // Abolished line 10 (row 17): grey item cell, struck; line 11 is not.
        QVERIFY(s.fillRgb(17, 1) == 0x808080u && s.strike(17, 2) && s.strike(17, 8));
        QVERIFY(!s.strike(18, 2) && !s.fillRgb(18, 1));
        // Breaks above 51 and 101, the print area over all three pages.
        QCOMPARE(s.rowBreaksAbove(), (std::vector<int>{51, 101}));
        QCOMPARE(s.printArea()->lastRow * 100 + s.printArea()->lastCol, 15008);
    }

    void summaryMakerFilterAndPagesPerMaker()
    {
        const auto lines = MakeLines(95);
        f->addTable(u"DWG-95"_s, u"01"_s, u"1"_s, lines);
        // The summary: one line per maker, name, material, units and remarks, without item numbers
        // and prices, with the summed quantity and amount.
        using Key = std::tuple<QString, QString, QString, QString, QString, QString>;
        std::map<Key, std::pair<long long, long long>> sums;
        std::map<QString, int> perMaker;
        for (const auto& l : lines) {
            ++perMaker[l.maker];
            if (!l.haishi) {
                auto& s = sums[Key{l.maker, l.hinmei, l.zaishitu, l.tani, l.tani2, l.biko}];
                s.first += l.suryo.toLongLong();
                s.second += l.kingk.toLongLong();
            }
        }
        PrintRequest r = SampleRequest();
        r.summary = true;
        xlsx::Workbook summary = run(r, u"sum.xlsx"_s);
        int n = 0;
        for (const auto& [key, sum] : sums) {
            const int row = (n / 40) * 50 + 8 + n % 40;
            ++n;
            const auto& [maker, hinmei, zaishitu, tani, tani2, biko] = key;
            const xlsx::Worksheet& s = summary.sheet("部品表");
            QCOMPARE(QStringList({text(s, row, 1), text(s, row, 2), text(s, row, 3), text(s, row, 4),
                                  text(s, row, 5), text(s, row, 6), text(s, row, 8)}),
                     QStringList({QString(), hinmei, zaishitu,
                                  QuantityText(QString::number(sum.first), QString(), tani, tani2), biko,
                                  QString(), maker}));
            QCOMPARE(s.cellNumber(row, 7).value_or(-1), double(sum.second));
        }
        // One maker's lines.
        f->ctx.makerFilterOn = true;
        f->ctx.makerFilterText = u"THK"_s;
        {
            xlsx::Workbook book = run(SampleRequest(), u"thk.xlsx"_s);
            const int thk = perMaker[u"THK"_s];
            QCOMPARE(text(book.sheet("部品表"), 8 + thk - 1, 8) + text(book.sheet("部品表"), 8 + thk, 8),
                     u"THK"_s);
        }
        // A new page for each maker: each maker's lines start at the top of a page, the lines without a
        // maker first.
        f->ctx.makerFilterOn = false;
        r = SampleRequest();
        r.pagePerMaker = true;
        RecordingPresenter p(out.filePath(u"paged.xlsx"_s));
        xlsx::Workbook book = run(r, u"paged.xlsx"_s, &p);
        int pages = 0;
        for (const auto& [maker, count] : perMaker)
            pages += (count + 39) / 40;
        QCOMPARE(p.pages.size(), pages);
        const xlsx::Worksheet& s = book.sheet("部品表");
        QCOMPARE(int(s.rowBreaksAbove().size()), pages - 1);
        QCOMPARE(text(s, 8, 8) + u'|' + text(s, 58, 8) + u'|' + text(s, 108, 8), u"|THK|ミスミ"_s);
        QCOMPARE(text(s, 5, 6), u"1 / 3"_s);
    }

    void keptWorkbookAndTestMode()
    {
        // The settings screen's test print fills ten sample lines.
        PrintRequest r = SampleRequest();
        r.runMode = r.dwgNo = u"TEST"_s;
        xlsx::Workbook book = run(r, u"test.xlsx"_s);
        const xlsx::Worksheet& s = book.sheet("部品表");
        QCOMPARE(QStringList({text(s, 8, 2), text(s, 12, 4), text(s, 17, 8), text(s, 18, 2), text(s, 5, 6)}),
                 QStringList({u"HINMEI品名"_s, u"5SET"_s, u"会社名"_s, QString(), u"1 / 1"_s}));
        // A table without lines still prints one page: header cells, headings and its label.
        r.runMode = u"HONBAN"_s;
        r.dwgNo = u"EMPTY"_s;
        RecordingPresenter empty(out.filePath(u"empty.xlsx"_s));
        xlsx::Workbook emptyBook = run(r, u"empty.xlsx"_s, &empty);
        QCOMPARE(empty.pages, (QList<QPair<int, int>>{{1, 1}}));
        QCOMPARE(text(emptyBook.sheet("部品表"), 3, 2) + text(emptyBook.sheet("部品表"), 5, 6),
                 u"EMPTY1 / 1"_s);

        useThreeSheetTemplate();
        f->addTable(u"DWG-95"_s, u"01"_s, u"1"_s, MakeLines(5));
        r = SampleRequest();
        r.keepExcel = true;
        RecordingPresenter presenter;
        QCOMPARE(RunPrint(f->ctx, r, OpenXlsxOutputWorkbook, presenter), PrintOutcome::Done);
        QCOMPARE(presenter.kept, QStringList(f->ctx.WorkbookPath));
        xlsx::Workbook kept = xlsx::Workbook::open(f->ctx.WorkbookPath.toStdString());
        QCOMPARE(kept.sheetNames(), (std::vector<std::string>{"表紙", "DWG-95 01", "控え"}));
        QCOMPARE(text(kept.sheet("DWG-95 01"), 12, 1), u"005"_s);
        // The preview shows and prints the list sheet alone; the kept workbook prints every sheet.
        QString problem;
        const QString shown = RenderPdf(presenter.printCopies.value(0), out.path(), &problem);
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
        QCOMPARE(PdfPageCount(shown), 1);
        QVERIFY(PdfText(shown, 1).contains(u"1 / 1"_s));
        QCOMPARE(PdfPageCount(RenderPdf(f->ctx.WorkbookPath, out.filePath(u"kept"_s), &problem)), 3);
    }

    void failuresEndTheRunWithTheirMessage()
    {
        RecordingPresenter presenter;
        auto runWith = [&](const QString& settings, const PrintRequest& r) {
            if (!settings.isEmpty())
                f->exec(u"UPDATE SETTEI SET "_s + settings);
            f->messages.clear();
            return RunPrint(f->ctx, r, OpenXlsxOutputWorkbook, presenter);
        };
        // No settings row for the customer: E150, no work copy.
        PrintRequest r = SampleRequest();
        r.customer = u"未登録の客先"_s;
        QCOMPARE(runWith({}, r), PrintOutcome::NoSettings);
        QCOMPARE(f->codes(), QStringList(u"E150"_s));
        QVERIFY(!QFile::exists(f->ctx.WorkbookPath));
        // A sheet the template does not have: the settings error box with the error number.
        QCOMPARE(runWith(u"CH_ORGSHEET = '無いシート'"_s, SampleRequest()), PrintOutcome::Failed);
        QCOMPARE(f->shownBoxes(),
                 QStringList(
                     u"設定エラー|プレビュー中にエラーが発生しました。設定内容の確認を行って下さい（9)"_s));
        QCOMPARE(f->messages.shown[0].icon, MsgIcon::Stop);
        // The cause is the box's detail text: the missing sheet, those there are, the step, the file.
        for (const QString& part : {u"「無いシート」がありません（あるシート：部品表）"_s,
                                    u"処理：出力シート"_s, u"mfg_parts_template.xlsx"_s})
            QVERIFY2(f->messages.shown[0].detail.contains(part), qPrintable(f->messages.shown[0].detail));
        // A template that is gone: E114 with its path; an empty path asks, and cancelling says nothing.
        const QString missing = out.filePath(u"gone.xlsx"_s);
        QCOMPARE(runWith(u"CH_ORGSHEET = '部品表', CH_ORGPATH = '"_s + missing + u'\'', SampleRequest()),
                 PrintOutcome::TemplateNotOpened);
        QCOMPARE(f->messages.texts(),
                 QStringList(u"EXCELファイルが見つかりません。"_s + missing + u"を設定し直して下さい。"_s));
        QCOMPARE(runWith(u"CH_ORGPATH = ''"_s, SampleRequest()), PrintOutcome::TemplateNotOpened);
        QCOMPARE(f->dialogs.calls, 1);
        QVERIFY(f->messages.shown.isEmpty() && presenter.previewed.isEmpty());
    }

    void batchCommandWordsAndASettingsFileThatIsNoText()
    {
        if (batchProgram().isEmpty())
            QSKIP("buhinhyo-print is not built");
        // Its help is Japanese whatever the locale, and a run with nowhere to put its result is
        // refused before it starts.
        const QStringList c{u"LANG=C"_s, u"LC_ALL=C"_s};
        auto [code, text] = batch({}, {}, c, {u"--help"_s});
        QVERIFY2(code == 0 && text.startsWith(u"使い方: "_s) && text.contains(u"オプション:"_s) &&
                     !QRegularExpression(u"Usage|Options|Displays"_s).match(text).hasMatch(),
                 qPrintable(text));
        std::tie(code, text) = batch({}, PrintFixture::customer, c);
        QVERIFY2(code == 1 && text.contains(u"--out（ブック）か --pdf（PDF）"_s), qPrintable(text));
        // A settings file that is no text, as the program refuses it: UTF-16 with its byte-order mark,
        // and a binary file.
        for (const QByteArray& bytes :
             {QByteArray("\xff\xfe[\0D\0B\0M\0S\0]\0\r\0\n\0", 16), QByteArray("\x7f"
                                                                               "ELF\2\1\1\0\0\0\0\0\0\0\0\0",
                                                                               16)}) {
            QFile ini(f->path(u"PARA.ini"_s));
            QVERIFY(ini.open(QIODevice::WriteOnly | QIODevice::Truncate) && ini.write(bytes) == bytes.size());
            ini.close();
            std::tie(code, text) = batch({u"--out"_s, f->path(u"out.xlsx"_s)});
            QVERIFY2(code == 2 && text.startsWith(u"buhinhyo-print: 設定ファイルを読み込めません。"_s +
                                                  f->path(u"PARA.ini"_s) + u": 1 行目"_s),
                     qPrintable(text));
        }
    }

    void longListsSayWhatTheSheetCannotHold()
    {
        // 1030 pages of one line: page breaks stop at the sheet's 1023, and a remark longer than a cell
        // is cut; both are notes beside the preview.
        auto lines = MakeLines(1030);
        lines[0].biko = QString(40000, u'長');
        for (size_t i = 0; i < lines.size(); ++i)
            lines[i].zno = u"%1"_s.arg(i + 1, 4, 10, QChar(u'0'));
        f->addTable(u"DWG-95"_s, u"01"_s, u"1"_s, lines);
        f->exec(u"UPDATE SETTEI SET CH_MZUBAN_SR = '8', CH_MZUBAN_ER = '8', INT_PAGEMAX = 20"_s);
        RecordingPresenter p(out.filePath(u"long.xlsx"_s));
        QCOMPARE(RunPrint(f->ctx, SampleRequest(), OpenXlsxOutputWorkbook, p), PrintOutcome::Done);
        QCOMPARE(p.runNotes,
                 QStringList({u"備考: セルに入る 32767 文字を超える文字列を切って出力しました（1頁目）"_s,
                              u"改ページを出力できませんでした: シート \"部品表\" "
                              "の改ページが多すぎます（1枚のシートに1023まで）。（1025頁目から 6 か所）"_s}));
        xlsx::Workbook book = xlsx::Workbook::open(out.filePath(u"long.xlsx"_s).toStdString());
        const xlsx::Worksheet& s = book.sheet("部品表");
        QCOMPARE(s.rowBreaksAbove().size(), size_t(1023));
        QCOMPARE(text(s, 8, 5), QString(kCellTextMax, u'長'));
        QCOMPARE(text(s, 1029 * 20 + 8, 1) + text(s, 1029 * 20 + 5, 6), u"10301030 / 1030"_s);
        // Page tops past row 32,767 end the run with error 6 and its cause; nothing is shown, and the
        // work copy is the template as it was copied.
        f->exec(u"UPDATE SETTEI SET INT_PAGEMAX = 50"_s);
        RecordingPresenter failed;
        QCOMPARE(RunPrint(f->ctx, SampleRequest(), OpenXlsxOutputWorkbook, failed), PrintOutcome::Failed);
        QCOMPARE(f->messages.texts(),
                 QStringList(u"プレビュー中にエラーが発生しました。設定内容の確認を行って下さい（6)"_s));
        QVERIFY2(f->messages.shown[0].detail.contains(
                     u"頁の先頭行が 16 ビットの範囲（32767 まで）を超えました（657頁目、明細 657 行目"_s),
                 qPrintable(f->messages.shown[0].detail));
        QVERIFY(failed.previewed.isEmpty());
        QCOMPARE(readFileBytes(f->ctx.WorkbookPath),
                 readFileBytes(sourceDir() + u"/data/templates/mfg_parts_template.xlsx"_s));
    }

    void batchRunsStartedTogetherKeepTheirTables()
    {
        if (batchProgram().isEmpty())
            QSKIP("buhinhyo-print is not built");
        // The work folder of a run that was killed is removed by the next run.
        QProcess dead;
        dead.start(u"sleep"_s, {u"60"_s});
        QVERIFY(dead.waitForStarted());
        const QString left = f->path(u"WORK/print-%1"_s.arg(dead.processId()));
        dead.kill();
        dead.waitForFinished();
        QVERIFY(QDir().mkpath(left));
        for (int t = 1; t <= 6; ++t)
            f->addTable(u"P%1"_s.arg(t), u"01"_s, u"1"_s, MakeLines(40 + t));
        f->addTable(u"DWG-95"_s, u"01"_s, u"1"_s, MakeLines(95));
        // Six runs of six tables at once, three times, and the screens' run beside the first six.
        for (int round = 1; round <= 3; ++round) {
            std::vector<std::unique_ptr<QProcess>> runs;
            for (int t = 1; t <= 6; ++t) {
                runs.push_back(std::make_unique<QProcess>());
                runs.back()->start(batchProgram(),
                                   batchArgs(u"P%1"_s.arg(t),
                                             {u"--out"_s, out.filePath(u"%1-%2.xlsx"_s.arg(round).arg(t))}));
            }
            if (round == 1) {
                xlsx::Workbook screen = run(SampleRequest(), u"screen.xlsx"_s);
                QCOMPARE(text(screen.sheet("部品表"), 3, 2) + text(screen.sheet("部品表"), 122, 1),
                         u"DWG-95095"_s);
            }
            for (int t = 1; t <= 6; ++t) {
                QVERIFY(runs[size_t(t - 1)]->waitForFinished(120000));
                QVERIFY2(runs[size_t(t - 1)]->exitCode() == 0,
                         runs[size_t(t - 1)]->readAllStandardError().constData());
                xlsx::Workbook book =
                    xlsx::Workbook::open(out.filePath(u"%1-%2.xlsx"_s.arg(round).arg(t)).toStdString());
                const xlsx::Worksheet& s = book.sheet("部品表");
                // Its own drawing number on both pages, its own last line and nothing after it.
                QCOMPARE(text(s, 3, 2) + text(s, 53, 2) + u'|' + text(s, 57 + t, 1) + text(s, 58 + t, 1),
                         u"P%1P%1|%2"_s.arg(t).arg(40 + t, 3, 10, QChar(u'0')));
            }
        }
        QCOMPARE(QDir(f->path(u"WORK"_s)).entryList({u"print-*"_s}, QDir::Dirs), QStringList());
    }

    void outputsReplaceOnlyWholeFilesAndNeverTheirSources()
    {
        if (batchProgram().isEmpty())
            QSKIP("buhinhyo-print is not built");
        f->addTable(u"DWG-95"_s, u"01"_s, u"1"_s, MakeLines(95));
        // A template of any settings row, the database, the work copy: refused, left as they were.
        const QString customerTemplate = f->path(u"customer.xlsx"_s);
        QVERIFY(
            QFile::copy(sourceDir() + u"/data/templates/purchased_parts_template.xlsx"_s, customerTemplate));
        f->exec(u"UPDATE SETTEI SET CH_ORGPATH = '"_s + customerTemplate + u"' WHERE CH_BUHIN = '2'"_s);
        const QByteArray kept = readFileBytes(customerTemplate);
        for (const auto& [option, target, what] :
             {std::tuple{u"--out"_s, customerTemplate, u"出力設定の雛形または取込ファイル"_s},
              {u"--pdf"_s, f->path(u"DB/CADDB.sqlite"_s), u"データベース"_s},
              {u"--out"_s, f->path(u"WORK/TEMP.xlsx"_s), u"作業ファイル"_s}}) {
            const auto [code, err] = batch({option, target});
            QVERIFY2(code == 1 && err.contains(what + u"（"_s) && err.contains(u"上書きしません"_s),
                     qPrintable(QString::number(code) + err));
        }
        QCOMPARE(readFileBytes(customerTemplate), kept);
        // What killed saves of the work copy left beside it goes at the screens' next run.
        for (const QString& leftover : {u"WORK/TEMP.xlsx.Ab12Cd"_s, u"WORK/TEMP-print.xlsx.Xy34Zw"_s})
            writeCp932File(f->path(leftover), u"half"_s);
        run(SampleRequest(), u"screen.xlsx"_s);
        QCOMPARE(QDir(f->path(u"WORK"_s)).entryList(QDir::Files), QStringList({u"TEMP.xlsx"_s}));

        // A full disk under the outputs: the old files stay whole, the cause is named, nothing is left.
        const QString full = out.filePath(u"full"_s);
        if (const int error = mountSmallDisk(full))
            QSKIP(qPrintable(u"a small tmpfs cannot be mounted here: "_s +
                             QString::fromLocal8Bit(strerror(error))));
        writeCp932File(full + u"/list.xlsx"_s, u"old list"_s);
        writeCp932File(full + u"/list.pdf"_s, u"old pdf"_s);
        fillDisk(full);
        const auto [code, err] =
            batch({u"--out"_s, full + u"/list.xlsx"_s, u"--pdf"_s, full + u"/list.pdf"_s});
        QVERIFY2(code == 7 && err.count(u"空き容量がありません"_s) == 2, qPrintable(err));
        QCOMPARE(readFileBytes(full + u"/list.xlsx"_s) + readFileBytes(full + u"/list.pdf"_s),
                 QByteArray("old listold pdf"));
        QCOMPARE(QDir(full).entryList(QDir::Files),
                 QStringList({u"filler"_s, u"list.pdf"_s, u"list.xlsx"_s}));
        // A full WORK, then WORK that is a file: the template is not copied (75, 76), and the system's
        // cause is the box's detail and on stderr.
        QCOMPARE(mountSmallDisk(f->path(u"WORK"_s)), 0);
        fillDisk(f->path(u"WORK"_s));
        // The batch command speaks Japanese, the system's messages included.
        const QString fileCause = u"WORK はフォルダではなくファイルです"_s;
        for (const auto& [number, cause, batchCause] :
             {std::tuple{u"75"_s, u"No space left on device"_s, u"空き容量がありません"_s},
              {u"76"_s, fileCause, fileCause}}) {
            f->messages.clear();
            RecordingPresenter none;
            QCOMPARE(RunPrint(f->ctx, SampleRequest(), OpenXlsxOutputWorkbook, none),
                     PrintOutcome::TemplateNotOpened);
            QCOMPARE(
                f->messages.texts(),
                QStringList(u"雛形ファイルを作業ファイルにコピーできませんでした。エラーＣＤ："_s + number));
            QVERIFY2(f->messages.shown[0].detail.contains(cause), qPrintable(f->messages.shown[0].detail));
            const auto [batchCode, batchErr] = batch({u"--out"_s, out.filePath(u"none.xlsx"_s)});
            QVERIFY2(batchCode == 5 && batchErr.contains(batchCause), qPrintable(batchErr));
            ::umount2(QFile::encodeName(f->path(u"WORK"_s)).constData(), MNT_DETACH);
            QDir(f->path(u"WORK"_s)).removeRecursively();
            writeCp932File(f->path(u"WORK"_s), u"not a folder"_s);
        }
    }

    void batchCommand()
    {
        if (batchProgram().isEmpty())
            QSKIP("buhinhyo-print is not built");
        f->addTable(u"DWG-95"_s, u"01"_s, u"1"_s, MakeLines(95));
        // The PDF holds the list sheet's pages only; what the template's custom view cannot follow, and
        // what the page loop left out, are notes on stderr.
        useThreeSheetTemplate(u"three_sheet_views.xlsx"_s);
        f->exec(u"UPDATE SETTEI SET CH_MZAISHITU_SC = 'AA'"_s);
        auto run = [&](const QString& customer, const QString& pdf, const QStringList& env = {}) {
            return batch({u"--out"_s, out.filePath(u"batch.xlsx"_s), u"--pdf"_s, pdf}, customer, env);
        };
        auto [code, err] = run(PrintFixture::customer, out.filePath(u"batch.pdf"_s));
        QCOMPARE(code, 0);
        QCOMPARE(err, u"buhinhyo-print: 注意: "
                      u"このブックにはユーザー設定のビューがあります（行の挿入は反映されません）。\n"
                      "buhinhyo-print: 注意: 材質の列見出しを出力できませんでした: "
                      "列「AA」には出力できません（出力できる列は "
                      "A〜Z）（1頁目から 3 か所）\nbuhinhyo-print: 注意: 材質を出力できませんでした: "
                      "列「AA」には出力できません"
                      "（出力できる列は A〜Z）（1頁目から 95 か所）\n"_s);
        QCOMPARE(PdfPageCount(out.filePath(u"batch.pdf"_s)), 3);
        xlsx::Workbook book = xlsx::Workbook::open(out.filePath(u"batch.xlsx"_s).toStdString());
        QCOMPARE(text(book.sheet("部品表"), 4, 2) + text(book.sheet("部品表"), 55, 6),
                 u"搬送ユニット2 / 3"_s);
        // Without LibreOffice the workbook is still written, the run fails.
        QFile::remove(out.filePath(u"batch.xlsx"_s));
        std::tie(code, err) =
            run(PrintFixture::customer, out.filePath(u"none.pdf"_s), {u"PATH=/nonexistent"_s});
        QVERIFY(code != 0 && QFile::exists(out.filePath(u"batch.xlsx"_s)));
        QVERIFY(!QFile::exists(out.filePath(u"none.pdf"_s)));
        // A failure ends with a status of its own and its message, the cause after it, on stderr; no
        // workbook is written. Page tops past row 32,767 are such a failure.
        const QString tpl = sourceDir() + u"/data/templates/mfg_parts_template.xlsx"_s;
        for (const auto& [customer, settings, status, says] :
             {std::tuple{u"誰か"_s, QString(), 3, QStringList(u"出力設定がされていません。"_s)},
              {PrintFixture::customer, u"CH_ORGSHEET = '無いシート'"_s, 6,
               QStringList(
                   {u"原因: インデックスが有効範囲にありません。\n"_s, u"「無いシート」がありません"_s})},
              {PrintFixture::customer, u"CH_ORGPATH = '/nonexistent/template.xlsx'"_s, 5,
               QStringList(u"/nonexistent/template.xlsxを設定し直して下さい。"_s)},
              {PrintFixture::customer,
               u"CH_ORGPATH = '"_s + tpl + u"', CH_ORGSHEET = '部品表', INT_PAGEMAX = 20000"_s, 6,
               QStringList(u"原因: オーバーフローしました。\n頁の先頭行が 16 ビット"_s)},
              {PrintFixture::customer, u"CH_ORGPATH = ''"_s, 5,
               QStringList(u"雛形ファイルが指定されていません"_s)}}) {
            if (!settings.isEmpty())
                f->exec(u"UPDATE SETTEI SET "_s + settings);
            QFile::remove(out.filePath(u"batch.xlsx"_s));
            std::tie(code, err) = batch({u"--out"_s, out.filePath(u"batch.xlsx"_s)}, customer);
            for (const QString& part : says)
                QVERIFY2(code == status && err.contains(part), qPrintable(QString::number(code) + err));
            QVERIFY(!QFile::exists(out.filePath(u"batch.xlsx"_s)));
        }
    }

    // Customers' own forms set up as users set them and printed over three pages: each page of the
    // list prints as the form itself does (on its number of sheets, at its scale), over the form's
    // whole width, with its label, its first line, its merges, pictures and only the output sheet.
    void customersFormsPrintPageByPage_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("sheet");
        QTest::addColumn<QString>("rows");    // page height, first and last line row
        QTest::addColumn<QString>("cells");   // drawing number and page label cells
        QTest::addColumn<QString>("columns"); // item number, name, material, remarks, quantity, price,
                                              // amount, maker ("-": not printed)
        QTest::addColumn<QString>("edge");    // the form's own text in its rightmost column
        QTest::addColumn<bool>("picture");
        const QString parts = u"A C D E H G - F"_s;
        QTest::newRow("jp01") << u"jp01_etrobo_format.xlsx"_s << u"部品表"_s << u"96 6 96"_s << u"1C 1H"_s
                              << parts << u"備考"_s << false;
        QTest::newRow("jp02 titles") << u"jp02_etrobo_printtitles.xlsx"_s << u"部品表"_s << u"68 6 68"_s
                                     << u"1C 1H"_s << parts << u"備考"_s << false;
        QTest::newRow("jp04") << u"jp04_etrobo_pagebreakview.xlsx"_s << u"部品表"_s << u"30 6 30"_s
                              << u"1C 1H"_s << parts << u"備考"_s << false;
        QTest::newRow("jp05 past Z") << u"jp05_robocon_hatchuhyo.xlsx"_s << u"酸素除去装置"_s << u"135 6 95"_s
                                     << u"1A 1X"_s << u"A C I N T - - Q"_s << u"交付書番号"_s << false;
        QTest::newRow("jp06") << u"jp06_rcj_buhinhyo.xlsx"_s << u"Sheet1"_s << u"94 4 93"_s << u"1B 1J"_s
                              << u"A B C - H I - -"_s << u"Encoder"_s << false;
        QTest::newRow("jp07") << u"jp07_ledboard_buhinhyo.xlsx"_s << u"Sheet1"_s << u"72 5 71"_s << u"2B 2H"_s
                              << u"C B D F E G - -"_s << u"URL等"_s << false;
        QTest::newRow("jp08 sheets") << u"jp08_nixie_buhinlist.xlsx"_s << u"power基板"_s << u"47 2 46"_s
                                     << u"1F 1E"_s << u"A B C - - D - -"_s << QString() << false;
        QTest::newRow("jp09 table") << u"jp09_espwifi_table.xlsx"_s << u"esp_wifi_arduino"_s << u"18 2 17"_s
                                    << u"- 18L"_s << u"C A B D - G - K"_s << u"url"_s << false;
        QTest::newRow("jp11 fit logo") << u"jp11_mitsumorisho_logo.xlsx"_s << u"見積書"_s << u"37 24 30"_s
                                       << u"6B 2H"_s << u"B D - E G F - C"_s << u"小計"_s << true;
        QTest::newRow("jp12 mac") << u"jp12_seikyusho_mac.xlsx"_s << u"請求書(原紙)"_s << u"41 20 35"_s
                                  << u"4A 2I"_s << u"A B - - F G - -"_s << u"備考"_s << false;
        QTest::newRow("jp13 fit") << u"jp13_nohinsho.xlsx"_s << u"Sheet1"_s << u"50 17 37"_s << u"6B 4B"_s
                                  << u"B - - D E F - -"_s << u"金額"_s << false;
        QTest::newRow("jp14 fit mac") << u"jp14_mitsumorisho_dv.xlsx"_s << u"見積書"_s << u"37 18 29"_s
                                      << u"3A 3L"_s << u"A B - - J L - -"_s << u"金額"_s << false;
        QTest::newRow("jp15 hidden") << u"jp15_kenshusho_dv.xlsx"_s << u"Acceptance Request"_s
                                     << u"39 15 32"_s << u"5B 4J"_s << u"B - C - G I - -"_s << QString()
                                     << false;
        QTest::newRow("jp16") << u"jp16_seikyusho_plain.xlsx"_s << u"Sheet1"_s << u"27 12 22"_s << u"3A 5H"_s
                              << u"A C E - H F - -"_s << u"金額"_s << false;
        QTest::newRow("jp17 xls") << u"jp17_bom_akizuki.xls"_s << u"AVT15 BOM Akizuki"_s << u"16 5 15"_s
                                  << u"1A 1K"_s << u"B C - - A - - -"_s << QString() << false;
        QTest::newRow("jp19 xls") << u"jp19_ichigojam_bom.xls"_s << u"parts"_s << u"26 3 26"_s << u"1B 1F"_s
                                  << u"A B C F D - - E"_s << QString() << false;
    }
    void customersFormsPrintPageByPage()
    {
        QFETCH(QString, file);
        QFETCH(QString, sheet);
        QFETCH(QString, rows);
        QFETCH(QString, cells);
        QFETCH(QString, columns);
        QFETCH(QString, edge);
        QFETCH(bool, picture);
        const QString path = sourceDir() + u"/tests/data/xlsx/real/"_s + file;
        const QStringList r = rows.split(u' '), at = cells.split(u' '), letters = columns.split(u' ');
        QString sql = u"CH_ORGPATH = '"_s + path + u"', CH_ORGSHEET = '"_s + sheet + u"', INT_PAGEMAX = "_s +
                      r[0] + u", CH_HMIDASHI_R = ''"_s;
        for (int item = 0; item < kHeaderItemCount; ++item) {
            const QString cell = item == HDwgNo ? at[0] : item == HSheet ? at[1] : u"-"_s;
            const qsizetype digits = cell.indexOf(QRegularExpression(u"[A-Z]"_s));
            sql += u", "_s + HeaderFlag(item) + (cell == u"-" ? u" = 0"_s : u" = 1"_s) + u", "_s +
                   HeaderColumn(item, u"_R") + u" = '"_s + cell.left(digits) + u"', "_s +
                   HeaderColumn(item, u"_C") + u" = '"_s + cell.mid(digits) + u'\'';
        }
        for (int item = 0; item < kDetailItemCount; ++item)
            sql += u", "_s + DetailFlag(item) + (letters[item] == u"-" ? u" = 0"_s : u" = 1"_s) + u", "_s +
                   DetailColumnName(item, u"_SC") + u" = '"_s + letters[item] + u"', "_s +
                   DetailColumnName(item, u"_SR") + u" = '"_s + r[1] + u"', "_s +
                   DetailColumnName(item, u"_ER") + u" = '"_s + r[2] + u"', "_s + DetailHeading(item) +
                   u" = '"_s + kDetailCaptions[size_t(item)].toString() + u'\'';
        f->exec(u"UPDATE SETTEI SET "_s + sql + u" WHERE CH_BUHIN = '1'"_s);
        const int perPage = r[2].toInt() - r[1].toInt() + 1;
        // Printed as LibreOffice prints what the preview shows: one page of the list, then three.
        auto print = [&](int lines, const QString& name) {
            PrintRequest request = SampleRequest();
            request.dwgNo = name;
            f->addTable(name, u"01"_s, u"1"_s, MakeLines(lines));
            RecordingPresenter presenter(out.filePath(name + u"_book.xlsx"_s));
            const PrintOutcome outcome = RunPrint(f->ctx, request, OpenXlsxOutputWorkbook, presenter);
            QString problem = outcome == PrintOutcome::Done ? QString() : f->messages.texts().join(u'|');
            QFile::remove(out.filePath(name + u".xlsx"_s));
            QFile::copy(presenter.printCopies.value(0), out.filePath(name + u".xlsx"_s));
            const QString pdf = problem.isEmpty()
                                    ? RenderPdf(out.filePath(name + u".xlsx"_s), out.path(), &problem)
                                    : QString();
            return std::pair{pdf, problem};
        };
        const auto [one, problemOne] = print(perPage, u"one"_s);
        QVERIFY2(problemOne.isEmpty(), qPrintable(problemOne));
        const auto [pdf, problem] = print(2 * perPage + 1, u"three"_s);
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
        const int sheets = PdfPageCount(one);
        QCOMPARE(PdfPageCount(pdf), 3 * sheets);
        // every merged box of the form on each page
        xlsx::Workbook book = xlsx::Workbook::open(out.filePath(u"three_book.xlsx"_s).toStdString());
        book.validate();
        if (file.endsWith(u".xlsx")) {
            auto form = xlsx::Workbook::open(path.toStdString());
            const auto merges = form.sheet(sheet.toStdString()).mergedRanges();
            const auto inForm = std::count_if(merges.begin(), merges.end(),
                                              [&](const auto& m) { return m.lastRow <= r[0].toInt(); });
            QCOMPARE(qsizetype(book.sheet(sheet.toStdString()).mergedRanges().size()),
                     qsizetype(merges.size()) + 2 * inForm);
        }
        // Each page's label on a sheet of its own, its first line printed, the form's rightmost text on
        // every page, its pictures three times as often as on one page.
        auto textOf = [](const QString& file, int sheets) {
            QStringList texts;
            for (int k = 1; k <= sheets; ++k)
                texts << u' ' + PdfText(file, k).simplified().replace(u" / "_s, u"/"_s) + u' ';
            return texts;
        };
        const QStringList texts = textOf(pdf, 3 * sheets);
        const QRegularExpression label(u"\\s([0-9])/3(?=\\s)"_s);
        for (int page = 1; page <= 3; ++page) {
            const QString own = u" %1/3 "_s.arg(page);
            const auto on =
                std::find_if(texts.begin(), texts.end(), [&](const QString& t) { return t.contains(own); });
            QVERIFY2(on != texts.end(), qPrintable(own));
            for (auto m = label.globalMatch(*on); m.hasNext();)
                QCOMPARE(m.next().captured(1).toInt(), page);
            QVERIFY(texts.join(u'|').contains(u"%1"_s.arg((page - 1) * perPage + 1, 3, 10, QChar(u'0'))));
        }
        auto images = [](const QString& file) {
            QProcess list;
            list.start(u"pdfimages"_s, {u"-list"_s, file});
            list.waitForFinished(60000);
            return int(list.readAllStandardOutput().count('\n')) - 2;
        };
        QCOMPARE(images(pdf), 3 * images(one));
        QCOMPARE(images(one) > 0, picture);
        if (!edge.isEmpty())
            QVERIFY2(texts.join(u'|').count(edge) >= 3, qPrintable(edge));
    }

    // The template copied to the work copy, and old .xls templates converted by LibreOffice.
    void templateIsCopiedToTheWorkCopy()
    {
        LibreOffice::setProgram(u"/nonexistent/soffice"_s);
        for (const auto& [name, text] : {std::pair{u"SHINKI"_s, u"not a workbook"_s},
                                         {u"t.xlsx"_s, u"first"_s},
                                         {u"u.xlsx"_s, u"second"_s},
                                         {u"old.xls"_s, u"xls"_s}})
            writeCp932File(f->path(name), text);
        WorkbookControl wc(f->ctx);
        // "SHINKI" always asks, even when a file of that name exists; cancelled: "NO", nothing copied.
        QCOMPARE(wc.OpenTemplate(u"SHINKI"_s), u"NO"_s);
        QCOMPARE(f->dialogs.lastTitle, u"EXCELﾌｧｲﾙ指定"_s);
        QVERIFY(!QFile::exists(f->ctx.WorkbookPath));
        // Chosen: copied to the work copy; a second template overwrites it.
        f->dialogs.next << f->path(u"t.xlsx"_s);
        QCOMPARE(wc.OpenTemplate(QString()), f->path(u"t.xlsx"_s));
        QCOMPARE(wc.OpenTemplate(f->path(u"u.xlsx"_s)), f->path(u"u.xlsx"_s));
        QCOMPARE(readFileBytes(f->ctx.WorkbookPath), QByteArray("second"));
        // The engine cannot open the copy: E109; the work copy cannot be replaced: E111; an .xls
        // template without LibreOffice: what to do instead.
        wc.setOpener([](const QString&) { throw RuntimeError(1004, u"broken"_s); });
        QCOMPARE(wc.OpenTemplate(f->path(u"t.xlsx"_s)), u"NO"_s);
        QFile::remove(f->ctx.WorkbookPath);
        QVERIFY(QDir().mkpath(f->ctx.WorkbookPath + u"/inner"_s));
        wc.setOpener(nullptr);
        QCOMPARE(wc.OpenTemplate(f->path(u"t.xlsx"_s)), u"NO"_s);
        QCOMPARE(wc.OpenTemplate(f->path(u"old.xls"_s)), u"NO"_s);
        const QStringList texts = f->messages.texts();
        QCOMPARE(texts.size(), 3);
        QCOMPARE(texts[0], u"EXCELファイルを開けませんでした。エラーＣＤ：1004"_s);
        QVERIFY(texts[1].startsWith(u"雛形ファイルを作業ファイルにコピーできませんでした。エラーＣＤ："_s));
        // Each box carries its cause: the engine's message and the template, the work copy's path.
        QVERIFY(f->messages.shown[0].detail.startsWith(u"broken\n雛形："_s));
        QVERIFY(f->messages.shown[1].detail.contains(f->ctx.WorkbookPath));
        QVERIFY(texts[2].contains(u".xlsx 形式で保存し直し"_s));
    }

    void xlsConvertedOnceAndCached()
    {
        if (!LibreOffice::installed())
            QSKIP("LibreOffice is not installed");
        writeCp932File(f->path(u"seed.csv"_s), u"A,B\n1,2\n"_s);
        QCOMPARE(LibreOffice::convert(f->path(u"profile"_s), u"xls"_s, f->dir.path(), f->path(u"seed.csv"_s)),
                 QString());
        WorkbookControl wc(f->ctx);
        QCOMPARE(wc.OpenTemplate(f->path(u"seed.xls"_s)), f->path(u"seed.xls"_s));
        const QByteArray copy = readFileBytes(f->ctx.WorkbookPath);
        QVERIFY(copy.startsWith("PK") && f->messages.shown.isEmpty()); // an .xlsx package
        // The second time comes from the cache, even without LibreOffice.
        LibreOffice::setProgram(u"/nonexistent/soffice"_s);
        QCOMPARE(wc.OpenTemplate(f->path(u"seed.xls"_s)), f->path(u"seed.xls"_s));
        QCOMPARE(readFileBytes(f->ctx.WorkbookPath), copy);
        // LibreOffice ends with status 0 even when it could not load the file.
        QCOMPARE(
            LibreOffice::checkConversion(f->ctx.WorkbookPath, "Error: source file could not be loaded\n"),
            u"LibreOffice がブックを読み込めませんでした。原因: Error: source file could not be loaded"_s);
    }
};

QTEST_GUILESS_MAIN(TestPrintRun)
#include "TestPrintRun.moc"
