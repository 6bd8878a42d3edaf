#include "IniAccess.h"
#include "MessageService.h"
#include "TestSupport.h"

#include <QFile>
#include <QtTest>

using namespace Qt::StringLiterals;

class TestIniFile : public QObject
{
    Q_OBJECT
    SettingsFileFixture m_f;

private Q_SLOTS:
    void init() { m_f.reset(); }

    void readsCp932WithPrivateProfileRules()
    {
        writeCp932File(m_f.path, u"; comment\r\n[Head]\r\n  Title = \"部品表システム\" \r\nEMPTY=\r\n"
                                 "title=second\r\n[MSGCD]\r\nE001=既に起動しています。\r\n"_s);
        IniAccess ini(m_f.msgs, m_f.path);
        QCOMPARE(ini.get(u"HEAD"_s, u"TITLE"_s), u"部品表システム"_s);
        QCOMPARE(ini.get(u"head"_s, u"empty"_s), QString());
        QCOMPARE(ini.find(u"HEAD"_s, u"NOPE"_s), u"NOT FOUND"_s);
        QVERIFY(m_f.msgs.shown.isEmpty());
        QCOMPARE(ini.get(u"HEAD"_s, u"NOPE"_s), u"EOFタグ：HEAD　キー：NOPE"_s);
        QCOMPARE(m_f.msgs.shown.size(), 1);
        QCOMPARE(m_f.msgs.shown[0].title, u"ＩＮＩファイルエラー"_s);
        QCOMPARE(m_f.msgs.shown[0].text,
                 u"ＩＮＩファイルが無いかキーが存在しません。タグ：HEAD　キー：NOPE"_s);
    }

    void cutsAt99BytesWithoutSplittingACharacter()
    {
        const QString ascii(120, u'x');
        const QString kanji = u"x"_s + QString(60, QChar(0x90E8)); // 1 + 60 x 2 bytes
        const QString kana(120, QChar(0xFF83));                    // ﾃ
        writeCp932File(m_f.path, u"[A]\r\nK="_s + ascii + u"\r\nJ="_s + kanji + u"\r\nH="_s + kana + u"\r\n");
        IniAccess ini(m_f.msgs, m_f.path);
        QCOMPARE(ini.get(u"A"_s, u"K"_s), ascii.left(99));
        QCOMPARE(ini.get(u"A"_s, u"J"_s), kanji.left(50)); // 1 + 49 x 2 = 99
        QCOMPARE(ini.get(u"A"_s, u"H"_s), kana.left(99));  // half-width kana are one byte each
        QCOMPARE(IniFile::cutToBytes(u"ab部品"_s, 3), u"ab"_s);
    }

    void writesInPlaceKeepingOtherBytes()
    {
        writeCp932File(m_f.path, u"; 設定\r\n[USER]\r\nMAX=1\r\n1=客先Ａ\r\n\r\n[OTHER]\r\nX=1\r\n"_s);
        IniAccess ini(m_f.msgs, m_f.path);
        QVERIFY(ini.put(u"user"_s, u"max"_s, u"2"_s));
        QVERIFY(ini.put(u"USER"_s, u"2"_s, u"表示"_s));
        QVERIFY(ini.put(u"NEW"_s, u"K"_s, u"v"_s));
        const QByteArray expected = *IniFile::encodeCp932(
            u"; 設定\r\n[USER]\r\nMAX=2\r\n1=客先Ａ\r\n2=表示\r\n\r\n[OTHER]\r\nX=1\r\n[NEW]\r\nK=v\r\n"_s);
        QCOMPARE(readFileBytes(m_f.path), expected);
        QCOMPARE(ini.get(u"USER"_s, u"2"_s), u"表示"_s);
    }

