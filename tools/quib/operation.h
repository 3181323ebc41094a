// What the tool can do to a picture: one record an operation, from which the parser, the
// help, the manual page and the completions of the shells are made.
#pragma once

#include "tools/quib/picture.h"

#include <string>
#include <vector>

// What a word of the command line is to be.
enum class Kind {
    flag,      // an option without a value
    integer,   // -12
    real,      // 1.5
    choice,    // one of `choices`
    size,      // 640x480
    scale,     // 640x480, 640x, x480, 50%, 50%x25%
    place,     // X,Y in whole numbers
    point,     // X,Y
    pair,      // N or N,M
    rectangle, // WxH+X+Y
    window,    // N or WxH
    colour,    // #rrggbb, #rrggbbaa, R,G,B[,A], a gray 0 to 255, or a name
    reals,     // `count` numbers with commas between them
    kernels,   // 1,2,1:2,4,2:1,2,1, kernels parted by /
    file,      // a picture
    placed,    // a picture, and @X,Y if it does not go to the corner
    operand,   // a whole number or a picture
    text,      // anything
};

struct Parameter {
    const char* name; // an argument in capitals, an option with its dashes
    Kind kind;
    const char* help;
    double low = 0; // what each number may be
    double high = 0;
    const char* choices = "";       // parted by blanks
    const char* fallback = nullptr; // what stands for one left out; null: it must be given
    int count = 0;
    bool isWhole = false; // of `reals`
};

struct KernelTaps {
    int32_t columns = 0;
    std::vector<int32_t> taps; // row by row
};

// A word that was understood.
struct Value {
    bool isGiven = false;
    std::string text; // a choice, a file
    std::vector<double> numbers;
    bool isPercent[2] = {};
    std::vector<KernelTaps> kernels;

    int32_t whole(size_t i = 0) const { return static_cast<int32_t>(numbers[i]); }
};

// What is wrong with the word, named by `owner`, or nothing.
Problem parseValue(const Parameter& parameter, const std::string& word, const std::string& owner,
                   Value* value);

// How an argument or option is written: SIZE, --mode nearest|linear.
std::string usageOf(const Parameter& parameter);

// What its value is to be, for errors and help.
std::string expectationOf(const Parameter& parameter);

bool isOption(const Parameter& parameter);

std::vector<std::string> wordsOf(const char* text);

struct Operation;

// An operation with what was given to it.
struct Step {
    const Operation* operation = nullptr;
    std::vector<Value> values; // as many as the operation has parameters, in their order

    const Value& operator[](const char* name) const;
};

struct Operation {
    const char* name;
    const char* family;
    const char* functions; // of the library, parted by blanks
    const char* summary;
    const char* depths; // bits per pixel, parted by blanks; others are raised to the next one
    std::vector<Parameter> parameters;
    // Checks what the library would refuse, then does it. The picture has one of the depths.
    Problem (*apply)(const Step& step, Picture* picture);
    const char* note = "";
};

const std::vector<Operation>& allOperations();
const Operation* findOperation(const std::string& name);

// Brings the picture to a depth of the operation and applies it.
Problem applyStep(const Step& step, Picture* picture);

// The families, each of which adds its own to the table.
using Operations = std::vector<Operation>;
void addSizes(Operations* table);
void addTransfers(Operations* table);
void addWarps(Operations* table);
void addComposites(Operations* table);
void addArithmetic(Operations* table);
void addTone(Operations* table);
void addFilters(Operations* table);
void addFields(Operations* table);
