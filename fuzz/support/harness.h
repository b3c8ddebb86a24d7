#pragma once
// What every harness below fuzz/ defines, once a program: it is called with one input after the
// other, by libFuzzer in the programs of the preset "fuzz" and by the replay elsewhere. Thread:
// main.

#include <cstddef>
#include <cstdint>

/// Gives @p data to the code under test; what breaks there ends the process. Always 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);
