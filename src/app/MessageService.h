#pragma once

#include <QList>
#include <QString>
#include <deque>

// Every message box and beep of the program goes through one MessageService, so that tests can
// answer the boxes and read back what was shown. A box may carry a detail text (the cause behind an
// error: the engine's or driver's message, the file, the step), shown on demand below the text.
enum class MsgIcon { None, Stop, Exclamation, Information, Question };
enum class MsgButtons { Ok, OkCancel, YesNo };
enum class MsgAnswer { Ok, Cancel, Yes, No };

class MessageService
{
public:
    virtual ~MessageService() = default;
    virtual MsgAnswer show(MsgIcon icon, MsgButtons buttons, const QString& title, const QString& text,
                           const QString& detail = QString()) = 0;
    virtual void beep() = 0;
};

// A message service for tests and for the batch command: answers from a queue (or a default answer),
// and records every box and beep.
class ScriptedMessageService : public MessageService
{
public:
    struct Shown {
        MsgIcon icon;
        MsgButtons buttons;
        QString title;
        QString text;
        QString detail;
    };

    MsgAnswer show(MsgIcon icon, MsgButtons buttons, const QString& title, const QString& text,
                   const QString& detail = QString()) override
    {
        shown.append({icon, buttons, title, text, detail});
        if (!answers.empty()) {
            MsgAnswer a = answers.front();
            answers.pop_front();
            return a;
        }
        if (buttons == MsgButtons::YesNo)
            return defaultYesNo;
        return MsgAnswer::Ok;
    }
    void beep() override { ++beeps; }

    void setNextAnswer(MsgAnswer a) { answers.push_back(a); }
    void clear()
    {
        shown.clear();
        answers.clear();
        beeps = 0;
    }
    QStringList texts() const
    {
        QStringList out;
        for (const auto& s : shown)
            out << s.text;
        return out;
    }

    QList<Shown> shown;
    std::deque<MsgAnswer> answers;
    MsgAnswer defaultYesNo = MsgAnswer::Yes;
    int beeps = 0;
};
