// How requests, policies and statuses are written in commands.
#pragma once

#include "agent/command/Registry.h"
#include "agent/host/AgentHost.h"
#include "host/names/Names.h"

#include <optional>
#include <string>
#include <string_view>

namespace Agent {

// "qos=5,pbr=1,acl=3,lumen=2,other=0x10", or the whole value as a number. Throws CommandError.
TcamSharingPolicyId parsePolicy(std::string_view text);
TcamSharingResponseStatus parseStatus(Arguments& arguments);
std::string formatUnitType(Hardware::Shoal::FapType type);
std::string formatLookup(Hardware::Shoal::ExtLkupType type);

Requester parseRequester(Arguments& arguments);
// What INTERFACE UNIT [flood VLAN] names; INTERFACE may be a pattern and UNIT "own".
enum class Naming {
   interfaces,         // interfaces on their units, for new requests
   patternsOfRequests, // also existing requests, if INTERFACE is a pattern
   requests            // also existing requests, if INTERFACE is a pattern or UNIT is "own"
};
// Throws CommandError with the reason for what the inventory cannot serve. With Naming::requests a
// pattern skips interfaces without a unit or internal VLAN; only then may the result be empty.
std::vector<TcamSharingRequest> parseRequests(AgentHost const& host, Arguments& arguments,
                                              Naming naming = Naming::patternsOfRequests);
// The same for one request.
TcamSharingRequest parseRequest(AgentHost const& host, Arguments& arguments);

} // namespace Agent
