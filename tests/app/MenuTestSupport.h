#pragma once

#include "Initial.h"

#include <QString>
#include <QStringList>
#include <map>
#include <optional>
#include <utility>

// A main menu without a display: records what the start-up dresses.
struct RecordingMenuView : MenuView {
    std::optional<QString> title;
    std::optional<quint32> color;
    std::map<int, std::pair<bool, QString>> right;
    std::map<int, std::pair<bool, QString>> left;
    QStringList calls;

    void setMenuTitle(const QString& t) override
    {
        title = t;
        calls << QStringLiteral("title");
    }
    void setMenuColor(quint32 bgr) override
    {
        color = bgr;
        calls << QStringLiteral("color");
    }
    void setRightButton(int index, bool visible, const QString& words) override
    {
        right[index] = {visible, words};
        calls << QStringLiteral("right%1").arg(index);
    }
    void setLeftButton(int slot, bool visible, const QString& caption) override
    {
        left[slot] = {visible, caption};
        calls << QStringLiteral("left%1").arg(slot);
    }
};

// The text of a complete menu: title "部品表", the given colour, words for the first three right-hand
// buttons, and all 240 left-hand keys (slots k = 1 to 3 of section BOTTANLg are "Gg ボタンk//Tg_k" without
// blanks, the rest "//"), then the two start-up messages. Tests change single entries by replacing their
// text.
inline QString completeMenuText(const QString& color = QStringLiteral("3"))
{
    QString t =
        QStringLiteral("[HEAD]\r\nTITLE=部品表\r\nCOLOR=") + color + QStringLiteral("\r\n[BOTTANR]\r\n");
    for (int i = 1; i <= 10; ++i)
        t += QStringLiteral("%1=%2\r\n").arg(i).arg(i <= 3 ? QStringLiteral("グループ%1").arg(i) : QString());
    for (int g = 1; g <= 10; ++g) {
        t += QStringLiteral("[BOTTANL%1]\r\n").arg(g);
        for (int k = 1; k <= 24; ++k)
            t +=
                QStringLiteral("%1=%2\r\n")
                    .arg(k)
                    .arg(k <= 3 ? QStringLiteral("G%1ボタン%2//T%1_%2").arg(g).arg(k) : QStringLiteral("//"));
    }
    t += QStringLiteral("[MSGCD]\r\nE001=既に起動しています。\r\nE002=メニュー設定エラー：\r\n");
    return t;
}
