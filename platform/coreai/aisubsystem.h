// Whether the on-device AI runtime is installed.

#pragma once

#include <stdbool.h> // NOLINT(modernize-deprecated-headers): an interface in C

#ifdef __cplusplus
extern "C" {
#endif

// True where a text engine and a text-meaning model are there to be loaded. Looks at files only and
// takes under 20 ms; loads nothing.
bool is_ai_subsystem_inited(void);

#ifdef __cplusplus
}
#endif
