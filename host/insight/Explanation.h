// Why a request is where it is, in words.
#pragma once

#include "host/insight/Situation.h"
#include "host/names/Names.h"
#include "host/wiring/Host.h"

namespace ShoalHost {

struct Explanation {
   std::string subject; // the request, as it is printed
   // The chip holds the policy in every entry that the request leads to now. Of an in-LIF feature:
   // every word that it leads to carries its value, in the chip, too.
   bool inHardware = false;
   // One line of sentences that answers "why is this policy (not) in hardware?".
   std::string verdict;
   // The facts that support it: label and text, in reading order.
   std::vector<std::pair<std::string, std::string>> facts;
};

Explanation explain(Situation const& situation, Host const& host);
Explanation explain(Host const& host, TcamSharingRequest request);

// Every request that a requester asks for or that has a response, in order of first use.
std::vector<TcamSharingRequest> knownRequests(Host const& host);

} // namespace ShoalHost
