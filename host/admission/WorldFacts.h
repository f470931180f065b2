// The facts that programming a shared entry needs, as the world is now or as a change would make
// it.
#pragma once

#include "host/driver/ChipTables.h"
#include "host/world/World.h"
#include "ShoalTunnel/TcamSharing/TcamSharingRequest.h"

#include <optional>
#include <utility>

namespace ShoalHost {

using Hardware::ShoalTunnel::TcamSharingRequest;

// What a change would make of the world; the rest stays.
struct FactChange {
   // Of a sub-interface or a routed port; none: it has none then.
   std::optional<std::pair<IntfId, std::optional<Bridging::Dot1qEncap>>> tags;
   // Of a port.
   std::optional<std::pair<IntfId, Hardware::Shoal::PortMap>> place;
   // Of the port at a place.
   std::optional<std::pair<Hardware::Shoal::PortMap, std::optional<Hardware::Shoal::VlanDomain>>>
       placeDomain;
   // Of a port-channel; 0: none.
   std::optional<std::pair<IntfId, uint8_t>> lagDomain;
   struct Member {
      IntfId lag;
      IntfId port;
      bool present;
   };
   std::optional<Member> member;
   // A port-channel that is removed.
   std::optional<IntfId> lagGone;
   std::optional<std::pair<FapId, bool>> available;
   std::optional<std::pair<FapId, Hardware::Shoal::FapType>> type;
};

class WorldFacts {
 public:
   WorldFacts(World const& world, FactChange change) : world_(world), change_(std::move(change)) {}

   bool available(FapId unit) const;
   Hardware::Shoal::FapType type(FapId unit) const;
   bool isArad(FapId unit) const { return type(unit) == Hardware::Shoal::fapTypeArad; }
   // None: the interface has none on the unit.
   std::optional<Hardware::Shoal::VlanDomain> domain(IntfId intf, FapId unit) const;
   // Of the request's interface; none: it has none.
   std::optional<Bridging::Dot1qEncap> tags(TcamSharingRequest request) const;
   // All that a request needs is there.
   bool resolves(TcamSharingRequest request) const;
   // The shared entry that a request leads to, whether or not its unit is available; none: nowhere,
   // or it has two tags.
   std::optional<AradSemKeyAndFap> sharedKey(TcamSharingRequest request) const;

 private:
   Hardware::Shoal::PortMap placeOf(IntfId port) const;
   std::optional<Hardware::Shoal::VlanDomain> domainOfLag(IntfId lag, FapId unit) const;

   World const& world_;
   FactChange change_;
};

} // namespace ShoalHost
