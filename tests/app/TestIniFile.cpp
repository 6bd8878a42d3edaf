#include "Common.h"
#include "IniAccess.h"
#include "RuntimeError.h"
#include "TestSupport.h"

#include <QtTest>

using namespace Qt::StringLiterals;

// The settings file read and written the way the old private-profile functions did, the
// catalogue messages and lists on top of it, and the number readings every screen uses.
class TestIniFile : public QObject
{
    Q_OBJECT
    QTemporaryDir m_dir;
    QString m_path = m_dir.filePath(u"PARA.ini"_s);
    ScriptedMessageService m_msgs;

    void writeRaw(const QByteArray& bytes)
    {
        QFile f(m_path);
        QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
        f.write(bytes);
    }

private Q_SLOTS:
    void init()
    {
        QFile::remove(m_path);
        m_msgs.clear();
    }

    void readingRules()
    {
        writeCp932File(m_path,
                       u"; comment\r\n[Head]\r\n  Title = \"部品表システム\" \r\nEMPTY=\r\ntitle=second\r\n"
                       "; K=comment\r\nQ=\"\"two\"\"\r\nS='single'\r\nH=\"half\r\nE=EOF marker\r\n"
                       "[head]\r\nX=second section\r\n"_s);
        IniAccess ini(m_msgs, m_path);
        // Keys and sections without case, blanks and one pair of quotes off, the first key and the
        // first section of a name win.
        for (const auto& [key, value] : {std::pair{u"TITLE"_s, u"部品表システム"_s},
                                         {u"empty"_s, QString()},
                                         {u"Q"_s, u"\"two\""_s},
                                         {u"S"_s, u"single"_s},
                                         {u"H"_s, u"\"half"_s}})
            QCOMPARE(ini.get(u"HEAD"_s, key), value);
        QCOMPARE(ini.find(u"HEAD"_s, u"X"_s), u"NOT FOUND"_s);
        QVERIFY(m_msgs.shown.isEmpty());
        // A missing key reads as its placeholder with a box; so does a stored value beginning "EOF".
        QCOMPARE(ini.get(u"HEAD"_s, u"NOPE"_s), u"EOFタグ：HEAD　キー：NOPE"_s);
        QCOMPARE(ini.find(u"HEAD"_s, u"E"_s), u"EOF marker"_s);
        QCOMPARE(m_msgs.texts(),
                 QStringList({u"ＩＮＩファイルが無いかキーが存在しません。タグ：HEAD　キー：NOPE"_s,
                              u"ＩＮＩファイルが無いかキーが存在しません。 marker"_s}));
        QCOMPARE(m_msgs.shown[0].title, u"ＩＮＩファイルエラー"_s);
    }

    void cutsAt99BytesWithoutSplittingACharacter()
    {
        const QString ascii(120, u'x');
        const QString kanji = u"x"_s + QString(60, QChar(0x90E8)); // 1 + 60 x 2 bytes
        const QString kana(120, QChar(0xFF83));                    // half-width kana: one byte each
        writeCp932File(m_path, u"[A]\r\nK="_s + ascii + u"\r\nJ="_s + kanji + u"\r\nH="_s + kana + u"\r\n");
        IniAccess ini(m_msgs, m_path);
        QCOMPARE(ini.get(u"A"_s, u"K"_s), ascii.left(99));
        QCOMPARE(ini.get(u"A"_s, u"J"_s), kanji.left(50));
        QCOMPARE(ini.get(u"A"_s, u"H"_s), kana.left(99));
    }