    void refusesTextsTheFileCannotHold()
    {
        writeCp932File(m_f.path, u"[USER]\r\nMAX=0\r\n"_s);
        const QByteArray before = readFileBytes(m_f.path);
        IniAccess ini(m_f.msgs, m_f.path);
        QVERIFY(!ini.put(u"USER"_s, u"1"_s, u"株式会社😀"_s));
        QCOMPARE(readFileBytes(m_f.path), before);
        QCOMPARE(m_f.msgs.shown.size(), 1);
        QVERIFY(m_f.msgs.shown[0].text.startsWith(u"ＩＮＩファイル書き込みエラー"_s));
        QVERIFY(m_f.msgs.shown[0].text.contains(u"「😀」"_s));
        // The wave dash of other platforms is stored as the CP932 full-width tilde.
        QVERIFY(ini.put(u"USER"_s, u"1"_s, QString(QChar(0x301C))));
        QCOMPARE(ini.get(u"USER"_s, u"1"_s), QString(QChar(0xFF5E)));
    }

    void missingAndReadOnlyFiles()
    {
        IniAccess ini(m_f.msgs, m_f.path);
        QCOMPARE(ini.find(u"A"_s, u"B"_s), u"NOT FOUND"_s);
        writeCp932File(m_f.path, u"[A]\r\nB=1\r\n"_s);
        QFile::setPermissions(m_f.path, QFileDevice::ReadOwner);
        QVERIFY(!ini.put(u"A"_s, u"B"_s, u"2"_s));
        QCOMPARE(m_f.msgs.shown.last().text, u"ＩＮＩファイル書き込みエラー"_s);
        QCOMPARE(ini.get(u"A"_s, u"B"_s), u"1"_s);
    }

    void quotesCommentsAndDuplicates()
    {
        writeCp932File(m_f.path, u"[A]\r\n; K=comment\r\nQ=\"\"two\"\"\r\nS='single'\r\nH=\"half\r\n"
                                 "K = first \r\n[a]\r\nK=second section\r\nX=only here\r\n"_s);
        IniAccess ini(m_f.msgs, m_f.path);
        QCOMPARE(ini.get(u"A"_s, u"Q"_s),
                 u"\"two\""_s); // one pair removed
        QCOMPARE(ini.get(u"A"_s, u"S"_s), u"single"_s);
        QCOMPARE(ini.get(u"A"_s, u"H"_s), u"\"half"_s);
        QCOMPARE(ini.get(u"a"_s, u"k"_s), u"first"_s);
        // The first of two sections of the same name is the one read.
        QCOMPARE(ini.find(u"A"_s, u"X"_s), u"NOT FOUND"_s);
        QVERIFY(m_f.msgs.shown.isEmpty());
    }

    void storedValueStartingWithEofRaisesTheBox()
    {
        writeCp932File(m_f.path, u"[A]\r\nK=EOF marker\r\n"_s);
        IniAccess ini(m_f.msgs, m_f.path);
        QCOMPARE(ini.find(u"A"_s, u"K"_s), u"EOF marker"_s);
        QCOMPARE(m_f.msgs.shown.size(), 1);
        QCOMPARE(m_f.msgs.shown[0].text, u"ＩＮＩファイルが無いかキーが存在しません。 marker"_s);
    }

    void writesIntoFilesWithoutTrailingLineEnd()
    {
        QFile f(m_f.path);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("[A]\nK=1");
        f.close();
        IniAccess ini(m_f.msgs, m_f.path);
        QVERIFY(ini.put(u"A"_s, u"L"_s, u"2"_s));
        QCOMPARE(readFileBytes(m_f.path), QByteArray("[A]\nK=1\nL=2\n"));
        // A value stays one line.
        QVERIFY(ini.put(u"A"_s, u"M"_s, u"a\r\nb\nc"_s));
        QCOMPARE(readFileBytes(m_f.path), QByteArray("[A]\nK=1\nL=2\nM=a b c\n"));
        // A missing file is made, in Shift-JIS.
        const QString fresh = m_f.dir.filePath(u"new.ini"_s);
        QVERIFY(ini.IniPut(fresh, u"USER"_s, u"1"_s, u"客先"_s));
        QCOMPARE(readFileBytes(fresh), *IniFile::encodeCp932(u"[USER]\r\n1=客先\r\n"_s));
        QFile::remove(fresh);
    }

