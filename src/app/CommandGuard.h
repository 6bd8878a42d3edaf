#pragma once

#include <QString>
#include <exception>
#include <functional>

class MessageService;

// The one place where a screen command's run-time error is caught and shown: an error box with the
// error's description and number; the command ends, the program stays up.
// Returns true when the command ran to its end.
bool guardCommand(MessageService& messages, const std::function<void()>& command);

// Ends a command whose failure has been shown already (a screen that could not open and has said
// why): guardCommand ends the command without a second box.
class CommandEnded : public std::exception
{
public:
    const char* what() const noexcept override { return "command ended"; }
};

// The text of the error box for an error number and description.
QString runtimeErrorText(int number, const QString& description);
