// The settings file that is installed with the program: complete, in Shift-JIS, and the menu it
// describes.
#include "Common.h"
#include "IniAccess.h"
#include "Initial.h"
#include "MenuTestSupport.h"
#include "MessageService.h"
#include "TestSupport.h"

#include <QRegularExpression>
#include <QtTest>
#include <utility>

using namespace Qt::StringLiterals;

namespace
{

using Key = std::pair<QString, QString>;

// Every key that the program reads with "GET" from its settings file. Keep in step with the program:
// a new required setting is added here and to scripts/make-para-ini.sh.
QList<Key> requiredKeys()
{
    QList<Key> keys = {
        {u"HEAD"_s, u"TITLE"_s},  {u"HEAD"_s, u"COLOR"_s},
        {u"DBMS"_s, u"DB"_s},     {u"LOCAL"_s, u"MDB"_s},
        {u"ORACLE"_s, u"DSN"_s},  {u"ORACLE"_s, u"UID"_s},
        {u"ORACLE"_s, u"PWD"_s},  {u"ODBC"_s, u"PRV"_s},
        {u"ODBC"_s, u"DSN"_s},    {u"ODBC"_s, u"UID"_s},
        {u"ODBC"_s, u"PWD"_s},    {u"USER"_s, u"MAX"_s},
        {u"MAKER"_s, u"MAX"_s},   {u"STANI"_s, u"MAX"_s},
        {u"DESINED"_s, u"MAX"_s}, {u"KVRCAD0002COMBOMAX"_s, u"MAX"_s},
    };
    for (int i = 1; i <= 10; ++i)
        keys.append({u"BOTTANR"_s, QString::number(i)});
    for (int g = 1; g <= 10; ++g)
        for (int k = 1; k <= 24; ++k)
            keys.append({u"BOTTANL"_s + QString::number(g), QString::number(k)});
    for (int n = 1; n <= 8; ++n) {
        keys.append({u"KVRCAD0002COMBO"_s + QString::number(n), u"MAX"_s});
        keys.append({u"KVRCAD0002COMBO"_s + QString::number(n), u"INDEX"_s});
    }
    for (const QString& code : u"E001 E002 E003 E102 E103 E108 E109 E111 E114 E115 E117 E118 E120 E150 I100 "
                               "Q001 Q105"_s.split(u' '))
        keys.append({u"MSGCD"_s, code});
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
        QVERIFY(text.contains(u"部品表"_s));
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
        const QStringList lists = {u"USER"_s, u"MAKER"_s, u"STANI"_s, u"DESINED"_s};
        for (const QString& list : lists)
            QVERIFY(ReadList(ini, list).size() >= 5);
        QCOMPARE(StrictInt(ini.get(u"KVRCAD0002COMBOMAX"_s, u"MAX"_s)), 8);
        for (int n = 1; n <= 8; ++n) {
            const QString section = u"KVRCAD0002COMBO%1"_s.arg(n);
            QVERIFY(ReadList(ini, section).size() >= 5);
            QCOMPARE(StrictInt(ini.get(section, u"INDEX"_s)), n - 1);
        }
        // Every customer of the sample tables and of the staged output settings can be chosen.
        QFile samples(sourceDir() + u"/data/sample-data.sql"_s);
        QVERIFY(samples.open(QIODevice::ReadOnly));
        QStringList sampleCustomers{u"株式会社サンプル機工"_s};
        static const QRegularExpression header(
            u"INSERT INTO BUHINHYO \\(.*VALUES \\('[^']*','[^']*','[^']*','([^']*)'"_s);
        for (auto it = header.globalMatch(QString::fromUtf8(samples.readAll())); it.hasNext();)
            sampleCustomers << it.next().captured(1);
        const QStringList customers = ReadList(ini, u"USER"_s);
        for (const QString& customer : sampleCustomers)
            QVERIFY2(customers.contains(customer), qPrintable(customer));
        const QStringList units = ReadList(ini, u"STANI"_s);
        for (const QString& unit : {u"個"_s, u"本"_s, u"枚"_s, u"組"_s, u"セット"_s, u"m"_s, u"R"_s, u"L"_s,
                                    u"R/L×"_s, u"L/R×"_s, u"計"_s})
            QVERIFY2(units.contains(unit), qPrintable(unit));
        QCOMPARE(ini.get(u"DBMS"_s, u"DB"_s), u"LOCAL"_s);
        QCOMPARE(ini.get(u"LOCAL"_s, u"MDB"_s), u"DB\\CADDB.sqlite"_s);
        // E114 is followed by a path, or by a path and "を設定し直して下さい。".
        QVERIFY(ini.get(u"MSGCD"_s, u"E114"_s).endsWith(u'：'));
        QVERIFY(m_msgs.shown.isEmpty());
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
        QCOMPARE(group0[0].Caption, u"印刷用エクセル設定"_s);
        QVERIFY(!group0[0].Target.isEmpty());
        QCOMPARE(group0[1].Caption, u"部品表作成"_s);
        QVERIFY(!group0[1].Target.isEmpty());
        for (int k = 2; k < kMenuSlots; ++k)
            QVERIFY(group0[k].Caption.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestShippedIni)
#include "TestShippedIni.moc"
