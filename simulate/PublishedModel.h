// What the unit and the VLAN domain of each port should be published as.
#pragma once

#include "simulate/SharingModel.h"

namespace Simulate {

class PublishedModel {
 public:
   using Place = Hardware::Shoal::PortMap;
   using VlanDomain = Hardware::Shoal::VlanDomain;

   explicit PublishedModel(Context& context) : context_(context) { portMapVersionChanged(); }
   // A port's system port came, changed or went.
   void systemPortChanged(IntfId port);
   void domainChanged(Place place);
   void portMapVersionChanged();
   void machineRestarts();

   Table<IntfId, FapId> const& units() const { return units_; }
   Table<IntfId, VlanDomain> const& domains() const { return domains_; }

 private:
   std::optional<VlanDomain> domainAt(Place place) const;

   Context& context_;
   std::map<Place, IntfId> seenAt_; // who sat there last
   std::map<IntfId, Place> placeOf_;
   Table<IntfId, FapId> units_;
   Table<IntfId, VlanDomain> domains_;
};

} // namespace Simulate
