#include "AidsTestEnv.h"
#include "Common.h"
#include "InputRemember.h"
#include "TestSupport.h"

#include <QComboBox>
#include <QtTest>

// Typed entries of the input area remembered in their lists when a line is taken into the grid.
class TestInputRemember : public QObject
{
    Q_OBJECT
    std::unique_ptr<AidsTestEnv> env;

    static void setUp(QComboBox& c, const QStringList& items, const QString& text)
    {
        c.setEditable(true);
        c.addItems(items);
        c.setCurrentIndex(-1);
        c.setEditText(text);
    }
    QStringList list(const char* section) { return ReadList(*env->ctx.ini, QString::fromLatin1(section)); }

private Q_SLOTS:
    void init()
    {
        env = std::make_unique<AidsTestEnv>();
        QVERIFY(env->ok());
    }
    void cleanup() { env.reset(); }

    void newEntriesAreAppendedOnceToTheirLists()
    {
        QComboBox name, material, unit, unit2, maker;
        setUp(name, list("KVRCAD0002COMBO1"), QStringLiteral("ギア"));
        setUp(material, {}, QStringLiteral("A5052"));
        setUp(unit, list("STANI"), QStringLiteral("個"));
        setUp(unit2, list("STANI"), QStringLiteral("缶"));
        setUp(maker, list("MAKER"), QStringLiteral("ＴＨＫ"));
        const InputListFields fields{&name, &material, &unit, &unit2, &maker};
        for (int transfer = 0; transfer < 2; ++transfer)
            RememberInputFields(*env->ctx.ini, fields);

        // A new name goes to the list of the name field's lowest slot, a new material likewise (list 6
        // holds slot 4).
        QCOMPARE(list("KVRCAD0002COMBO1").count(QStringLiteral("ギア")), 1);
        QCOMPARE(list("KVRCAD0002COMBO6"), (QStringList{QStringLiteral("SUS304"), QStringLiteral("A5052")}));
        QCOMPARE(list("KVRCAD0002COMBO5").size(), 2);
        QCOMPARE(list("STANI"), (QStringList{QStringLiteral("個"), QStringLiteral("本"), QStringLiteral("ｍ"),
                                             QStringLiteral("缶")}));
        QCOMPARE(list("MAKER").count(QStringLiteral("ＴＨＫ")), 1);
        QCOMPARE(env->ctx.ini->get(QStringLiteral("MAKER"), QStringLiteral("MAX")), QStringLiteral("3"));
        // The drop-downs offer the new entries and keep their own texts.
        QCOMPARE(unit.currentText(), QStringLiteral("個"));
        QCOMPARE(unit2.currentText(), QStringLiteral("缶"));
        QVERIFY(unit.findText(QStringLiteral("缶")) >= 0);
        QCOMPARE(maker.count(), 3);
        QCOMPARE(name.currentText(), QStringLiteral("ギア"));
        QVERIFY(env->messages.shown.isEmpty());
    }

    void knownAndBlankEntriesWriteNothing()
    {
        const QByteArray before = readFileBytes(env->ctx.IniPath);
        QComboBox name, material, unit, unit2, maker;
        // "ピン" is in list 4, "SUS304" in list 6: both feed their fields already.
        setUp(name, {}, QStringLiteral("ピン"));
        setUp(material, {}, QStringLiteral("SUS304"));
        setUp(unit, {}, QStringLiteral("  "));
        setUp(unit2, {}, QString());
        setUp(maker, {}, QStringLiteral("ミスミ"));
        RememberInputFields(*env->ctx.ini, {&name, &material, &unit, &unit2, &maker});
        QCOMPARE(readFileBytes(env->ctx.IniPath), before);
    }
};

QTEST_MAIN(TestInputRemember)
#include "TestInputRemember.moc"
