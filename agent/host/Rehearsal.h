// Looks ahead: carries a command out in a copy of the whole agent first.
//
// Some changes would stop the library, by themselves or later, when queued work reaches an
// invariant (docs/agent.md lists them). The copy is a child process: it carries the command out,
// runs the event loop until nothing moves, and reports what failed. Since the agent is
// deterministic and every accepted command was rehearsed from the state it was given in, what time
// brings by itself was rehearsed too.
#pragma once

#include "agent/host/Host.h"

#include <functional>

namespace Agent {

// Throws CommandError when `change` would stop the library, with what it would break and what to do
// first. Errors that `change` itself throws are left for the caller to meet.
void rehearse(Host& host, std::function<void()> const& change);

} // namespace Agent
