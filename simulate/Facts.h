// What the world says of an interface, read from its entities without the library's help: the facts
// that programming a request needs, and how a policy looks in hardware.
#pragma once

#include "agent/errors/Errors.h"
#include "host/pipelines/SharingPipeline.h"
#include "host/world/World.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Simulate {

using namespace Agent;

using Hardware::ShoalTunnel::AradSemKeyAndFap;
using Hardware::ShoalTunnel::AradSemPayload;
using Hardware::ShoalTunnel::TcamSharingResponse;
using Hardware::ShoalTunnel::TcamSharingResponseStatus;
using Hardware::ShoalTunnel::TunnelPolicyMapperKey;
using Hardware::ShoalTunnel::VlanTagToVsiMapperKey;

class Facts {
 public:
   explicit Facts(World const& world) : world_(world) {}

   bool available(FapId unit) const;
   bool lumen(FapId unit) const;
   // The VLAN domain of an interface on a unit; none: it has none there now.
   std::optional<uint8_t> domain(IntfId intf, FapId unit) const;
   // The tags of a request's interface; none: it has none now.
   std::optional<Bridging::Dot1qEncap> tags(TcamSharingRequest request) const;
   // All that a request needs is there: unit, domain, tags.
   bool resolves(TcamSharingRequest request) const;
   // The shared entry that a request leads to now; none: nowhere, or two tags.
   std::optional<AradSemKeyAndFap> sharedKey(TcamSharingRequest request) const;
   // The mapper entry of a sub-interface on one port.
   VlanTagToVsiMapperKey mapperKey(TcamSharingRequest request, IntfId port) const;
   // The ports of a port-channel's sub-interface on the request's unit.
   std::vector<IntfId> membersOn(TcamSharingRequest request) const;
   // The unit by which a sub-interface's change of tags finds its requests; null: all units.
   FapId parentUnit(IntfId subIntf) const;
   World const& world() const { return world_; }

   // The unit as in an interface's name, with the '/' behind it; "" for a name without one.
   static std::string unitIn(IntfId intf) {
      return intf.name().substr(0, intf.name().rfind('/') + 1);
   }

   static AradSemPayload payload(TcamSharingPolicyId policy);
   // What a sub-interface or tunnel carries of a policy.
   static uint64_t lowBits(TcamSharingPolicyId policy) { return policy.value() % 1024; }
   // The fields that acl owns on a unit with the lumen lookup.
   static uint64_t aclBits();
   static constexpr uint64_t labelBits = 0x7fULL << 17;

 private:
   World const& world_;
};

} // namespace Simulate
