#pragma once

#include <string>

#include "com/Platform.h"

// Fails the library's allocations on demand by rewriting its module's import table: its C++
// runtime's and the automation runtime's allocations, variant copies and conversions, and the
// parser objects it creates all pass a counter that fails a chosen call.
namespace qnps_test::AllocationFaults {

// Once per process, after the library is loaded.
void Install(HMODULE library);
// Counts from zero and fails the `failAt`-th call; with `from`, every later one too.
void Arm(long failAt, bool from = false);
void Disarm();
long Calls();
// The failed function's name, empty when none failed.
std::string Failed();

}  // namespace qnps_test::AllocationFaults
