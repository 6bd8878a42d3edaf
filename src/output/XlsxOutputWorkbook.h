#pragma once

#include "PrintRun.h"

// The work copy opened in the workbook engine.
std::unique_ptr<OutputWorkbook> OpenXlsxOutputWorkbook(const QString& path);
