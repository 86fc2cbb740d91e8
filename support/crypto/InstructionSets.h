#pragma once

namespace certstore {

// Whether this processor has the instructions for SHA-1 and SHA-256, and those for AES. Found out
// once; false on processors and compilers that no code here is written for.
bool haveShaInstructions() noexcept;
bool haveAesInstructions() noexcept;

// From now on both answer as if the processor had none (or tell the truth again), which selects
// portable code for hashes and keys created afterwards. For tests and measurements.
void hideInstructions(bool hide) noexcept;

}  // namespace certstore
