#include "ListQuery.h"

#include <QtTest>

class TestListQuery : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void modes_data()
    {
        QTest::addColumn<QString>("mode");
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QString>("expected");
        const QString where =
            QStringLiteral(" WHERE CH_DWGNO = 'D-1' AND CH_ASSY  = '250-01' AND CH_BUHIN = '1'");
        const QString sumSelect = QStringLiteral(
            "SELECT CH_MAKER ,CH_HINMEI ,CH_ZAISHITU ,CH_TANI,CH_TANI2,CH_BIKO ,SUM(INT_SURYO) AS SUM_SURYO "
            ",SUM(INT_KINGK) AS SUM_KINGK FROM BUHINHYO_M");
        const QString sumTail = QStringLiteral(
            " AND CH_HAISHI = FALSE GROUP BY CH_MAKER ,CH_HINMEI ,CH_ZAISHITU ,CH_TANI ,CH_TANI2 ,CH_BIKO"
            " ORDER BY CH_MAKER ,CH_HINMEI ,CH_ZAISHITU ,CH_TANI ,CH_TANI2 ,CH_BIKO");
        QTest::newRow("form load") << QStringLiteral("FORM LOAD") << QString()
                                   << QStringLiteral("SELECT * FROM BUHINHYO_M") + where +
                                          QStringLiteral(" ORDER BY CH_ZNO");
        QTest::newRow("list all") << QStringLiteral("LIST ALL") << QString()
                                  << QStringLiteral("SELECT * FROM BUHINHYO_M") + where +
                                         QStringLiteral(" ORDER BY CH_ZNO");
        QTest::newRow("list all page") << QStringLiteral("LIST ALL  PAGE") << QString()
                                       << QStringLiteral("SELECT * FROM BUHINHYO_M") + where +
                                              QStringLiteral(" ORDER BY CH_MAKER ,CH_ZNO");
        QTest::newRow("list sum page")
            << QStringLiteral("LIST SUM  PAGE") << QString() << sumSelect + where + sumTail;
        QTest::newRow("maker filter")
            << QStringLiteral("LIST SUM") << QStringLiteral("MAKER")
            << sumSelect + where + QStringLiteral(" AND CH_MAKER = 'ミスミ'") + sumTail;
        QTest::newRow("filter word must be exact")
            << QStringLiteral("LIST ALL") << QStringLiteral("maker")
            << QStringLiteral("SELECT * FROM BUHINHYO_M") + where + QStringLiteral(" ORDER BY CH_ZNO");
        QTest::newRow("unknown mode") << QStringLiteral("LIST") << QString() << where;
    }
    void modes()
    {
        QFETCH(QString, mode);
        QFETCH(QString, filter);
        QFETCH(QString, expected);
        QCOMPARE(BuildListQuery(mode, filter, QStringLiteral("D-1"), QStringLiteral("250-01"),
                                QStringLiteral("1"), QStringLiteral("ミスミ")),
                 expected);
    }

    void printModeString()
    {
        QCOMPARE(ListMode::forPrint(false, true), QStringLiteral("LIST ALL  PAGE"));
        const ListMode m = ListMode::parse(ListMode::forPrint(false, true));
        QCOMPARE(m.list, QStringLiteral("LIST ALL"));
        QCOMPARE(m.paging, QStringLiteral("PAGE"));
        QCOMPARE(ListMode::forPrint(true, false), QStringLiteral("LIST SUM"));
        // Quotes are not doubled: the text goes in as typed.
        QVERIFY(BuildListQuery(QStringLiteral("LIST ALL"), {}, QStringLiteral("O'NEIL"), {}, {}, {})
                    .contains(QStringLiteral("CH_DWGNO = 'O'NEIL'")));
    }
};

QTEST_GUILESS_MAIN(TestListQuery)
#include "TestListQuery.moc"
