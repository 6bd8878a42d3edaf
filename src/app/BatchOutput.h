#pragma once

#include "MessageService.h"

#include <QString>
#include <cstdio>

// The batch commands' output: a line of text in UTF-8 on stdout or stderr.
void WriteLine(std::FILE* stream, const QString& text);

// A batch command's message boxes become lines on stderr, "<command>: [title] text", and the cause
// behind it on a line of its own. A question gets the answer given here; any other box is taken
// as acknowledged.
class StderrMessageService : public MessageService
{
public:
    StderrMessageService(QString command, MsgAnswer toQuestions)
        : m_command(std::move(command)), m_toQuestions(toQuestions)
    {
    }
    MsgAnswer show(MsgIcon icon, MsgButtons buttons, const QString& title, const QString& text,
                   const QString& detail = QString()) override;
    void beep() override {}

private:
    QString m_command;
    MsgAnswer m_toQuestions;
};
