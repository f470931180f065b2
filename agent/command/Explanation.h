// Why a request is where it is.
#pragma once

#include "agent/command/Names.h"

namespace Agent {

struct Explanation {
   TcamSharingRequest request;
   bool inHardware = false; // the chip holds its key with its policy
   // One sentence that answers "why is this policy (not) in hardware?".
   std::string verdict;
   // What stands behind it: label and text, in reading order.
   std::vector<std::pair<std::string, std::string>> facts;
};

Explanation explain(Host const& host, TcamSharingRequest request);

// Every request that a feature asks for or that has a response, in order of first use.
std::vector<TcamSharingRequest> knownRequests(Host const& host);

} // namespace Agent
