#pragma once
// What the replaced library calls of libraryfaults.h are made of. Any thread.

#include "libraryfaults.h"

#include <QString>

#include <dlfcn.h>

namespace FaultPoint
{
/// The libraries call one another through the same names; only the program's calls count.
bool isCallOfThisProgram(const void *returnAddress);

/// Counts this call of @p function; true if it is to meet @p fault.
bool strikes(const char *function, LibraryFaults::Fault fault);

/// Counts this call; true if it is to fail. Doesn't return if the process is to die here.
bool fails(const char *function);

/// The library's own function behind the replaced one.
template <typename Function>
Function *next(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

void note(const QString &call);
void noteHeader(const QString &stream);
void noteEncoder(const QString &settings);
void noteScaling(const QString &scaling);
void noteReceived(double seconds);
void noteDuration(double seconds);
} // namespace FaultPoint

// NOLINTBEGIN(cppcoreguidelines-macro-usage): the return address is that of the replaced function
#define FAILS(function)                                                                            \
    (FaultPoint::isCallOfThisProgram(__builtin_return_address(0)) && FaultPoint::fails(#function))
#define NEXT(function) FaultPoint::next<decltype(function)>(#function)
// NOLINTEND(cppcoreguidelines-macro-usage)
