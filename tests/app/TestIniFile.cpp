#include "IniAccess.h"
#include "MessageService.h"
#include "TestSupport.h"

#include <QFile>
#include <QtTest>

class TestIniFile : public QObject
{
    Q_OBJECT
    QTemporaryDir m_dir;
    QString m_path;
    ScriptedMessageService m_msgs;

private Q_SLOTS:
    void init()
    {
        m_path = m_dir.filePath(QStringLiteral("PARA.ini"));
        QFile::remove(m_path);
        m_msgs.clear();
    }

    void readsCp932WithPrivateProfileRules()
    {
        writeCp932File(m_path,
                       QStringLiteral("; comment\r\n[Head]\r\n  Title = \"部品表システム\" \r\nEMPTY=\r\n"
                                      "title=second\r\n[MSGCD]\r\nE001=既に起動しています。\r\n"));
        IniAccess ini(m_msgs, m_path);
        QCOMPARE(ini.get(QStringLiteral("HEAD"), QStringLiteral("TITLE")), QStringLiteral("部品表システム"));
        QCOMPARE(ini.get(QStringLiteral("head"), QStringLiteral("empty")), QString());
        QCOMPARE(ini.find(QStringLiteral("HEAD"), QStringLiteral("NOPE")), QStringLiteral("NOT FOUND"));
        QVERIFY(m_msgs.shown.isEmpty());
        QCOMPARE(ini.get(QStringLiteral("HEAD"), QStringLiteral("NOPE")),
                 QStringLiteral("EOFタグ：HEAD　キー：NOPE"));
        QCOMPARE(m_msgs.shown.size(), 1);
        QCOMPARE(m_msgs.shown[0].title, QStringLiteral("ＩＮＩファイルエラー"));
        QCOMPARE(m_msgs.shown[0].text,
                 QStringLiteral("ＩＮＩファイルが無いかキーが存在しません。タグ：HEAD　キー：NOPE"));
    }

    void cutsAt99BytesWithoutSplittingACharacter()
    {
        const QString ascii(120, u'x');
        const QString kanji = QStringLiteral("x") + QString(60, QChar(0x90E8)); // 1 + 60 x 2 bytes
        writeCp932File(m_path,
                       QStringLiteral("[A]\r\nK=") + ascii + QStringLiteral("\r\nJ=") + kanji + u"\r\n");
        IniAccess ini(m_msgs, m_path);
        QCOMPARE(ini.get(QStringLiteral("A"), QStringLiteral("K")), ascii.left(99));
        QCOMPARE(ini.get(QStringLiteral("A"), QStringLiteral("J")), kanji.left(50)); // 1 + 49 x 2 = 99
    }

    void writesInPlaceKeepingOtherBytes()
    {
        writeCp932File(m_path,
                       QStringLiteral("; 設定\r\n[USER]\r\nMAX=1\r\n1=客先Ａ\r\n\r\n[OTHER]\r\nX=1\r\n"));
        IniAccess ini(m_msgs, m_path);
        QVERIFY(ini.put(QStringLiteral("user"), QStringLiteral("max"), QStringLiteral("2")));
        QVERIFY(ini.put(QStringLiteral("USER"), QStringLiteral("2"), QStringLiteral("表示")));
        QVERIFY(ini.put(QStringLiteral("NEW"), QStringLiteral("K"), QStringLiteral("v")));
        const QByteArray expected = *IniFile::encodeCp932(QStringLiteral(
            "; 設定\r\n[USER]\r\nMAX=2\r\n1=客先Ａ\r\n2=表示\r\n\r\n[OTHER]\r\nX=1\r\n[NEW]\r\nK=v\r\n"));
        QCOMPARE(readFileBytes(m_path), expected);
        QCOMPARE(ini.get(QStringLiteral("USER"), QStringLiteral("2")), QStringLiteral("表示"));
    }

    void refusesTextsTheFileCannotHold()
    {
        writeCp932File(m_path, QStringLiteral("[USER]\r\nMAX=0\r\n"));
        const QByteArray before = readFileBytes(m_path);
        IniAccess ini(m_msgs, m_path);
        QVERIFY(!ini.put(QStringLiteral("USER"), QStringLiteral("1"), QStringLiteral("株式会社😀")));
        QCOMPARE(readFileBytes(m_path), before);
        QCOMPARE(m_msgs.shown.size(), 1);
        QVERIFY(m_msgs.shown[0].text.startsWith(QStringLiteral("ＩＮＩファイル書き込みエラー")));
        QVERIFY(m_msgs.shown[0].text.contains(QStringLiteral("「😀」")));
        // The wave dash of other platforms is stored as the CP932 full-width tilde.
        QVERIFY(ini.put(QStringLiteral("USER"), QStringLiteral("1"), QString(QChar(0x301C))));
        QCOMPARE(ini.get(QStringLiteral("USER"), QStringLiteral("1")), QString(QChar(0xFF5E)));
    }

