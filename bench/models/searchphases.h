#pragma once
// Where the time between a key and the first hit goes. Owner: none. Thread: main.

#include "searchprogram.h"

namespace SearchPhases
{
/// Prints a line for each step of a search for @p text, each run by itself, and its share of their
/// sum: the text's vector, the nearest frames, their rows, the texts, the first hit's picture, the
/// way of a hit into the model, and the stop of the search before.
void measure(SearchProgram::Program *program, const QString &name, const QString &text);
} // namespace SearchPhases
