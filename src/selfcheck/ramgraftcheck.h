// The built-in self-check: `ramgraft TEST TEST TEST x`.
#ifndef RAMGRAFT_SELFCHECK_RAMGRAFTCHECK_H
#define RAMGRAFT_SELFCHECK_RAMGRAFTCHECK_H

#include "steps/ramgrafttraverse.h"

/// Runs the eleven routines below in their order and prints the verdict line.
void runUnitTests();

/// Each routine prints its name line and one "TEST ERROR: " line for each check that fails, and
/// returns whether all held. The first two work on the caller's traverser, in turn: the second one
/// binds it to a stream that lives only as long as the routine.
bool test_findBits(BitstreamTraverser& traverser);
bool test_expectBits(BitstreamTraverser& traverser);
bool test_checkBitsValue();
bool test_intToBinaryString();
bool test_binaryStringToInt();
bool test_findEbrAddressSection();
bool test_findEbrDataSection();
bool test_hexStringToBytes();
bool test_bytesToBits();
bool test_transformLogInitToPhy();
bool test_binaryStringToHex();

#endif
