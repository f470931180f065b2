// Carries a change out in a copy of the whole agent first.
//
// Some changes would stop the library, by themselves or later, when queued work reaches an
// invariant. The copy is a child process: it carries the change out, runs the event loop until
// nothing moves, and reports what failed. The agent is deterministic and every accepted change was
// rehearsed from the state that it met, so what time brings by itself was rehearsed too.
#pragma once

#include "agent/host/AgentHost.h"
#include "platform/Orv/Failure.h"

#include <functional>

namespace Agent {

// How the rehearsal of a change ended.
struct Rehearsal {
   enum class End {
      sound,      // nothing failed, or the change itself threw an error that its caller will meet
      stopped,    // an invariant of the library failed
      outOfRange, // a value left its range
      restless,   // the system still moved after longestRehearsal
      overtime,   // it took more than maxProcessorTime
      abnormal    // the copy crashed
   };
   End end = End::sound;
   // stopped: what `describe` said; outOfRange: the exception's text; else empty.
   std::string text;
   // stopped: no observer follows the agent, or it expected this failure.
   bool expected = false;
};

inline constexpr Seconds longestRehearsal = 1e6; // of virtual time
inline constexpr unsigned maxProcessorTime = 20; // seconds

// `describe` is called in the copy, on the host as the failing invariant found it.
using DescribeFailure = std::function<std::string(AgentHost const&, Orv::Failure const&)>;

// Throws std::system_error when no copy can be made.
Rehearsal rehearse(AgentHost& host, std::function<void()> const& change,
                   DescribeFailure const& describe);

} // namespace Agent
