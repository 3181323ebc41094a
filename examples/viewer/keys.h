// What each key does.
#pragma once

#include "examples/viewer/view.h"

// A letter in capitals, or a digit; true if it changed the view.
bool pressKey(View* view, char key);

// What the mouse and the keys do, for the panel.
std::vector<std::string> keyLines();
