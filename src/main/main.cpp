#include "AppContext.h"
#include "WidgetServices.h"

#include <QApplication>
#include <QLabel>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    WidgetMessageService messages;
    AppContext ctx;
    ctx.messages = &messages;
    ctx.setPaths(QCoreApplication::applicationDirPath());
    ctx.makeIni();
    QLabel label(ctx.ini->get(QStringLiteral("HEAD"), QStringLiteral("TITLE")));
    label.show();
    return app.exec();
}
