#pragma once
// The production line that the system tells in a test program: the program's own definition of
// tdk_system_get_production_line() stands before that of the library. Main thread.

namespace ProductionLine
{
/// From now on the system tells @p line, which must outlive the test; null is a system that doesn't
/// know. At first it is the empty text.
void set(const char *line);
} // namespace ProductionLine
