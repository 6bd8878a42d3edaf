#include "BatchOutput.h"

void WriteLine(std::FILE* stream, const QString& text)
{
    std::fputs(text.toUtf8().constData(), stream);
    std::fputc('\n', stream);
}

MsgAnswer StderrMessageService::show(MsgIcon, MsgButtons buttons, const QString& title, const QString& text,
                                     const QString& detail)
{
    WriteLine(stderr, m_command + QStringLiteral(": [") + title + QStringLiteral("] ") + text);
    if (!detail.isEmpty())
        WriteLine(stderr, m_command + QStringLiteral(": 原因: ") + detail);
    return buttons == MsgButtons::YesNo ? m_toQuestions : MsgAnswer::Ok;
}
