#pragma once

#include <string>

#include "com/Platform.h"

namespace qnps_test {

// Fails the library's allocations on demand. It rewrites the library module's import table, so
// every allocation the library makes (its own C++ runtime's and the automation runtime's strings,
// arrays, variant copies and conversions, and the parser objects it creates) passes through a
// counter that fails a chosen call.
namespace AllocationFaults {

// Once per process, after the library is loaded.
void Install(HMODULE library);
// Counts from zero again and fails the `failAt`-th call; with `from`, that call and every later one.
void Arm(long failAt, bool from = false);
// Stops failing; the count stays readable.
void Disarm();
long Calls();
// The name of the function whose call was failed, empty when none was.
std::string Failed();

}  // namespace AllocationFaults

}  // namespace qnps_test
