#pragma once

#include <QString>

class QWidget;

// What a screen hands to the print run: the parts table as its header shows it, the customer
// whose layout is used, the kind, and the editor's options.
struct PrintRequest {
    QWidget* caller = nullptr;
    QString runMode = QStringLiteral("HONBAN"); // "HONBAN" real data, "TEST" sample data
    QString dwgNo;
    QString assy;
    QString name;
    QString date;
    QString designer;
    QString customer;
    QString kind;
    bool keepExcel = false;    // "印刷ﾌﾟﾚﾋﾞｭｰ後にｴｸｾﾙ表示"
    bool summary = false;      // "品名､材質､備考、単位、ﾒｰｶｰでｻﾏﾘｰ"
    bool pagePerMaker = false; // "印刷時にﾒｰｶｰ別に改頁"
};
