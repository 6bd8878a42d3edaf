// buhinhyo-print: the print run of the program without a window, for scripts and tests.
#include "AppContext.h"
#include "Connect.h"
#include "Database.h"
#include "LibreOffice.h"
#include "PrintRequest.h"
#include "PrintRun.h"
#include "RuntimeError.h"
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

const char* const kExitCodes = "\nExit status:\n"
                               "  0  the list was printed\n"
                               "  1  wrong arguments\n"
                               "  2  PARA.ini missing or the database could not be opened\n"
                               "  3  no output settings for the customer and kind (E150)\n"
                               "  4  no stored parts table for the drawing number, assembly and kind\n"
                               "  5  the template is missing or could not be opened (E114, E109, E111)\n"
                               "  6  an error during the print run (設定エラー)\n"
                               "  7  the workbook or the PDF could not be written\n";

void printErr(const QString& text)
{
    std::fputs(text.toUtf8().constData(), stderr);
    std::fputc('\n', stderr);
}

// Message boxes become lines on stderr; questions are answered Yes.
class StderrMessageService : public MessageService
{
public:
    MsgAnswer show(MsgIcon, MsgButtons buttons, const QString& title, const QString& text) override
    {
        printErr(QStringLiteral("buhinhyo-print: [") + title + QStringLiteral("] ") + text);
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

    void preview(const QString& workbookPath) override
    {
        if (!out.isEmpty()) {
            QFile::remove(out);
            if (!QFile::copy(workbookPath, out)) {
                printErr(QStringLiteral("buhinhyo-print: ") + out + QStringLiteral(" を書き込めません。"));
                failed = true;
            }
        }
        if (!pdf.isEmpty()) {
            const QString folder = QDir(workFolder).absoluteFilePath(QStringLiteral("print-pdf"));
            const QString problem =
                LibreOffice::convert(QDir(workFolder).absoluteFilePath(QStringLiteral("lo-profile-print")),
                                     QStringLiteral("pdf"), folder, workbookPath);
            const QString made = LibreOffice::convertedPath(workbookPath, folder, QStringLiteral("pdf"));
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
        QStringLiteral("Prints a stored parts list through its customer's template, without a window.\n"
                       "Reads PARA.ini and the database of the program's own folder.") +
        QString::fromUtf8(kExitCodes));
    parser.addHelpOption();
    const QCommandLineOption dwgOpt(QStringLiteral("dwgno"), QStringLiteral("Drawing number (CH_DWGNO)."),
                                    QStringLiteral("D"));
    const QCommandLineOption assyOpt(QStringLiteral("assy"), QStringLiteral("Assembly (CH_ASSY)."),
                                     QStringLiteral("A"));
    const QCommandLineOption kindOpt(
        QStringLiteral("kind"), QStringLiteral("1 manufactured, 2 purchased parts."), QStringLiteral("1|2"));
    const QCommandLineOption customerOpt(QStringLiteral("customer"),
                                         QStringLiteral("Customer whose output settings are used."),
                                         QStringLiteral("C"));
    const QCommandLineOption sumOpt(QStringLiteral("sum"),
                                    QStringLiteral("Sum per maker, name, material, units and remarks."));
    const QCommandLineOption pageOpt(QStringLiteral("page-per-maker"),
                                     QStringLiteral("A new page for each maker."));
    const QCommandLineOption makerOpt(QStringLiteral("maker"),
                                      QStringLiteral("Only the lines of this maker."), QStringLiteral("M"));
    const QCommandLineOption outOpt(QStringLiteral("out"),
                                    QStringLiteral("Where to write the filled workbook."),
                                    QStringLiteral("FILE.xlsx"));
    const QCommandLineOption pdfOpt(QStringLiteral("pdf"),
                                    QStringLiteral("Also render it to this PDF (LibreOffice)."),
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
            "buhinhyo-print: --dwgno, --assy, --kind 1|2 and --customer are needed (see --help)"));
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
        std::unique_ptr<Recordset> rs;
        OpenRecordset(*ctx.DbConnection, rs,
                      QStringLiteral("SELECT * FROM BUHINHYO WHERE CH_ASSY  = '") + request.assy + u'\'' +
                          QStringLiteral(" AND CH_DWGNO = '") + request.dwgNo + u'\'' +
                          QStringLiteral(" AND CH_BUHIN = '") + kind + u'\'');
        if (rs->RecordCount() == 0) {
            printErr(QStringLiteral("buhinhyo-print: 部品表がありません: ") + request.dwgNo + u' ' +
                     request.assy + QStringLiteral(" 区分 ") + kind);
            return ExitNoTable;
        }
        rs->MoveFirst();
        request.name = rs->Field(QStringLiteral("CH_NAME"));
        request.date = rs->Field(QStringLiteral("CH_HDATE"));
        request.designer = rs->Field(QStringLiteral("CH_DESINED"));
        rs->Close();
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
