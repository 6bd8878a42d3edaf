// buhinhyo-print: the print run of the program without a window, for scripts and tests.
#include "AppContext.h"
#include "Connect.h"
#include "Database.h"
#include "LibreOffice.h"
#include "PartsRecords.h"
#include "PrintRequest.h"
#include "PrintRun.h"
#include "RuntimeError.h"
#include "WarmRenderer.h"
#include "WorkbookControl.h"
#include "XlsxOutputWorkbook.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTextStream>

#include <cstdio>

namespace
{

enum ExitCode {
    ExitDone = 0,
    ExitUsage = 1,
    ExitSetup = 2,      // settings file missing, database not reachable
    ExitNoSettings = 3, // no output settings for the customer and kind ("E150")
    ExitNoTable = 4,    // no stored parts table of that drawing number, assembly and kind
    ExitTemplate = 5,   // template missing or not usable ("E114", "E109", "E111")
    ExitRunError = 6,   // an error during the run ("設定エラー")
    ExitOutput = 7,     // the workbook or PDF could not be written where asked
};

const char* const kExitCodes = "\n終了コード:\n"
                               "  0  部品表を出力した\n"
                               "  1  引数の誤り\n"
                               "  2  PARA.ini がない、またはデータベースに接続できない\n"
                               "  3  客先と区分の出力設定がない (E150)\n"
                               "  4  図番・ASSY・区分の部品表が登録されていない\n"
                               "  5  雛形ファイルがない、または開けない (E114, E109, E111)\n"
                               "  6  出力中のエラー (設定エラー)\n"
                               "  7  ブックまたは PDF を書き込めない\n";

void printErr(const QString& text)
{
    std::fputs(text.toUtf8().constData(), stderr);
    std::fputc('\n', stderr);
}

// Message boxes become lines on stderr; questions are answered Yes.
class StderrMessageService : public MessageService
{
public:
    MsgAnswer show(MsgIcon, MsgButtons buttons, const QString& title, const QString& text,
                   const QString& detail = QString()) override
    {
        printErr(QStringLiteral("buhinhyo-print: [") + title + QStringLiteral("] ") + text);
        if (!detail.isEmpty())
            printErr(QStringLiteral("buhinhyo-print: 原因: ") + detail);
        return buttons == MsgButtons::YesNo ? MsgAnswer::Yes : MsgAnswer::Ok;
    }
    void beep() override {}
};

// No dialogs in a batch run: a template to be chosen counts as cancelled.
class NoFileDialogs : public FileDialogService
{
public:
    QString getOpenFileName(const QString&, const QStringList&) override { return {}; }
};

class BatchPresenter : public PrintPresenter
{
public:
    QString out;
    QString pdf;
    QString workFolder;
    bool failed = false;

