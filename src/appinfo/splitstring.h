#pragma once
// Splits 8-bit texts. Thread: any.

#include <string>
#include <vector>

/// The pieces of @p text between the delimiters, in order; empty pieces are left out.
std::vector<std::string> splitString(const std::string &text, char delimiter);
