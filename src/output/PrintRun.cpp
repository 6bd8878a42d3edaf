#include "PrintRun.h"

#include "AppContext.h"
#include "Database.h"
#include "ListQuery.h"
#include "PrintList.h"
#include "PrintRequest.h"
#include "RuntimeError.h"
#include "WorkbookControl.h"

#include <QDir>
#include <QFileInfo>

#include <new>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace
{
void ReleaseFreeMemory()
{
#ifdef __GLIBC__
    malloc_trim(0);
#endif
}
} // namespace

QString PrintErrorText(int number)
{
    // The opening bracket is full width and the closing one half width, as users have always seen it.
    return QStringLiteral("プレビュー中にエラーが発生しました。設定内容の確認を行って下さい（") +
           QString::number(number) + u')';
}

PrintOutcome RunPrint(AppContext& ctx, const PrintRequest& request, const WorkbookOpener& opener,
                      PrintPresenter& presenter)
{
    bool busy = false;
    // What the run was doing and on which template, for the error box's detail text.
    QString step = QStringLiteral("出力設定の読み込み");
    QString templatePath;
    // The box shows the number only; what lies behind it goes into its detail text.
    auto failed = [&](int number, const QString& cause) {
        if (busy)
            presenter.busy(false);
        QString detail = cause + QStringLiteral("\n処理：") + step;
        if (!templatePath.isEmpty())
            detail += QStringLiteral("\n雛形：") + templatePath;
        ctx.messages->show(MsgIcon::Stop, MsgButtons::Ok, QStringLiteral("設定エラー"),
                           PrintErrorText(number), detail);
        return PrintOutcome::Failed;
    };
    try {
        if (!ctx.DbConnection)
            throw RuntimeError(
                91, QStringLiteral("オブジェクト変数または With ブロック変数が設定されていません。"));
        Database& db = *ctx.DbConnection;
        std::unique_ptr<Recordset> rs;
        OpenRecordset(db, rs, SettingsRecord::PrintLookupSql(request.customer, request.kind));
        if (rs->RecordCount() == 0) {
            rs->Close();
            ctx.ini->ShowMessage(QStringLiteral("E150"), QString());
            return PrintOutcome::NoSettings;
        }
        rs->MoveFirst();
        const SettingsRecord settings = SettingsRecord::FromRecordset(*rs);
        rs->Close();

        templatePath = settings.orgPath;
        step = QStringLiteral("雛形ファイルを開く");
        presenter.busy(busy = true);
        WorkbookControl control(ctx);
        control.setClipboardClearer([&] { presenter.clearClipboard(); });
        control.ExcelRunning();
        std::unique_ptr<OutputWorkbook> book;
        control.setOpener([&](const QString& path) { book = opener(path); });
        const QString opened = control.OpenTemplate(settings.orgPath);
        if (opened == u"NO" || opened == u"ERROR" || !book) {
            presenter.busy(busy = false);
            return PrintOutcome::TemplateNotOpened;
        }
        control.HideExcel();

        step = QStringLiteral("部品表の明細の読み込み");
        ListTable list;
        if (request.runMode == u"HONBAN") {
            ListRequest lr;
            lr.modeString = ListMode::forPrint(request.summary, request.pagePerMaker);
            lr.dwgNo = request.dwgNo;
            lr.assy = request.assy;
            // The lines are those of the table the request names, as its editor shows them.
            lr.kind = request.kind;
            lr.makerFilterOn = ctx.makerFilterOn;
            lr.makerFilterText = ctx.makerFilterText;
            list = FillListFromDatabase(db, lr);
        } else if (request.runMode == u"TEST") {
            list = FillSampleData();
        }

        int formRows = 0;
        try {
            formRows = SettingInt(settings.pageMax);
        } catch (const RuntimeError&) {
            // The page loop meets the same value and skips the page copies.
        }
        step = QStringLiteral("出力シート「") + settings.orgSheet + QStringLiteral("」の選択");
        book->selectOutputSheet(settings.orgSheet, formRows);
        step = QStringLiteral("頁の作成");
        const HeaderValues header{request.dwgNo, request.name, request.assy, request.date, request.designer};
        const LayoutResult laid = LayOutPages(settings, list, header, request.pagePerMaker, book->target(),
                                              [&](int page, int total) { presenter.progress(page, total); });
        // The list is done with; give its memory back before the workbook is written out.
        list = ListTable();
        ReleaseFreeMemory();
        book->extendPrintArea(laid.pages, laid.pageMax);
        step = QStringLiteral("作業ファイルの保存");
        book->save();
        const QString printCopy = book->savePrintCopy(PrintCopyPath(ctx.WorkbookPath));

        presenter.busy(busy = false);
        control.ShowExcel();
        step = QStringLiteral("プレビュー");
        presenter.preview(ctx.WorkbookPath, printCopy, book->notes(), laid.notes);

        if (request.keepExcel) {
            book->renameOutputSheet(request.dwgNo + u' ' + request.assy);
            book->save();
            book.reset();
            presenter.keepWorkbook(ctx.WorkbookPath);
        } else {
            book.reset();
            control.ReleaseExcel();
        }
        return PrintOutcome::Done;
    } catch (const RuntimeError& e) {
        return failed(e.number(), e.detailText());
    } catch (const std::bad_alloc&) {
        return failed(7, QStringLiteral("メモリが不足しています。"));
    } catch (const std::exception& e) {
        // Anything else the workbook side throws counts as the spreadsheet's own failure.
        return failed(1004, QString::fromUtf8(e.what()));
    }
}
