// How requests, policies, keys, statuses and times are written for people.
#pragma once

#include "host/driver/ChipTables.h"
#include "host/text/Text.h"
#include "host/world/WorldView.h"
#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifFeatureKey.h"
#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifFeatureStatus.h"
#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifIntfFeatureAggr.h"
#include "ShoalTunnel/InLifIntfSm/InLifFeatureAttributes.h"
#include "ShoalTunnel/TcamSharing/TcamSharingConfig.h"
#include "ShoalTunnel/TcamSharingVlanTagMapSm/TcamSharingVlanTagMap.h"

#include <array>
#include <string>
#include <string_view>

namespace ShoalHost {

using Hardware::ShoalTunnel::InLifFeatureAttributes;
using Hardware::ShoalTunnel::InLifFeatureKey;
using Hardware::ShoalTunnel::InLifFeatureType;
using Hardware::ShoalTunnel::InLifIntfKey;
using Hardware::ShoalTunnel::TcamSharingPolicyId;
using Hardware::ShoalTunnel::TcamSharingRequest;
using Hardware::ShoalTunnel::TcamSharingResponse;
using Hardware::ShoalTunnel::TcamSharingResponseStatus;

// A field of a policy: its bits from `shift` on.
struct PolicyField {
   std::string_view name;
   unsigned shift;
   uint64_t max;
};
inline constexpr std::array<PolicyField, 5> policyFields{{{"qos", 0, 31},
                                                          {"pbr", 5, 31},
                                                          {"acl", 10, 127},
                                                          {"lumen", 17, 127},
                                                          {"other", 24, UINT64_MAX >> 24}}};
// By TcamSharingResponseStatus.
inline constexpr std::array<std::string_view, 4> statusNames{"none", "success", "in-progress",
                                                             "failed"};

// "lc1/asic0/Ethernet4.10 unit 0", with " flood 200" where it has one.
std::string formatRequest(TcamSharingRequest request);
// Each of them, with the separator between.
std::string formatRequests(std::vector<TcamSharingRequest> const& requests,
                           std::string_view separator = ", ");
// "qos=5,pbr=1,acl=3,lumen=2", fields of 0 left out; "other=0x..." for bits above; "none" for 0.
std::string formatPolicy(TcamSharingPolicyId policy);
std::string_view formatStatus(TcamSharingResponseStatus status);
// "(vlan 100, domain 5, unit 3)"
std::string formatKey(AradSemKeyAndFap key);
// "(lc1/asic0/Ethernet4.10 on lc1/asic0/Ethernet4, tags 100,20)", with ", other tag type" where the
// chip does not match the tags as 802.1Q.
std::string formatKey(VlanTagToVsiMapperKey key);
// "(lc1/asic0/Tunnel-a, unit 3)"
std::string formatKey(TunnelPolicyMapperKey key);
// Of whichever kind.
std::string formatKey(PolicyKey const& key);
// "(unit 3, port 5)"
std::string formatKey(DefaultMappingKey key);
// "VLAN tag 10 in domain 5 of unit 3"
std::string formatTag(Hardware::ShoalTunnel::VlanTagKey const& tag);
// "(lc1/asic0/Ethernet4.10, TCAM 6)"
std::string formatKey(SubIntfMappingKey key);
std::string formatTags(uint32_t outer, uint32_t inner);
// The part of a policy that in-LIF additional data carry.
std::string formatData(uint64_t inLifAdditionalData);
// The policy that an entry's payload carries.
TcamSharingPolicyId policyOfPayload(AradSemPayload payload);
// Without trailing zeros.
std::string formatSeconds(Seconds seconds);

// "feature4"
std::string formatType(InLifFeatureType type);
// "lc1/asic0/Ethernet0 on lc1/asic0:0"
std::string formatInLifKey(WorldView const& world, InLifIntfKey key);
// "feature1=3,feature4=7"
std::string formatFeatures(Hardware::ShoalTunnel::InLifIntfFeatureAggr const& aggregate);
// The 64-bit word in hexadecimal.
std::string formatWord(InLifFeatureAttributes const& word);
std::string formatWord(LifFeatureWord word);
// "5 bits": of the mask of a field.
std::string formatWidth(uint32_t mask);
std::string_view formatFeatureStatus(Hardware::ShoalTunnel::InLifFeatureResponseStatus status);

} // namespace ShoalHost
