// How requests, policies, keys and statuses are written in commands and in their output.
#pragma once

#include "agent/command/Registry.h"
#include "agent/host/Host.h"

#include <optional>
#include <string>
#include <string_view>

namespace Agent {

using Hardware::ShoalTunnel::TcamSharingResponse;
using Hardware::ShoalTunnel::TcamSharingResponseStatus;

// "lc1/asic0/Ethernet4.10 unit 0", with " flood 200" where it has one.
std::string formatRequest(TcamSharingRequest request);
// Each of them, with the separator between.
std::string formatRequests(std::vector<TcamSharingRequest> const& requests,
                           std::string_view separator = ", ");
// "qos=5,pbr=1,acl=3,lumen=2", fields of 0 left out; "other=0x..." for bits above; "none" for 0.
std::string formatPolicy(TcamSharingPolicyId policy);
// The same, or the whole value as a number. Throws CommandError.
TcamSharingPolicyId parsePolicy(std::string_view text);
// success, in-progress, failed, none
std::string_view formatStatus(TcamSharingResponseStatus status);
TcamSharingResponseStatus parseStatus(Arguments& arguments);
// "(vlan 100, domain 5, unit 3)"
std::string formatKey(AradSemKeyAndFap key);
// "(lc1/asic0/Ethernet4.10 on lc1/asic0/Ethernet4, tags 100,20)", with ", other tag type" where the
// chip does not match the tags as 802.1Q.
std::string formatKey(VlanTagToVsiMapperKey key);
// "(lc1/asic0/Tunnel-a, unit 3)"
std::string formatKey(TunnelPolicyMapperKey key);
// Of whichever kind.
std::string formatKey(EntryKey const& key);
std::string formatTags(uint32_t outer, uint32_t inner);
// The part of a policy that in-LIF additional data carry.
std::string formatData(uint64_t inLifAdditionalData);
// The policy that an entry's payload carries.
TcamSharingPolicyId policyOfPayload(AradSemPayload payload);
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
std::vector<TcamSharingRequest> parseRequests(Host const& host, Arguments& arguments,
                                              Naming naming = Naming::patternsOfRequests);
// The same for one request.
TcamSharingRequest parseRequest(Host const& host, Arguments& arguments);

} // namespace Agent
