// What a forked child of a test does to become the program under test.
#pragma once

#include "integration/support/Process.h"

namespace quillmark::testing {

// Sets the variables (an empty value removes one), lets all signals through, ignores none of those that end programs,
// and becomes the command. Ends the child when that fails.
[[noreturn]] void Become(const std::vector<std::string>& command, const Process::Environment& environment);

}  // namespace quillmark::testing
