// What the demo's sections have in common: the pictures that they start from, and
// the page that they add to.
#pragma once

#include "examples/demo/page.h"
#include "examples/support/handle.h"

#include <functional>
#include <string>

struct Demo {
    std::string photographFile;
    std::string backdropFile;
    std::string folder; // that the page goes to
    Page page;
    int pictures = 0;
    Handle photograph;  // 32-bit and opaque
    Handle image;       // the same in a size for a card
    Handle tile;        // and for a small one
    Handle backdrop;    // the second photograph, as large as the image
    Handle composition; // of both, once it is made
};

// A call of the library and its text as it was compiled.
struct Call {
    std::string text;
    std::function<QuibStatus()> run;

    // The text with a number, or a constant's name, where the code has a variable.
    Call with(const std::string& variable, const std::string& value) const;
    Call with(const std::string& variable, int value) const;
};
#define CALL(...) (Call{#__VA_ARGS__, [&]() -> QuibStatus { return __VA_ARGS__; }})
// The same of a function of the engine, which ends the process if it fails.
#define ENGINE_CALL(...)                                                                           \
    (Call{#__VA_ARGS__, [&]() -> QuibStatus {                                                      \
              __VA_ARGS__;                                                                         \
              return QUIB_OK;                                                                      \
          }})

// One call and then another.
Call operator+(const Call& first, const Call& second);

// How a picture is shown: as it is in few colours, each pixel either there or not,
// with its alpha, or with all its colours.
enum class Look { plain, cutOut, alpha, exact };

void beginSection(Demo& demo, const std::string& id, const std::string& title,
                  const std::string& text);
void beginRow(Demo& demo, const std::string& label, Cards cards);

// Adds a picture to the last row. Below 0 milliseconds: not timed.
void show(Demo& demo, const IplImage* image, const std::string& title, const std::string& call,
          double milliseconds, Look look = Look::plain);

// Shows what a call stores in *result, which is null before and after.
void showMade(Demo& demo, const std::string& title, IplImage** result, const Call& call,
              Look look = Look::plain);

// Shows what a call makes of the pixels of `target`, which are put back before
// each run. `finish` adds what the program itself draws.
void showWritten(Demo& demo, const std::string& title, IplImage* target, const Call& call,
                 Look look = Look::plain, const std::function<void(IplImage*)>& finish = nullptr);

// Shows pixels enlarged so that each can be seen.
void showDetail(Demo& demo, const IplImage* image, const std::string& title,
                const std::string& call, double milliseconds, int times);
