#include "examples/viewer/keys.h"

#include "examples/viewer/corners.h"
#include "examples/viewer/edits.h"

#include <algorithm>
#include <iterator>

namespace
{

struct Key {
    char key;
    const char* name;
    void (*act)(View*); // or null for
    Edit edit;
};

void toggleKeys(View* view)
{
    view->showsKeys = !view->showsKeys;
}

template<int32_t axis>
void turn(View* view)
{
    turnPicture(view, axis);
}

constexpr Key keys[] = {
    {'M', "MODE", nextMode, nullptr},
    {'F', "FIT", fitPicture, nullptr},
    {'K', "KEYS", toggleKeys, nullptr},
    {'U', "UNDO", undoEdit, nullptr},
    {'W', "CORNERS", toggleCorners, nullptr},
    {'X', "TURN", turn<1>, nullptr},
    {'Y', "TURN", turn<2>, nullptr},
    {'Z', "TURN", turn<3>, nullptr},
    {'R', "ROTATE", turn<0>, nullptr},
    {'H', "MIRROR", nullptr, mirrorColumns},
    {'V', "UPEND", nullptr, mirrorRows},
    {'1', "SOFTEN", nullptr, soften},
    {'2', "SHARPEN", nullptr, sharpen},
    {'3', "EDGES", nullptr, findEdges},
    {'4', "EMBOSS", nullptr, emboss},
    {'5', "MEDIAN", nullptr, takeMedian},
    {'6', "COL MEDIAN", nullptr, takeColorMedian},
    {'7', "LARGEST", nullptr, takeLargest},
    {'8', "SMALLEST", nullptr, takeSmallest},
    {'9', "BLUR", nullptr, blur},
    {'0', "LAPLACIAN", nullptr, findSpots},
    {'J', "DECI BLUR", nullptr, blurInto},
    {'B', "BRIGHTER", nullptr, brighten},
    {'D', "DARKER", nullptr, darken},
    {'C', "CONTRAST", nullptr, addContrast},
    {'T', "HUE", nullptr, turnHue},
    {'S', "SATURATE", nullptr, saturate},
    {'G', "GRAY", nullptr, desaturate},
    {'N', "NEGATIVE", nullptr, invert},
    {'I', "ONE FIELD", nullptr, repeatRows},
};

bool leavesPicture(const Key& key)
{
    return key.act == nextMode || key.act == fitPicture || key.act == toggleKeys ||
           key.act == toggleCorners;
}

void act(View* view, const Key& key)
{
    // What is shown is what is edited.
    if (view->corners.areShown && !leavesPicture(key))
        toggleCorners(view);
    if (key.edit)
        applyEdit(view, key.edit, key.name);
    else
        key.act(view);
}

// The list is a ring.
void choose(View* view, int32_t step)
{
    constexpr int32_t count = static_cast<int32_t>(std::size(keys));
    view->chosenKey = (view->chosenKey + count + step) % count;
}

bool pressInList(View* view, char key)
{
    if (key == upKey || key == downKey)
        choose(view, key == upKey ? -1 : 1);
    else if (key == enterKey)
        act(view, keys[view->chosenKey]);
    else
        return false;
    return true;
}

} // namespace

bool pressKey(View* view, char key)
{
    if (view->showsKeys && pressInList(view, key))
        return true;
    const Key* found = std::find_if(std::begin(keys), std::end(keys),
                                    [&](const Key& known) { return known.key == key; });
    if (found == std::end(keys))
        return false;
    act(view, *found);
    return true;
}

// Two to a line.
std::vector<std::string> keyLines(const View& view)
{
    std::vector<std::string> texts{"DRAG MOVE", "WHEEL ZOOM"};
    for (const Key& key : keys)
        texts.push_back(std::string(1, key.key) + (&key == keys + view.chosenKey ? ">" : " ") +
                        key.name);
    texts.push_back("ESC LEAVE");
    const size_t count = (texts.size() + 1) / 2;
    const size_t column = 14;
    std::vector<std::string> lines;
    for (size_t i = 0; i < count; ++i) {
        std::string line = texts[i] + std::string(column - texts[i].size(), ' ');
        if (i + count < texts.size())
            line += texts[i + count];
        lines.push_back(line);
    }
    return lines;
}