    void keepsUtf8FilesUtf8()
    {
        QFile f(m_path);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(QByteArray("\xEF\xBB\xBF[USER]\nMAX=1\n1=") + QStringLiteral("客先😀").toUtf8() + "\n");
        f.close();
        IniAccess ini(m_msgs, m_path);
        QCOMPARE(ini.get(QStringLiteral("USER"), QStringLiteral("1")), QStringLiteral("客先😀"));
        QVERIFY(ini.put(QStringLiteral("USER"), QStringLiteral("2"), QStringLiteral("新規😀")));
        QCOMPARE(readFileBytes(m_path), QByteArray("\xEF\xBB\xBF[USER]\nMAX=1\n1=") +
                                            QStringLiteral("客先😀").toUtf8() +
                                            "\n2=" + QStringLiteral("新規😀").toUtf8() + "\n");
    }

    void missingAndReadOnlyFiles()
    {
        IniAccess ini(m_msgs, m_path);
        QCOMPARE(ini.find(QStringLiteral("A"), QStringLiteral("B")), QStringLiteral("NOT FOUND"));
        writeCp932File(m_path, QStringLiteral("[A]\r\nB=1\r\n"));
        QFile::setPermissions(m_path, QFileDevice::ReadOwner);
        QVERIFY(!ini.put(QStringLiteral("A"), QStringLiteral("B"), QStringLiteral("2")));
        QCOMPARE(m_msgs.shown.last().text, QStringLiteral("ＩＮＩファイル書き込みエラー"));
        QCOMPARE(ini.get(QStringLiteral("A"), QStringLiteral("B")), QStringLiteral("1"));
    }

    void quotesCommentsAndDuplicates()
    {
        writeCp932File(m_path,
                       QStringLiteral("[A]\r\n; K=comment\r\nQ=\"\"two\"\"\r\nS='single'\r\nH=\"half\r\n"
                                      "K = first \r\n[a]\r\nK=second section\r\nX=only here\r\n"));
        IniAccess ini(m_msgs, m_path);
        QCOMPARE(ini.get(QStringLiteral("A"), QStringLiteral("Q")),
                 QStringLiteral("\"two\"")); // one pair removed
        QCOMPARE(ini.get(QStringLiteral("A"), QStringLiteral("S")), QStringLiteral("single"));
        QCOMPARE(ini.get(QStringLiteral("A"), QStringLiteral("H")), QStringLiteral("\"half"));
        QCOMPARE(ini.get(QStringLiteral("a"), QStringLiteral("k")), QStringLiteral("first"));
        // The first of two sections of the same name is the one read.
        QCOMPARE(ini.find(QStringLiteral("A"), QStringLiteral("X")), QStringLiteral("NOT FOUND"));
        QVERIFY(m_msgs.shown.isEmpty());
    }

    void storedValueStartingWithEofRaisesTheBox()
    {
        writeCp932File(m_path, QStringLiteral("[A]\r\nK=EOF marker\r\n"));
        IniAccess ini(m_msgs, m_path);
        QCOMPARE(ini.find(QStringLiteral("A"), QStringLiteral("K")), QStringLiteral("EOF marker"));
        QCOMPARE(m_msgs.shown.size(), 1);
        QCOMPARE(m_msgs.shown[0].text, QStringLiteral("ＩＮＩファイルが無いかキーが存在しません。 marker"));
    }

    void halfWidthKanaCountOneByte()
    {
        const QString kana(120, QChar(0xFF83)); // ﾃ
        writeCp932File(m_path, QStringLiteral("[A]\r\nK=") + kana + QStringLiteral("\r\n"));
        IniAccess ini(m_msgs, m_path);
        QCOMPARE(ini.get(QStringLiteral("A"), QStringLiteral("K")), kana.left(99));
        QCOMPARE(IniFile::cutToBytes(QStringLiteral("ab部品"), 3), QStringLiteral("ab"));
        QCOMPARE(IniFile::cutToBytes(QStringLiteral("ab部品"), 4), QStringLiteral("ab部"));
    }

