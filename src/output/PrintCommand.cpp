// buhinhyo-print: the print run of the program without a window, for scripts and tests.
#include "AppContext.h"
#include "BatchOutput.h"
#include "Connect.h"
#include "Database.h"
#include "IniFile.h"
#include "LibreOffice.h"
#include "PartsRecords.h"
#include "PrintRequest.h"
#include "PrintRun.h"
#include "QtJapanese.h"
#include "RuntimeError.h"
#include "SettingsRecord.h"
#include "WarmRenderer.h"
#include "WorkbookControl.h"
#include "XlsxOutputWorkbook.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QTextStream>

#include <cerrno>
#include <csignal>
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

// No dialogs in a batch run: a template to be chosen counts as cancelled, and says so.
class NoFileDialogs : public FileDialogService
{
public:
    QString customer, kind;
    QString getOpenFileName(const QString&, const QStringList&) override
    {
        WriteLine(stderr,
                  QStringLiteral(
                      "buhinhyo-print: 客先「%1」区分 %2 の出力設定に雛形ファイルが指定されていません。"
                      "画面なしでは雛形を選べないため、印刷用エクセル設定で雛形ファイルを指定して下さい。")
                      .arg(customer, kind));
        return {};
    }
};

bool ProcessLives(qint64 pid)
{
    return ::kill(static_cast<pid_t>(pid), 0) == 0 || errno == EPERM;
}

// The batch run's own work folder, WORK/print-<process id>, removed at the end: runs started
// together, and the screens with their WORK/TEMP.xlsx, never write into each other's work copy.
// Folders left by runs that no longer live (killed) are removed first.
class BatchWorkFolder
{
public:
    explicit BatchWorkFolder(const QString& workRoot)
    {
        const QDir root(workRoot);
        const qint64 self = QCoreApplication::applicationPid();
        for (const QFileInfo& f :
             root.entryInfoList({QStringLiteral("print-*")}, QDir::Dirs | QDir::NoDotAndDotDot)) {
            bool number = false;
            const qint64 pid = f.fileName().mid(6).toLongLong(&number);
            if (number && pid > 0 && (pid == self || !ProcessLives(pid)))
                QDir(f.absoluteFilePath()).removeRecursively();
        }
        m_path = root.absoluteFilePath(QStringLiteral("print-") + QString::number(self));
    }
    ~BatchWorkFolder() { QDir(m_path).removeRecursively(); }
    BatchWorkFolder(const BatchWorkFolder&) = delete;
    BatchWorkFolder& operator=(const BatchWorkFolder&) = delete;
    const QString& path() const { return m_path; }

private:
    QString m_path;
};

class BatchPresenter : public PrintPresenter
{
public:
    QString out;
    QString pdf;
    QString workFolder; // the run's own
    QString pdfProfile; // LibreOffice's profile, shared by the batch runs of the folder
    bool failed = false;

    void preview(const QString& workbookPath, const QString& printPath, const QStringList& notes,
                 const QStringList& runNotes) override
    {
        for (const QString& note : notes + runNotes)
            WriteLine(stderr, QStringLiteral("buhinhyo-print: 注意: ") + note);
        if (!out.isEmpty()) {
            const QString why = ReplaceWithCopy(workbookPath, out);
            if (!why.isEmpty()) {
                WriteLine(stderr, QStringLiteral("buhinhyo-print: ブックを保存できません: ") + why);
                failed = true;
            }
        }
        if (!pdf.isEmpty()) {
            const QString folder = QDir(workFolder).absoluteFilePath(QStringLiteral("pdf"));
            const QString made = LibreOffice::convertedPath(printPath, folder, QStringLiteral("pdf"));
            QDir().mkpath(folder);
            // The program's renderer when the program runs on this folder, else a LibreOffice of
            // its own.
            QString problem =
                WarmRenderer::renderThroughProgram(QFileInfo(pdfProfile).absolutePath(), printPath, made);
            if (!problem.isEmpty()) {
                // One conversion at a time on the shared profile: LibreOffice hands a second job on
                // one profile over to the first instance or refuses it.
                QLockFile lock(pdfProfile + QStringLiteral(".lock"));
                lock.setStaleLockTime(0);
                lock.lock();
                problem = LibreOffice::convert(pdfProfile, QStringLiteral("pdf"), folder, printPath);
            }
            if (problem.isEmpty())
                problem = ReplaceWithCopy(made, pdf);
            if (!problem.isEmpty()) {
                WriteLine(stderr, QStringLiteral("buhinhyo-print: PDF を作成できません: ") + problem);
                failed = true;
            }
        }
    }
    void keepWorkbook(const QString&) override {}
};

