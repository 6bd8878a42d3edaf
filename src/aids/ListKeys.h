#pragma once

#include <functional>

class QAbstractItemView;

// Enter (and the keypad's Enter) on a list or grid calls the action instead of moving the cursor.
void OnListEnter(QAbstractItemView* view, std::function<void()> action);
