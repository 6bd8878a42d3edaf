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
        setUp(name, list("KVRCAD0002COMBO1"), u"ギア"_qs);
        setUp(material, {}, u"A5052"_qs);
        setUp(unit, list("STANI"), u"個"_qs);
        setUp(unit2, list("STANI"), u"缶"_qs);
        setUp(maker, list("MAKER"), u"ＴＨＫ"_qs);
        const InputListFields fields{&name, &material, &unit, &unit2, &maker};
        for (int transfer = 0; transfer < 2; ++transfer)
            RememberInputFields(*env->ctx.ini, fields);

        // A new name goes to the list of the name field's lowest slot, a new material likewise (list 6
        // holds slot 4).
        QCOMPARE(list("KVRCAD0002COMBO1").count(u"ギア"_qs), 1);
        QCOMPARE(list("KVRCAD0002COMBO6"), (QStringList{u"SUS304"_qs, u"A5052"_qs}));
        QCOMPARE(list("KVRCAD0002COMBO5").size(), 2);
        QCOMPARE(list("STANI"), (QStringList{u"個"_qs, u"本"_qs, u"ｍ"_qs, u"缶"_qs}));
        QCOMPARE(list("MAKER").count(u"ＴＨＫ"_qs), 1);
        QCOMPARE(env->ctx.ini->get(u"MAKER"_qs, u"MAX"_qs), u"3"_qs);
        // The drop-downs offer the new entries and keep their own texts.
        QCOMPARE(unit.currentText(), u"個"_qs);
        QCOMPARE(unit2.currentText(), u"缶"_qs);
        QVERIFY(unit.findText(u"缶"_qs) >= 0);
        QCOMPARE(maker.count(), 3);
        QCOMPARE(name.currentText(), u"ギア"_qs);
        QVERIFY(env->messages.shown.isEmpty());

        // Known and blank entries write nothing.
        const QByteArray before = readFileBytes(env->ctx.IniPath);
        QComboBox name2, material2, unitB, unit2B, maker2;
        // "ピン" is in list 4, "SUS304" in list 6: both feed their fields already.
        setUp(name2, {}, u"ピン"_qs);
        setUp(material2, {}, u"SUS304"_qs);
        setUp(unitB, {}, u"  "_qs);
        setUp(unit2B, {}, QString());
        setUp(maker2, {}, u"ミスミ"_qs);
        RememberInputFields(*env->ctx.ini, {&name2, &material2, &unitB, &unit2B, &maker2});
        QCOMPARE(readFileBytes(env->ctx.IniPath), before);
    }
};

QTEST_MAIN(TestInputRemember)
#include "TestInputRemember.moc"
