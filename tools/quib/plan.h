// What a command line asks for.
#pragma once

#include "tools/quib/files.h"
#include "tools/quib/operation.h"

#include <string>
#include <vector>

struct Plan {
    std::vector<std::string> inputs; // files, folders, patterns
    std::string output;              // a file, a folder, a pattern
    std::vector<Step> steps;
    std::vector<Value> settings; // of allSettings(), in its order

    const Value& operator[](const char* setting) const;
};

// The options of the program itself.
const std::vector<Parameter>& allSettings();

// A plan that asks for nothing, with the settings' defaults.
Plan emptyPlan();

Problem parsePlan(const std::vector<std::string>& words, Plan* plan);

// The name that comes nearest to a misspelt one, or an empty text.
std::string nearestName(const std::string& word, const std::vector<std::string>& names);

SaveOptions saveOptionsOf(const Plan& plan);