    void preview(const QString& workbookPath, const QString& printPath, const QStringList& notes) override
    {
        for (const QString& note : notes)
            printErr(QStringLiteral("buhinhyo-print: 注意: ") + note);
        if (!out.isEmpty()) {
            QFile::remove(out);
            if (!CopyWorkbookFile(workbookPath, out)) {
                printErr(QStringLiteral("buhinhyo-print: ") + out + QStringLiteral(" を書き込めません。"));
                failed = true;
            }
        }
        if (!pdf.isEmpty()) {
            const QString folder = QDir(workFolder).absoluteFilePath(QStringLiteral("print-pdf"));
            const QString made = LibreOffice::convertedPath(printPath, folder, QStringLiteral("pdf"));
            // The program's renderer when the program runs on this folder, else a LibreOffice of its own.
            QDir().mkpath(folder);
            QString problem = WarmRenderer::renderThroughProgram(workFolder, printPath, made);
            if (!problem.isEmpty())
                problem = LibreOffice::convert(
                    QDir(workFolder).absoluteFilePath(QStringLiteral("lo-profile-print")),
                    QStringLiteral("pdf"), folder, printPath);
            QFile::remove(pdf);
            if (!problem.isEmpty() || !QFile::rename(made, pdf)) {
                if (problem.isEmpty() && QFile::copy(made, pdf)) {
                    QFile::remove(made);
                    return;
                }
                printErr(QStringLiteral("buhinhyo-print: PDF を作成できません: ") + problem);
                failed = true;
            }
        }
    }
    void keepWorkbook(const QString&) override {}
};

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("buhinhyo-print"));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("登録済みの部品表を客先の雛形でEXCELファイルに出力します（画面なし）。\n"
                       "プログラムと同じフォルダの PARA.ini とデータベースを使います。") +
        QString::fromUtf8(kExitCodes));
    parser.addHelpOption();
    const QCommandLineOption dwgOpt(QStringLiteral("dwgno"), QStringLiteral("図番 (CH_DWGNO)。"),
                                    QStringLiteral("D"));
    const QCommandLineOption assyOpt(QStringLiteral("assy"), QStringLiteral("ASSY (CH_ASSY)。"),
                                     QStringLiteral("A"));
    const QCommandLineOption kindOpt(QStringLiteral("kind"), QStringLiteral("1 製作部品表、2 購入部品表。"),
                                     QStringLiteral("1|2"));
    const QCommandLineOption customerOpt(QStringLiteral("customer"), QStringLiteral("出力設定を使う客先。"),
                                         QStringLiteral("C"));
    const QCommandLineOption sumOpt(QStringLiteral("sum"),
                                    QStringLiteral("品名､材質､備考、単位、ﾒｰｶｰでｻﾏﾘｰ。"));
    const QCommandLineOption pageOpt(QStringLiteral("page-per-maker"),
                                     QStringLiteral("印刷時にﾒｰｶｰ別に改頁。"));
    const QCommandLineOption makerOpt(QStringLiteral("maker"), QStringLiteral("このﾒｰｶｰの行だけを出力。"),
                                      QStringLiteral("M"));
    const QCommandLineOption outOpt(QStringLiteral("out"), QStringLiteral("出力したブックの保存先。"),
                                    QStringLiteral("FILE.xlsx"));
    const QCommandLineOption pdfOpt(QStringLiteral("pdf"), QStringLiteral("PDF にも出力する (LibreOffice)。"),
                                    QStringLiteral("FILE.pdf"));
    parser.addOptions({dwgOpt, assyOpt, kindOpt, customerOpt, sumOpt, pageOpt, makerOpt, outOpt, pdfOpt});
    if (!parser.parse(QCoreApplication::arguments())) {
        printErr(QStringLiteral("buhinhyo-print: ") + parser.errorText());
        return ExitUsage;
    }
    if (parser.isSet(QStringLiteral("help"))) {
        std::fputs(parser.helpText().toUtf8().constData(), stdout);
        return ExitDone;
    }
    const QString kind = parser.value(kindOpt);
    if (!parser.isSet(dwgOpt) || !parser.isSet(assyOpt) || !parser.isSet(customerOpt) ||
        (kind != u"1" && kind != u"2") || !parser.positionalArguments().isEmpty()) {
        printErr(QStringLiteral(
            "buhinhyo-print: --dwgno, --assy, --kind 1|2, --customer を指定して下さい (--help 参照)"));
        return ExitUsage;
    }

    StderrMessageService messages;
    NoFileDialogs dialogs;
    AppContext ctx;
    ctx.setPaths(QCoreApplication::applicationDirPath());
    ctx.messages = &messages;
    ctx.fileDialogs = &dialogs;
    if (!QFileInfo(ctx.IniPath).isFile()) {
        printErr(QStringLiteral("buhinhyo-print: ") + ctx.IniPath + QStringLiteral(" がありません。"));
        return ExitSetup;
    }
    ctx.makeIni();
    QDir().mkpath(ctx.AppPath + QStringLiteral("WORK"));
    ctx.CurrentKind = kind;
    ctx.makerFilterOn = parser.isSet(makerOpt);
    ctx.makerFilterText = parser.value(makerOpt);

    PrintRequest request;
    request.runMode = QStringLiteral("HONBAN");
    request.dwgNo = parser.value(dwgOpt);
    request.assy = parser.value(assyOpt);
    request.kind = kind;
    request.customer = parser.value(customerOpt);
    request.summary = parser.isSet(sumOpt);
    request.pagePerMaker = parser.isSet(pageOpt);
    try {
        ConnectDatabase(ctx);
        if (!ctx.DbConnection)
            throw RuntimeError(91, QStringLiteral("データベースに接続できません。"));
        const std::optional<PartsHeader> header =
            ReadHeader(*ctx.DbConnection, request.assy, request.dwgNo, kind);
        if (!header) {
            printErr(QStringLiteral("buhinhyo-print: 部品表がありません: ") + request.dwgNo + u' ' +
                     request.assy + QStringLiteral(" 区分 ") + kind);
            return ExitNoTable;
        }
        request.name = header->name;
        request.date = header->date;
        request.designer = header->designer;
    } catch (const RuntimeError& e) {
        printErr(
            QStringLiteral("buhinhyo-print: データベースエラー %1: %2").arg(e.number()).arg(e.description()));
        return ExitSetup;
    }

    BatchPresenter presenter;
    presenter.out = parser.isSet(outOpt) ? QFileInfo(parser.value(outOpt)).absoluteFilePath() : QString();
    presenter.pdf = parser.isSet(pdfOpt) ? QFileInfo(parser.value(pdfOpt)).absoluteFilePath() : QString();
    presenter.workFolder = QFileInfo(ctx.WorkbookPath).absolutePath();
    switch (RunPrint(ctx, request, OpenXlsxOutputWorkbook, presenter)) {
    case PrintOutcome::NoSettings:
        return ExitNoSettings;
    case PrintOutcome::TemplateNotOpened:
        return ExitTemplate;
    case PrintOutcome::Failed:
        return ExitRunError;
    case PrintOutcome::Done:
        break;
    }
    return presenter.failed ? ExitOutput : ExitDone;
}