    void writesIntoFilesWithoutTrailingLineEnd()
    {
        QFile f(m_path);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("[A]\nK=1");
        f.close();
        IniAccess ini(m_msgs, m_path);
        QVERIFY(ini.put(QStringLiteral("A"), QStringLiteral("L"), QStringLiteral("2")));
        QCOMPARE(readFileBytes(m_path), QByteArray("[A]\nK=1\nL=2\n"));
        // A value stays one line.
        QVERIFY(ini.put(QStringLiteral("A"), QStringLiteral("M"), QStringLiteral("a\r\nb\nc")));
        QCOMPARE(readFileBytes(m_path), QByteArray("[A]\nK=1\nL=2\nM=a b c\n"));
        // A missing file is made, in Shift-JIS.
        const QString fresh = m_dir.filePath(QStringLiteral("new.ini"));
        QVERIFY(ini.IniPut(fresh, QStringLiteral("USER"), QStringLiteral("1"), QStringLiteral("客先")));
        QCOMPARE(readFileBytes(fresh), *IniFile::encodeCp932(QStringLiteral("[USER]\r\n1=客先\r\n")));
        QFile::remove(fresh);
    }

    void utf8WithoutMarkIsRecognised()
    {
        QFile f(m_path);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(QStringLiteral("[USER]\r\nMAX=1\r\n1=客先Ａ\r\n").toUtf8());
        f.close();
        IniAccess ini(m_msgs, m_path);
        QCOMPARE(ini.get(QStringLiteral("USER"), QStringLiteral("1")), QStringLiteral("客先Ａ"));
        QVERIFY(ini.put(QStringLiteral("USER"), QStringLiteral("2"), QStringLiteral("客先Ｂ")));
        QCOMPARE(readFileBytes(m_path),
                 QStringLiteral("[USER]\r\nMAX=1\r\n1=客先Ａ\r\n2=客先Ｂ\r\n").toUtf8());
        // Plain ASCII and Shift-JIS files stay Shift-JIS.
        writeCp932File(m_path, QStringLiteral("[USER]\r\n1=ﾃﾞｰﾀ部品\r\n"));
        QCOMPARE(ini.get(QStringLiteral("USER"), QStringLiteral("1")), QStringLiteral("ﾃﾞｰﾀ部品"));
    }

    void damageIsDescribedByLine()
    {
        IniAccess ini(m_msgs, m_path);
        writeCp932File(m_path, QStringLiteral("[A]\r\nK=部品\r\n\tL=1\r\n\x1a"));
        QCOMPARE(IniFile::describeDamage(m_path), QString());
        QFile f(m_path);
        QVERIFY(f.open(QIODevice::Append));
        f.write("\r\nM=\x01\r\n");
        f.close();
        QCOMPARE(IniFile::describeDamage(m_path),
                 QStringLiteral("5 行目にテキストではないデータ（制御文字 0x01）があります。"));
        QVERIFY(IniFile::describeDamage(m_dir.filePath(QStringLiteral("none.ini")))
                    .contains(QStringLiteral("開けません")));
    }

    void showMessageByKind()
    {
        writeCp932File(
            m_path,
            QStringLiteral("[MSGCD]\r\nW001=注意\r\nQ001=よろしいですか\r\nX001=不明\r\nI100=完了\r\n"));
        IniAccess ini(m_msgs, m_path);
        m_msgs.setNextAnswer(MsgAnswer::Cancel);
        QCOMPARE(ini.ShowMessage(QStringLiteral("W001"), QString()), QStringLiteral("OK"));
        QCOMPARE(m_msgs.shown.last().buttons, MsgButtons::OkCancel);
        m_msgs.setNextAnswer(MsgAnswer::No);
        QCOMPARE(ini.ShowMessage(QStringLiteral("Q001"), QStringLiteral("!")), QStringLiteral("NO"));
        QCOMPARE(m_msgs.shown.last().text, QStringLiteral("よろしいですか!"));
        QCOMPARE(m_msgs.shown.last().title, QStringLiteral("確認"));
        QCOMPARE(ini.ShowMessage(QStringLiteral("X001"), QString()), QStringLiteral("OK"));
        QCOMPARE(m_msgs.shown.last().title, QStringLiteral("ＩＮＩファイルエラー"));
        QCOMPARE(m_msgs.shown.last().icon, MsgIcon::Stop);
        // A question missing from the catalogue shows only the settings box and answers No.
        m_msgs.clear();
        m_msgs.setNextAnswer(MsgAnswer::Yes);
        QCOMPARE(ini.ShowMessage(QStringLiteral("Q999"), QString()), QStringLiteral("NO"));
        QCOMPARE(m_msgs.shown.size(), 1);
        QCOMPARE(m_msgs.beeps, 1);
    }
};

QTEST_GUILESS_MAIN(TestIniFile)
#include "TestIniFile.moc"
