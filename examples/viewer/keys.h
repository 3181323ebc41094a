// What each key does.
#pragma once

#include "examples/viewer/view.h"

// What is not a letter in capitals or a digit.
constexpr char upKey = 1;
constexpr char downKey = 2;
constexpr char enterKey = '\r';

// True if the key changed the view. While the panel lists the keys, the arrows choose
// one and Enter does what it does.
bool pressKey(View* view, char key);

// What the mouse and the keys do, for the panel, with a mark beside the key that is
// chosen.
std::vector<std::string> keyLines(const View& view);
