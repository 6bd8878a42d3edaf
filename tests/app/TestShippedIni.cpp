// The settings file that is installed with the program: complete, in Shift-JIS, and the menu it
// describes.
#include "Common.h"
#include "IniAccess.h"
#include "Initial.h"
#include "MenuTestSupport.h"
#include "MessageService.h"
#include "TestSupport.h"

#include <QtTest>
#include <utility>

namespace
{

using Key = std::pair<QString, QString>;

QString s(const char16_t* text)
{
    return QString::fromUtf16(text);
}

// Every key that the program reads with "GET" from its settings file. Keep in step with the program:
// a new required setting is added here and to scripts/make-para-ini.sh.
QList<Key> requiredKeys()
{
    QList<Key> keys = {
        {s(u"HEAD"), s(u"TITLE")},  {s(u"HEAD"), s(u"COLOR")},
        {s(u"DBMS"), s(u"DB")},     {s(u"LOCAL"), s(u"MDB")},
        {s(u"ORACLE"), s(u"DSN")},  {s(u"ORACLE"), s(u"UID")},
        {s(u"ORACLE"), s(u"PWD")},  {s(u"ODBC"), s(u"PRV")},
        {s(u"ODBC"), s(u"DSN")},    {s(u"ODBC"), s(u"UID")},
        {s(u"ODBC"), s(u"PWD")},    {s(u"USER"), s(u"MAX")},
        {s(u"MAKER"), s(u"MAX")},   {s(u"STANI"), s(u"MAX")},
        {s(u"DESINED"), s(u"MAX")}, {s(u"KVRCAD0002COMBOMAX"), s(u"MAX")},
    };
    for (int i = 1; i <= 10; ++i)
        keys.append({s(u"BOTTANR"), QString::number(i)});
    for (int g = 1; g <= 10; ++g)
        for (int k = 1; k <= 24; ++k)
            keys.append({s(u"BOTTANL") + QString::number(g), QString::number(k)});
    for (int n = 1; n <= 8; ++n) {
        keys.append({s(u"KVRCAD0002COMBO") + QString::number(n), s(u"MAX")});
        keys.append({s(u"KVRCAD0002COMBO") + QString::number(n), s(u"INDEX")});
    }
    for (const char16_t* code :
         {u"E001", u"E002", u"E003", u"E102", u"E103", u"E108", u"E109", u"E111", u"E114", u"E115", u"E117",
          u"E118", u"E120", u"E150", u"I100", u"Q001", u"Q105"})
        keys.append({s(u"MSGCD"), s(code)});
    return keys;
}

} // namespace

class TestShippedIni : public QObject
{
    Q_OBJECT
    ScriptedMessageService m_msgs;

private Q_SLOTS:
    void init() { m_msgs.clear(); }

    void isShiftJisWithCrlfLinesThatFitTheReader()
    {
        const QByteArray bytes = readFileBytes(shippedIniPath());
        QVERIFY(bytes.size() > 1000);
        QVERIFY(!bytes.startsWith("\xEF\xBB\xBF"));
        bool bad = true;
        const QString text = IniFile::decodeCp932(bytes, &bad);
        QVERIFY(!bad);
        QVERIFY(IniFile::describeDamage(shippedIniPath()).isEmpty());
        QCOMPARE(bytes.count('\n'), bytes.count("\r\n"));
        QVERIFY(bytes.endsWith("\r\n"));
        // Every value fits in the 99 bytes that are read back.
        for (const QByteArray& line : bytes.split('\n')) {
            if (line.startsWith(';') || line.startsWith('['))
                continue;
            const qsizetype eq = line.indexOf('=');
            if (eq >= 0)
                QVERIFY2(line.size() - eq - 1 - (line.endsWith('\r') ? 1 : 0) <= 99, line.constData());
        }
        QVERIFY(text.contains(QStringLiteral("部品表")));
    }

