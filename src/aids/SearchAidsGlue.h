#pragma once

#include "DrawingSearch.h"

// What the program plugs into the drawing list search: the data search screen behind "検索(F1)"
// and the input aids of every editor the search opens.
SearchHooks MakeSearchHooks();

// "検索(F1)": the data search over the stored tables of the search screen's kind, narrowed by the
// drawing number and assembly typed there. A chosen table's drawing number, assembly, name,
// designer and kind are put into the search screen's fields, so that "入力(F5)" opens it.
void OpenDataSearchFromSearch(AppContext& ctx, QWidget* searchScreen);
