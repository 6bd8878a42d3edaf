#pragma once

#include <QString>

class MessageService;

// Hands a workbook over to the spreadsheet program of the machine: the desktop's program for the
// file type (through xdg-open, when one is registered), otherwise LibreOffice Calc directly.
// Returns "" when a program was started, otherwise why none was.
QString OpenInSpreadsheet(const QString& workbookPath);

// The same, telling the user in a box when nothing could open the workbook.
void HandOverWorkbook(MessageService& messages, const QString& workbookPath);
