#include "CommandGuard.h"

#include "MessageService.h"
#include "RuntimeError.h"

#include <exception>
#include <new>

QString runtimeErrorText(int number, const QString& description)
{
    return QStringLiteral("実行時エラー '%1':\n\n%2").arg(number).arg(description);
}

bool guardCommand(MessageService& messages, const std::function<void()>& command)
{
    try {
        command();
        return true;
    } catch (const CommandEnded&) {
    } catch (const RuntimeError& e) {
        messages.show(MsgIcon::Stop, MsgButtons::Ok, QStringLiteral("エラー"),
                      runtimeErrorText(e.number(), e.description()), e.cause());
    } catch (const std::bad_alloc&) {
        messages.show(MsgIcon::Stop, MsgButtons::Ok, QStringLiteral("エラー"),
                      runtimeErrorText(7, QStringLiteral("メモリが不足しています。")));
    } catch (const std::exception& e) {
        messages.show(MsgIcon::Stop, MsgButtons::Ok, QStringLiteral("エラー"),
                      runtimeErrorText(51, QString::fromUtf8(e.what())));
    }
    return false;
}