    void everyRequiredKeyIsThere()
    {
        IniAccess ini(m_msgs, shippedIniPath());
        for (const Key& key : requiredKeys())
            QVERIFY2(ini.find(key.first, key.second) != u"NOT FOUND",
                     qPrintable(key.first + u' ' + key.second));
        QVERIFY(m_msgs.shown.isEmpty());
    }

    void listsAreCompleteAndRealistic()
    {
        IniAccess ini(m_msgs, shippedIniPath());
        const QStringList lists = {QStringLiteral("USER"), QStringLiteral("MAKER"), QStringLiteral("STANI"),
                                   QStringLiteral("DESINED")};
        for (const QString& list : lists)
            QVERIFY(ReadList(ini, list).size() >= 5);
        QCOMPARE(StrictInt(ini.get(QStringLiteral("KVRCAD0002COMBOMAX"), QStringLiteral("MAX"))), 8);
        for (int n = 1; n <= 8; ++n) {
            const QString section = QStringLiteral("KVRCAD0002COMBO%1").arg(n);
            QVERIFY(ReadList(ini, section).size() >= 5);
            QCOMPARE(StrictInt(ini.get(section, QStringLiteral("INDEX"))), n - 1);
        }
        const QStringList units = ReadList(ini, QStringLiteral("STANI"));
        for (const QString& unit :
             {QStringLiteral("個"), QStringLiteral("本"), QStringLiteral("枚"), QStringLiteral("組"),
              QStringLiteral("セット"), QStringLiteral("m"), QStringLiteral("R"), QStringLiteral("L"),
              QStringLiteral("R/L×"), QStringLiteral("L/R×"), QStringLiteral("計")})
            QVERIFY2(units.contains(unit), qPrintable(unit));
        QCOMPARE(ini.get(QStringLiteral("DBMS"), QStringLiteral("DB")), QStringLiteral("LOCAL"));
        QCOMPARE(ini.get(QStringLiteral("LOCAL"), QStringLiteral("MDB")), QStringLiteral("DB\\CADDB.sqlite"));
        QVERIFY(m_msgs.shown.isEmpty());
    }

    void messagesReadWell()
    {
        IniAccess ini(m_msgs, shippedIniPath());
        // E114 is followed by a path, or by a path and "を設定し直して下さい。".
        QVERIFY(ini.get(QStringLiteral("MSGCD"), QStringLiteral("E114")).endsWith(u'：'));
        QCOMPARE(ini.ShowMessage(QStringLiteral("E001"), QString()), QStringLiteral("OK"));
        QCOMPARE(m_msgs.shown.last().title, QStringLiteral("エラー"));
        m_msgs.setNextAnswer(MsgAnswer::No);
        QCOMPARE(ini.ShowMessage(QStringLiteral("Q105"), QString()), QStringLiteral("NO"));
        QCOMPARE(m_msgs.shown.last().buttons, MsgButtons::YesNo);
        QCOMPARE(ini.ShowMessage(QStringLiteral("I100"), QString()), QStringLiteral("OK"));
        QCOMPARE(m_msgs.shown.last().icon, MsgIcon::Information);
    }

    void describesTheMenuWithTheTwoWorkScreensInGroupZero()
    {
        IniAccess ini(m_msgs, shippedIniPath());
        MenuState state;
        RecordingMenuView view;
        QVERIFY(LoadMenuSettings(ini, state, view));
        QVERIFY(m_msgs.shown.isEmpty());
        QVERIFY(!state.MenuTitle.isEmpty());
        QVERIFY(view.color.has_value());
        QVERIFY(view.right[0].first);
        const auto& group0 = state.ButtonTable[0];
        QCOMPARE(group0[0].Caption, QStringLiteral("印刷用エクセル設定"));
        QVERIFY(!group0[0].Target.isEmpty());
        QCOMPARE(group0[1].Caption, QStringLiteral("部品表作成"));
        QVERIFY(!group0[1].Target.isEmpty());
        for (int k = 2; k < kMenuSlots; ++k)
            QVERIFY(group0[k].Caption.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestShippedIni)
#include "TestShippedIni.moc"
