// Refuses commands that would stop the library, with advice on what to do first.
#pragma once

#include "agent/host/AgentHost.h"
#include "platform/Orv/Failure.h"

#include <functional>

namespace Agent {

// Which requests the failing invariant concerns and what to do first, with the invariant's
// condition. `host` is as the failure found it.
std::string advise(AgentHost const& host, Orv::Failure const& failure);

// Rehearses `change`. Throws CommandError when it would stop the library. Errors that `change`
// itself throws are left for the caller to meet.
void requireHarmless(AgentHost& host, std::function<void()> const& change);

} // namespace Agent