// What the file at target is when it is one that no output may replace: the settings file, the
// database, the screens' work copy, a template or import workbook of any settings row; else "".
QString ProtectedFile(const QString& target, const QList<std::pair<QString, QString>>& kept)
{
    for (const auto& [path, what] : kept)
        if (SameFile(target, path))
            return what + QStringLiteral("（") + QDir::toNativeSeparators(path) + QStringLiteral("）");
    return {};
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("buhinhyo-print"));
    // The help's own words ("使い方:", "オプション:") in Japanese too.
    LoadQtJapanese(app);

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("登録済みの部品表を客先の雛形でEXCELファイルに出力します（画面なし）。\n"
                       "プログラムと同じフォルダの PARA.ini とデータベースを使います。") +
        QString::fromUtf8(kExitCodes));
    // Qt's own help option speaks English; this one says the same in Japanese.
    const QCommandLineOption helpOpt({QStringLiteral("h"), QStringLiteral("help")},
                                     QStringLiteral("このヘルプを表示する。"));
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
    const QCommandLineOption outOpt(
        QStringLiteral("out"),
        QStringLiteral("出力したブックの保存先（--out か --pdf の少なくとも一方が必要）。"),
        QStringLiteral("FILE.xlsx"));
    const QCommandLineOption pdfOpt(QStringLiteral("pdf"), QStringLiteral("PDF にも出力する (LibreOffice)。"),
                                    QStringLiteral("FILE.pdf"));
    parser.addOptions(
        {helpOpt, dwgOpt, assyOpt, kindOpt, customerOpt, sumOpt, pageOpt, makerOpt, outOpt, pdfOpt});
    if (!parser.parse(QCoreApplication::arguments())) {
        WriteLine(stderr, QStringLiteral("buhinhyo-print: ") + parser.errorText());
        return ExitUsage;
    }
    if (parser.isSet(helpOpt)) {
        std::fputs(parser.helpText().toUtf8().constData(), stdout);
        return ExitDone;
    }
    const QString kind = parser.value(kindOpt);
    if (!parser.isSet(dwgOpt) || !parser.isSet(assyOpt) || !parser.isSet(customerOpt) ||
        (kind != u"1" && kind != u"2") || !parser.positionalArguments().isEmpty()) {
        WriteLine(
            stderr,
            QStringLiteral(
                "buhinhyo-print: --dwgno, --assy, --kind 1|2, --customer を指定して下さい (--help 参照)"));
        return ExitUsage;
    }
    // The work copy is overwritten by the next run: a run without a place to keep its result
    // would print for nothing.
    if (!parser.isSet(outOpt) && !parser.isSet(pdfOpt)) {
        WriteLine(stderr,
                  QStringLiteral("buhinhyo-print: 出力先がありません。--out（ブック）か --pdf（PDF）、"
                                 "または両方を指定して下さい (--help 参照)"));
        return ExitUsage;
    }

    StderrMessageService messages(QStringLiteral("buhinhyo-print"), MsgAnswer::Yes);
    NoFileDialogs dialogs;
    AppContext ctx;
    ctx.setPaths(QCoreApplication::applicationDirPath());
    ctx.messages = &messages;
    ctx.fileDialogs = &dialogs;
    if (!QFileInfo(ctx.IniPath).isFile()) {
        WriteLine(stderr,
                  QStringLiteral("buhinhyo-print: ") + ctx.IniPath + QStringLiteral(" がありません。"));
        return ExitSetup;
    }
    // A file that is not a settings file at all is refused as the program refuses it at start.
    if (const QString damage = IniFile::describeDamage(ctx.IniPath); !damage.isEmpty()) {
        WriteLine(stderr, QStringLiteral("buhinhyo-print: 設定ファイルを読み込めません。") + ctx.IniPath +
                              QStringLiteral(": ") + damage);
        return ExitSetup;
    }
    ctx.makeIni();
    QDir().mkpath(ctx.AppPath + QStringLiteral("WORK"));
    ctx.CurrentKind = kind;
    // A print only reads: the database may be on a read-only medium or held by another program.
    ctx.DbReadOnly = true;
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
    QList<std::pair<QString, QString>> kept = {
        {ctx.IniPath, QStringLiteral("設定ファイル")},
        {ctx.WorkbookPath, QStringLiteral("作業ファイル")},
        {PrintCopyPath(ctx.WorkbookPath), QStringLiteral("作業ファイル")}};
    try {
        const ConnectResult connected = ConnectDatabase(ctx);
        if (!connected.dbFilePath.isEmpty())
            for (const QString& suffix :
                 {QString(), QStringLiteral("-wal"), QStringLiteral("-shm"), QStringLiteral("-journal")})
                kept.push_back({QString(connected.dbFilePath).replace(u'\\', u'/') + suffix,
                                QStringLiteral("データベース")});
        if (!ctx.DbConnection)
            throw RuntimeError(91, QStringLiteral("データベースに接続できません。"));
        const std::optional<PartsHeader> header =
            ReadHeader(*ctx.DbConnection, request.assy, request.dwgNo, kind);
        if (!header) {
            WriteLine(stderr, QStringLiteral("buhinhyo-print: 部品表がありません: ") + request.dwgNo + u' ' +
                                  request.assy + QStringLiteral(" 区分 ") + kind);
            return ExitNoTable;
        }
        request.name = header->name;
        request.date = header->date;
        request.designer = header->designer;
        for (const QString& path : WorkbookPathsOfAllSettings(*ctx.DbConnection))
            kept.push_back({path, QStringLiteral("出力設定の雛形または取込ファイル")});
    } catch (const RuntimeError& e) {
        WriteLine(
            stderr,
            QStringLiteral("buhinhyo-print: データベースエラー %1: %2").arg(e.number()).arg(e.description()));
        return ExitSetup;
    }

    BatchPresenter presenter;
    presenter.out = parser.isSet(outOpt) ? QFileInfo(parser.value(outOpt)).absoluteFilePath() : QString();
    presenter.pdf = parser.isSet(pdfOpt) ? QFileInfo(parser.value(pdfOpt)).absoluteFilePath() : QString();
    // The list never replaces a file the program or its settings need.
    for (const auto& [option, target] :
         {std::pair{QStringLiteral("--out"), presenter.out}, {QStringLiteral("--pdf"), presenter.pdf}}) {
        if (target.isEmpty())
            continue;
        QString what = ProtectedFile(target, kept);
        if (what.isEmpty() && option == u"--pdf" && SameFile(target, presenter.out))
            what = QStringLiteral("--out の出力先");
        if (!what.isEmpty()) {
            WriteLine(stderr, QStringLiteral("buhinhyo-print: %1 に指定された %2 は%3です。上書きしません。")
                                  .arg(option, QDir::toNativeSeparators(target), what));
            return ExitUsage;
        }
    }
    const BatchWorkFolder work(QFileInfo(ctx.WorkbookPath).absolutePath());
    ctx.WorkbookPath = work.path() + QStringLiteral("/TEMP.xlsx");
    presenter.workFolder = work.path();
    presenter.pdfProfile = ctx.AppPath + QStringLiteral("WORK/lo-profile-print");
    dialogs.customer = request.customer;
    dialogs.kind = kind;
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
