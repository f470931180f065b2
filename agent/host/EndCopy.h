// How a forked copy of the agent ends well.
#pragma once

#include <sys/types.h>

namespace Agent {

// In the copy, first of all: it ends at once with its `parent`, also when that is killed.
void endWithParent(pid_t parent);

// Without flushing: what the parent has buffered is the parent's to write. A build that counts
// coverage keeps the counts.
[[noreturn]] void endCopy();

} // namespace Agent