    void utf8FilesStayUtf8()
    {
        // With a byte-order mark, and text Shift-JIS cannot hold.
        QFile f(m_f.path);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(QByteArray("\xEF\xBB\xBF[USER]\nMAX=1\n1=") + u"客先😀"_s.toUtf8() + "\n");
        f.close();
        IniAccess ini(m_f.msgs, m_f.path);
        QCOMPARE(ini.get(u"USER"_s, u"1"_s), u"客先😀"_s);
        QVERIFY(ini.put(u"USER"_s, u"2"_s, u"新規😀"_s));
        QCOMPARE(readFileBytes(m_f.path), QByteArray("\xEF\xBB\xBF[USER]\nMAX=1\n1=") + u"客先😀"_s.toUtf8() +
                                              "\n2=" + u"新規😀"_s.toUtf8() + "\n");
        // Without a mark.
        QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
        f.write(u"[USER]\r\nMAX=1\r\n1=客先Ａ\r\n"_s.toUtf8());
        f.close();
        QCOMPARE(ini.get(u"USER"_s, u"1"_s), u"客先Ａ"_s);
        QVERIFY(ini.put(u"USER"_s, u"2"_s, u"客先Ｂ"_s));
        QCOMPARE(readFileBytes(m_f.path), u"[USER]\r\nMAX=1\r\n1=客先Ａ\r\n2=客先Ｂ\r\n"_s.toUtf8());
        // Plain ASCII and Shift-JIS files stay Shift-JIS.
        writeCp932File(m_f.path, u"[USER]\r\n1=ﾃﾞｰﾀ部品\r\n"_s);
        QCOMPARE(ini.get(u"USER"_s, u"1"_s), u"ﾃﾞｰﾀ部品"_s);
    }

    void damageIsDescribedByLine()
    {
        IniAccess ini(m_f.msgs, m_f.path);
        writeCp932File(m_f.path, u"[A]\r\nK=部品\r\n\tL=1\r\n\x1a"_s);
        QCOMPARE(IniFile::describeDamage(m_f.path), QString());
        QFile f(m_f.path);
        QVERIFY(f.open(QIODevice::Append));
        f.write("\r\n; a stray \x07 in a comment is read past\r\n");
        f.close();
        QCOMPARE(IniFile::describeDamage(m_f.path), QString());
        QVERIFY(f.open(QIODevice::Append));
        f.write(QByteArray("M=\0\r\n", 5)); // a NUL byte: no text file at all
        f.close();
        QCOMPARE(IniFile::describeDamage(m_f.path),
                 u"5 行目にテキストではないデータ（制御文字 0x07）があります。"_s);
        QVERIFY(IniFile::describeDamage(m_f.dir.filePath(u"none.ini"_s)).contains(u"開けません"_s));
    }

    void showMessageByKind()
    {
        writeCp932File(m_f.path,
                       u"[MSGCD]\r\nW001=注意\r\nQ001=よろしいですか\r\nX001=不明\r\nI100=完了\r\n"_s);
        IniAccess ini(m_f.msgs, m_f.path);
        m_f.msgs.setNextAnswer(MsgAnswer::Cancel);
        QCOMPARE(ini.ShowMessage(u"W001"_s, QString()), u"OK"_s);
        QCOMPARE(m_f.msgs.shown.last().buttons, MsgButtons::OkCancel);
        m_f.msgs.setNextAnswer(MsgAnswer::No);
        QCOMPARE(ini.ShowMessage(u"Q001"_s, u"!"_s), u"NO"_s);
        QCOMPARE(m_f.msgs.shown.last().text, u"よろしいですか!"_s);
        QCOMPARE(m_f.msgs.shown.last().title, u"確認"_s);
        QCOMPARE(ini.ShowMessage(u"X001"_s, QString()), u"OK"_s);
        QCOMPARE(m_f.msgs.shown.last().title, u"ＩＮＩファイルエラー"_s);
        QCOMPARE(m_f.msgs.shown.last().icon, MsgIcon::Stop);
        // A question missing from the catalogue shows only the settings box and answers No.
        m_f.msgs.clear();
        m_f.msgs.setNextAnswer(MsgAnswer::Yes);
        QCOMPARE(ini.ShowMessage(u"Q999"_s, QString()), u"NO"_s);
        QCOMPARE(m_f.msgs.shown.size(), 1);
        QCOMPARE(m_f.msgs.beeps, 1);
    }
};

QTEST_GUILESS_MAIN(TestIniFile)
#include "TestIniFile.moc"
