// How a forked copy of the agent ends well.
#pragma once

namespace Agent {

// Without flushing: what the parent has buffered is the parent's to write. A build that counts
// coverage keeps the counts.
[[noreturn]] void endCopy();

} // namespace Agent
