#pragma once
// What the program asks of the desktop's system information library. Any thread.

extern "C" {
/// The production line of the running system as a NUL-terminated text that stays the library's own,
/// or null where it is not known.
const char *tdk_system_get_production_line();
}
