#pragma once

#include <QString>
#include <functional>

class MessageService;

// The one place where a screen command's run-time error is caught and shown: an error box with the
// error's description and number; the command ends, the program stays up.
// Returns true when the command ran to its end.
bool guardCommand(MessageService& messages, const std::function<void()>& command);

// The text of the error box for an error number and description.
QString runtimeErrorText(int number, const QString& description);
