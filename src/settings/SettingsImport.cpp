// The import of parts tables from a filled workbook ("ﾃﾞｰﾀ取込実行").
#include "AppContext.h"
#include "Database.h"
#include "ImportParser.h"
#include "ImportWriter.h"
#include "OutputSettingsScreen.h"
#include "SettingsSave.h"
#include "SettingsWorkbooks.h"
#include "TeamMode.h"

#include <QApplication>
#include <QComboBox>
#include <QLineEdit>

namespace
{
const QString kTitle = QStringLiteral("データ取込");

QString tableName(const ImportTable& t)
{
    return QStringLiteral("DWG.№ ") + t.dwgNo + QStringLiteral("  ASSY ") + t.assy;
}

QString notesText(const QStringList& notes)
{
    if (notes.isEmpty())
        return {};
    const int shown = std::min<int>(int(notes.size()), 10);
    QString text = QStringLiteral("\n\n") + notes.mid(0, shown).join(u'\n');
    if (notes.size() > shown)
        text += QStringLiteral("\n…ほか%1件").arg(notes.size() - shown);
    return text;
}
} // namespace

void OutputSettingsScreen::importData()
{
    if (m_cpyPath->text().isEmpty()) {
        m_ctx.ini->ShowMessage(QStringLiteral("E111"), QString());
        return;
    }
    MessageService& box = *m_ctx.messages;
    const QString customer = m_user->currentText();
    const QString kind = currentKind();
    m_ctx.CurrentKind = kind;

    // The layout is the one on the screen, saved or not: the cells given by the column and row
    // drop-downs as they stand.
    Database& db = database();
    const SettingsRecord settings = recordFromScreen();
    // The tables are stored for the customer, and the sheet is read page by page.
    if (settings.user.trimmed().isEmpty()) {
        m_ctx.ini->ShowMessage(QStringLiteral("E117"), QString());
        focusAfterAction(m_user);
        return;
    }
    if (settings.pageMax.trimmed().isEmpty()) {
        m_ctx.ini->ShowMessage(QStringLiteral("E118"), QString());
        focusAfterAction(m_pageMax);
        return;
    }
    QApplication::setOverrideCursor(Qt::WaitCursor);
    ImportPlan plan;
    try {
        const std::unique_ptr<SheetCells> sheet =
            m_workbooks->OpenSheet(m_cpyPath->text(), m_cpySheet->text());
        const QDate today = (m_ctx.clock ? m_ctx.clock->now() : QDateTime::currentDateTime()).date();
        plan = ParseImportSheet(settings, *sheet, today);
    } catch (...) {
        QApplication::restoreOverrideCursor();
        throw;
    }
    QApplication::restoreOverrideCursor();

    if (plan.tables.isEmpty()) {
        box.show(MsgIcon::Information, MsgButtons::Ok, kTitle,
                 QStringLiteral("取り込める部品表がありません（%1頁を読みました）。").arg(plan.pageCount) +
                     notesText(plan.notes));
        return;
    }

    // A stored table is never overwritten without asking, nor one another desk has open (team use):
    // the tables are held for this desk until they are written.
    QList<ImportAction> actions;
    std::vector<std::unique_ptr<TeamLock>> held;
    for (const ImportTable& t : plan.tables) {
        LockHolder holder;
        held.push_back(TeamLock::take(m_connection, PartsTableLockName(t.dwgNo, t.assy, kind), &holder));
        if (!held.back()) {
            box.show(MsgIcon::Exclamation, MsgButtons::Ok, kTitle,
                     holder.what + QStringLiteral(" は ") + holder.describe() +
                         QStringLiteral("編集中のため取り込みません。"));
            actions << ImportAction::Skip;
            continue;
        }
        if (!PartsTableExists(db, t.dwgNo, t.assy, kind)) {
            actions << ImportAction::Create;
            continue;
        }
        const int stored = StoredLineCount(db, t.dwgNo, t.assy, kind);
        const QString intro =
            tableName(t) + QStringLiteral(" の部品表は既に登録されています（明細%1行）。\n").arg(stored);
        if (box.show(MsgIcon::Question, MsgButtons::YesNo, kTitle,
                     intro + QStringLiteral("登録済みの明細を、読み込んだ明細%1行で置き換えますか？\n"
                                            "「いいえ」を選ぶと、追加するかどうかを続けて確認します。")
                                 .arg(t.lines.size())) == MsgAnswer::Yes) {
            actions << ImportAction::Replace;
        } else if (box.show(MsgIcon::Question, MsgButtons::YesNo, kTitle,
                            intro + QStringLiteral("読み込んだ明細%1行を、登録済みの明細に追加しますか？\n"
                                                   "「いいえ」を選ぶと、この部品表は取り込みません。")
                                        .arg(t.lines.size())) == MsgAnswer::Yes) {
            actions << ImportAction::Add;
        } else {
            actions << ImportAction::Skip;
        }
    }

    int tables[4] = {0, 0, 0, 0};
    int lines[4] = {0, 0, 0, 0};
    for (qsizetype i = 0; i < plan.tables.size(); ++i) {
        const int a = int(actions.at(i));
        ++tables[a];
        lines[a] += int(plan.tables.at(i).lines.size());
    }
    if (tables[int(ImportAction::Skip)] == plan.tables.size()) {
        box.show(MsgIcon::Information, MsgButtons::Ok, kTitle,
                 QStringLiteral("取り込む部品表はありません。"));
        return;
    }
    QString summary =
        QStringLiteral("客先 %1、%2の部品表を取り込みます。\n\n")
            .arg(customer, kind == u"1" ? QStringLiteral("製作ﾘｽﾄ") : QStringLiteral("購入ﾘｽﾄ"));
    const QString kinds[4] = {QStringLiteral("新規登録"), QStringLiteral("明細の追加"),
                              QStringLiteral("明細の置き換え"), QStringLiteral("取り込まない")};
    for (int a = 0; a < 4; ++a)
        if (tables[a] > 0)
            summary += QStringLiteral("%1：%2件（明細%3行）\n").arg(kinds[a]).arg(tables[a]).arg(lines[a]);
    summary += QStringLiteral("\n読んだ頁：%1頁").arg(plan.pageCount);
    summary += notesText(plan.notes);
    summary += QStringLiteral("\n\nよろしいですか？");
    if (box.show(MsgIcon::Question, MsgButtons::YesNo, kTitle, summary) != MsgAnswer::Yes)
        return;

    // All or nothing: one transaction over every table.
    const QDate today = (m_ctx.clock ? m_ctx.clock->now() : QDateTime::currentDateTime()).date();
    QApplication::setOverrideCursor(Qt::WaitCursor);
    db.BeginTrans();
    try {
        for (qsizetype i = 0; i < plan.tables.size(); ++i)
            WriteImportedTable(db, plan.tables.at(i), customer, kind, actions.at(i), today);
        db.CommitTrans();
    } catch (...) {
        db.RollbackTrans();
        QApplication::restoreOverrideCursor();
        throw;
    }
    QApplication::restoreOverrideCursor();
    m_ctx.ini->ShowMessage(QStringLiteral("I100"), QString());
}