    void writingKeepsEveryOtherByte()
    {
        writeCp932File(m_path, u"; 設定\r\n[USER]\r\nMAX=1\r\n1=客先Ａ\r\n\r\n[OTHER]\r\nX=1\r\n"_s);
        IniAccess ini(m_msgs, m_path);
        QVERIFY(ini.put(u"user"_s, u"max"_s, u"2"_s));
        QVERIFY(ini.put(u"USER"_s, u"2"_s, u"表示\r\n二行"_s));     // a value stays one line
        QVERIFY(ini.put(u"NEW"_s, u"K"_s, QString(QChar(0x301C)))); // stored as the CP932 tilde
        QCOMPARE(readFileBytes(m_path),
                 *IniFile::encodeCp932(u"; 設定\r\n[USER]\r\nMAX=2\r\n1=客先Ａ\r\n2=表示 二行\r\n"
                                       "\r\n[OTHER]\r\nX=1\r\n[NEW]\r\nK=～\r\n"_s));
        // A text the file cannot hold is refused, naming the character; the file stays as it was.
        const QByteArray before = readFileBytes(m_path);
        QVERIFY(!ini.put(u"USER"_s, u"3"_s, u"株式会社😀"_s));
        QCOMPARE(readFileBytes(m_path), before);
        QVERIFY(m_msgs.texts().value(0).startsWith(u"ＩＮＩファイル書き込みエラー"_s));
        QVERIFY(m_msgs.texts().value(0).contains(u"「😀」"_s));
        // Lines ending in LF without a last line end get LF lines; a read-only file is not written.
        writeRaw("[A]\nK=1");
        QVERIFY(ini.put(u"A"_s, u"L"_s, u"2"_s));
        QCOMPARE(readFileBytes(m_path), QByteArray("[A]\nK=1\nL=2\n"));
        QFile::setPermissions(m_path, QFileDevice::ReadOwner);
        QVERIFY(!ini.put(u"A"_s, u"K"_s, u"2"_s));
        QCOMPARE(m_msgs.texts().last(), u"ＩＮＩファイル書き込みエラー"_s);
        QCOMPARE(m_msgs.shown.last().detail, m_path + u"\n設定ファイルが読み取り専用です。"_s);
        QCOMPARE(ini.get(u"A"_s, u"K"_s), u"1"_s);
        QFile::setPermissions(m_path, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
        // A stray control byte in a comment is read past; a NUL byte means no text file at all.
        writeRaw("[A]\r\n; a stray \x07 in a comment\r\nK=1\r\n");
        QCOMPARE(IniFile::describeDamage(m_path), QString());
        writeRaw(QByteArray("[A]\r\n; a stray \x07 in a comment\r\nM=\0\r\n", 36));
        QCOMPARE(IniFile::describeDamage(m_path),
                 u"2 行目にテキストではないデータ（制御文字 0x07）があります。"_s);
    }

    void showMessageByKind()
    {
        writeCp932File(m_path, u"[MSGCD]\r\nW001=注意\r\nQ001=よろしいですか\r\nX001=不明\r\n"_s);
        IniAccess ini(m_msgs, m_path);
        m_msgs.setNextAnswer(MsgAnswer::Cancel);
        QCOMPARE(ini.ShowMessage(u"W001"_s, QString()), u"OK"_s);
        QCOMPARE(m_msgs.shown.last().buttons, MsgButtons::OkCancel);
        m_msgs.setNextAnswer(MsgAnswer::No);
        QCOMPARE(ini.ShowMessage(u"Q001"_s, u"!"_s), u"NO"_s);
        QCOMPARE(m_msgs.shown.last().text, u"よろしいですか!"_s);
        QCOMPARE(m_msgs.shown.last().title, u"確認"_s);
        // A question missing from the catalogue shows only the settings box and answers No.
        m_msgs.clear();
        m_msgs.setNextAnswer(MsgAnswer::Yes);
        QCOMPARE(ini.ShowMessage(u"Q999"_s, QString()), u"NO"_s);
        QCOMPARE(m_msgs.shown.size(), 1);
        QCOMPARE(m_msgs.beeps, 1);
    }

    void listsAreOnlyAppendedTo()
    {
        writeCp932File(
            m_path,
            u"[MAKER]\r\nMAX=3\r\n1=ミスミ\r\n2=THK\r\n3=ミスミ\r\n[NEXT]\r\nX=1\r\n[USER]\r\nMAX=0\r\n"
            "[BAD]\r\nMAX=x\r\n"_s);
        IniAccess ini(m_msgs, m_path);
        const QByteArray before = readFileBytes(m_path);
        QCOMPARE(AddToList(ini, u"MAKER"_s, u"ミスミ"_s), u"OK"_s); // listed (twice): nothing written
        QCOMPARE(AddToList(ini, u"MAKER"_s, u"客先😀"_s), u"OK"_s);  // not storable: refused, said so
        QCOMPARE(readFileBytes(m_path), before);
        QCOMPARE(m_msgs.shown.size(), 1);
        // Compared exactly: case and blanks count; "MAX" is written before the item.
        QStringList writes;
        ini.onWrite = [&writes](const QString&, const QString& s, const QString& k, const QString& v) {
            writes << s + u'/' + k + u'=' + v;
        };
        QCOMPARE(AddToList(ini, u"MAKER"_s, u"thk"_s), u"REWRITE"_s);
        QCOMPARE(AddToList(ini, u"user"_s, QString()), u"REWRITE"_s);
        QCOMPARE(writes, QStringList({u"MAKER/MAX=4"_s, u"MAKER/4=thk"_s, u"user/MAX=1"_s, u"user/1="_s}));
        QVERIFY_THROWS_EXCEPTION(RuntimeError, AddToList(ini, u"BAD"_s, u"v"_s));
        // A count that is no integer, or none of 32 bits, names the file, section, key and value.
        ini.put(u"HUGE"_s, u"MAX"_s, u"2147483648"_s);
        for (const auto& [section, value, number] :
             {std::tuple{u"BAD"_s, u"x"_s, 13}, {u"HUGE"_s, u"2147483648"_s, 6}}) {
            const auto e = thrown([&] { ReadList(ini, section); });
            QVERIFY(e && e->number() == number);
            QCOMPARE(e->cause(),
                     u"設定ファイル %1 の [%2] キー MAX の値「%3」"_s.arg(m_path, section, value));
        }
        // A list without "MAX": the reader's box, then the run-time error.
        QVERIFY_THROWS_EXCEPTION(RuntimeError, AddToList(ini, u"NONE"_s, u"v"_s));
        QCOMPARE(m_msgs.shown.size(), 2);
    }

    void numberCheck_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("rejected");
        QTest::addColumn<QString>("after"); // one rejected character is taken out
        for (const auto& [text, rejected, after] : {std::tuple{u"12-3"_s, true, u"123"_s},
                                                    {u"-12.5"_s, false, u"-12.5"_s},
                                                    {u"1 2"_s, true, u"12"_s},
                                                    {u"1/2"_s, true, u"12"_s},
                                                    {u"１２"_s, true, u"２"_s},
                                                    {QString(), false, QString()},
                                                    {u"1..2."_s, false, u"1..2."_s},
                                                    {u"a-b"_s, true, u"-b"_s},
                                                    {u"1,000"_s, true, u"1000"_s},
                                                    {u"+1"_s, true, u"1"_s},
                                                    {u"1\t2"_s, false, u"1\t2"_s},
                                                    {u"1:"_s, true, u"1"_s},
                                                    {u"1😀2"_s, true, u"12"_s}})
            QTest::newRow(qPrintable(text)) << text << rejected << after;
    }
    void numberCheck()
    {
        QFETCH(QString, text);
        QFETCH(bool, rejected);
        QFETCH(QString, after);
        QCOMPARE(CheckNumberText(text), rejected);
        QCOMPARE(text, after);
    }

