#include "AidsTestEnv.h"

QString AidsTestEnv::iniText()
{
    return QStringLiteral("[DBMS]\r\nDB=LOCAL\r\n[LOCAL]\r\nMDB=DB\\CADDB.sqlite\r\n"
                          "[MSGCD]\r\nE103=入力されていません。\r\nI100=更新しました。\r\n"
                          "Q001=NAMEが変更されています。変更しますか？\r\n"
                          "[USER]\r\nMAX=2\r\n1=東西重工\r\n2=南北機械\r\n"
                          "[MAKER]\r\nMAX=2\r\n1=ミスミ\r\n2=オリエンタル\r\n"
                          "[STANI]\r\nMAX=3\r\n1=個\r\n2=本\r\n3=ｍ\r\n"
                          "[DESINED]\r\nMAX=1\r\n1=山田\r\n"
                          "[KVRCAD0002COMBOMAX]\r\nMAX=8\r\n"
                          "[KVRCAD0002COMBO1]\r\nMAX=3\r\nINDEX=0\r\n1=ボルト\r\n2=ナット\r\n3=ワッシャ\r\n"
                          "[KVRCAD0002COMBO2]\r\nMAX=1\r\nINDEX=1\r\n1=ベアリング\r\n"
                          "[KVRCAD0002COMBO3]\r\nMAX=0\r\nINDEX=9\r\n"
                          "[KVRCAD0002COMBO4]\r\nMAX=1\r\nINDEX=3\r\n1=ピン\r\n"
                          "[KVRCAD0002COMBO5]\r\nMAX=2\r\nINDEX=5\r\n1=SS400\r\n2=S45C\r\n"
                          "[KVRCAD0002COMBO6]\r\nMAX=1\r\nINDEX=4\r\n1=SUS304\r\n"
                          "[KVRCAD0002COMBO7]\r\nMAX=0\r\nINDEX=6\r\n"
                          "[KVRCAD0002COMBO8]\r\nMAX=0\r\nINDEX=7\r\n");
}

AidsTestEnv::AidsTestEnv()
{
    clock.set(QDateTime(QDate(2026, 11, 21), QTime(9, 0)));
    writeIni(iniText());
    connect();
}

void AidsTestEnv::addHeader(const QString& dwgNo, const QString& assy, const QString& kind,
                            const QString& user, const QString& name, const QString& designer,
                            const QString& date)
{
    exec(QStringLiteral("INSERT INTO BUHINHYO (CH_DWGNO,CH_ASSY,CH_BUHIN,CH_USER,CH_NAME,CH_HDATE,CH_DESINED)"
                        " VALUES ('%1','%2','%3','%4','%5','%6','%7')")
             .arg(dwgNo, assy, kind, user, name, date, designer));
}

void AidsTestEnv::addLine(const QString& dwgNo, const QString& assy, const QString& kind, const QString& user,
                          const QString& zno, const QString& hinmei, const QString& zaishitu,
                          const QString& suryo, const QString& maker)
{
    exec(QStringLiteral("INSERT INTO BUHINHYO_M (CH_DWGNO,CH_ASSY,CH_BUHIN,CH_USER,CH_ZNO,CH_HINMEI,"
                        "CH_ZAISHITU,INT_SURYO,CH_TANI,CH_MAKER,CH_HAISHI,CH_KAKKO,CH_UPDDATE)"
                        " VALUES ('%1','%2','%3','%4','%5','%6','%7',%8,'個','%9',0,0,'20260115')")
             .arg(dwgNo, assy, kind, user, zno, hinmei, zaishitu, suryo.isEmpty() ? u"NULL"_qs : suryo,
                  maker));
}
