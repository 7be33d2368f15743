// What a fuzz target gives to libFuzzer and to the replay main.
#ifndef FUZZ_H
#define FUZZ_H

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>

/// Runs the code under test on one input. Aborts when it does wrong; always returns 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// A good input to start from.
std::string makeSeed(std::mt19937_64& random);

#endif