    void integerReadings()
    {
        const long long max = std::numeric_limits<long long>::max();
        for (const auto& [text, lenient] : {std::pair{u"abc"_s, 0LL},
                                            {QString(), 0LL},
                                            {u"2.5"_s, 2LL},
                                            {u"-2.5"_s, -2LL},
                                            {u".6"_s, 1LL},
                                            {u"12abc"_s, 12LL},
                                            {u"1e3"_s, 1000LL},
                                            {u"1e"_s, 1LL},
                                            {u"1e99"_s, max}})
            QCOMPARE(LenientInt(text), lenient);
        QCOMPARE(StrictInt(u" 7 "_s) + StrictInt(u"2.5"_s), 9);
        QVERIFY_THROWS_EXCEPTION(RuntimeError, StrictInt(u"EOFタグ：USER　キー：MAX"_s));
        QVERIFY_THROWS_EXCEPTION(RuntimeError, StrictInt(QString()));
        for (const auto& [text, digits] :
             {std::pair{u"(12)"_s, 12}, {u"A-3"_s, 3}, {u"abc"_s, 0}, {u"2147483647"_s, 2147483647}})
            QCOMPARE(DigitsValue(text), digits);
        QVERIFY_THROWS_EXCEPTION(RuntimeError, DigitsValue(u"2147483648"_s));
        QVERIFY_THROWS_EXCEPTION(RuntimeError, DigitsValue(u"00000000001"_s));
        QCOMPARE(LastIndex(Int16::from(5), u"3"_s).value(), 7);
        QVERIFY_THROWS_EXCEPTION(RuntimeError, LastIndex(Int16::from(2), u"32767"_s));
    }

    void flags()
    {
        for (const auto& [text, yes] : {std::pair{u"-1"_s, true},
                                        {u"True"_s, true},
                                        {u"False"_s, false},
                                        {u"0"_s, false},
                                        {QString(), false}})
            QCOMPARE(TextIsTrue(text), yes);
        // Only -1 counts as true.
        QCOMPARE(FlagText(kTrue) + FlagText(1) + FlagText(0), u"100"_s);
    }
};

QTEST_GUILESS_MAIN(TestIniFile)
#include "TestIniFile.moc"
