#pragma once

namespace module {

// Makes the statically linked C++ runtime ready to report running out of memory, before anything
// can run out: called once, by the thread that loads the library.
void PrepareRuntime() noexcept;

}  // namespace module
