// Why a request is where it is.
#pragma once

#include "agent/command/Names.h"

namespace Agent {

struct Explanation {
   std::string subject; // the request, as it is printed
   bool inHardware =
       false; // the chip holds its key with its policy; the feature is answered success
   // One sentence that answers "why is this policy (not) in hardware?".
   std::string verdict;
   // What stands behind it: label and text, in reading order.
   std::vector<std::pair<std::string, std::string>> facts;
};

Explanation explain(Host const& host, TcamSharingRequest request);

// The same for an in-LIF feature.
Explanation explainFeature(Host const& host, Hardware::ShoalTunnel::InLifFeatureKey key);
void printExplanation(std::ostream& out, Explanation const& explanation, Format format);

// Every request that a feature asks for or that has a response, in order of first use.
std::vector<TcamSharingRequest> knownRequests(Host const& host);

} // namespace Agent
