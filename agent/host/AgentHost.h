// The agent's host: the library's, on virtual time, with the simulated chip as its driver.
#pragma once

#include "agent/chip/SimulatedChip.h"
#include "agent/errors/Errors.h"
#include "agent/host/TraceFile.h"
#include "host/wiring/Host.h"

namespace Agent {

// A base, since the driver has to be there ahead of the host.
struct AgentChip {
   SimulatedChip simulatedChip;
};

class AgentHost : private AgentChip, public Host {
 public:
   explicit AgentHost(Inventory inventory)
       : Host(std::move(inventory), simulatedChip, Time::simulated) {}

   SimulatedChip& chip() { return simulatedChip; }
   SimulatedChip const& chip() const { return simulatedChip; }
   TraceFile& traceFile() { return traceFile_; }

   // Makes this agent the one that reads the time and traces; another one that was made since must
   // be gone.
   void activate() {
      Host::activate();
      traceFile_.activate();
   }

 private:
   TraceFile traceFile_; // destroyed first: the destructors above are not traced
};

} // namespace Agent
