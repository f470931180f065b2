// The unit and VLAN domain that should be published of each interface, worked out from the changes
// of ports and domains; as IsemShadow.
#pragma once

#include "agent/host/Host.h"
#include "agent/simulate/Facts.h"
#include "agent/simulate/Findings.h"
#include "agent/simulate/Probes.h"

namespace Agent {

class PublishedShadow {
 public:
   PublishedShadow(Host const& host, Probes& probes) : host_(host), probes_(probes) {}

   void handleSystemPort(IntfId port);
   void handleVersion();
   void handleDomain(Hardware::Shoal::PortMap place);
   void handleGone();
   // `settled`: the published tables are compared with the world's facts, too.
   void compare(Findings& findings, bool settled) const;
   // The port stands where it was seen last, and nobody else was seen there since.
   bool plain(IntfId port) const;

 private:
   using Place = Hardware::Shoal::PortMap;
   std::optional<Hardware::Shoal::VlanDomain> domainAt(Place place) const;
   void compareFacts(Findings& findings) const;

   Host const& host_;
   Probes& probes_;

   std::map<IntfId, FapId> units_;
   std::map<IntfId, Hardware::Shoal::VlanDomain> domains_;
   // What the machine remembers: who was seen last on a place, and where each port was seen last.
   std::map<Place, IntfId> seenAt_;
   std::map<IntfId, Place> placeOf_;
   // Ports whose domain was set last by the news of another place than theirs.
   std::set<IntfId> elsewhere_;
};

} // namespace Agent
