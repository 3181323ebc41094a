// What the program says of itself, all of it made from the tables of operations and settings.
#pragma once

#include "tools/quib/operation.h"

#include <string>

std::string versionText();
std::string usageText();                          // quib --help
std::string listText();                           // quib list
std::string helpText(const Operation& operation); // quib help OPERATION
std::string manualText();                         // quib manual, for quib(1)

// For bash, zsh or fish; empty for another shell.
std::string completionText(const std::string& shell);

// The first sentence of what the library's header says of a function, or an empty text.
std::string sentenceOf(const std::string& function);

// "8, 24 and 32; others ...": what an operation does with the depths.
std::string depthsText(const Operation& operation);

// NAME ARGUMENTS [--option VALUE]...
std::string formOf(const Operation& operation);
