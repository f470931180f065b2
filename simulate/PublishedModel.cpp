#include "simulate/PublishedModel.h"

namespace Simulate {

std::optional<PublishedModel::VlanDomain> PublishedModel::domainAt(Place place) const {
   auto data = context_.world.vlanDomainStatus->portTunnelDataCollection().find(place);
   return data && data->vlanDomain.value() != 0 ? std::optional(data->vlanDomain) : std::nullopt;
}

void PublishedModel::machineRestarts() {
   seenAt_.clear();
   placeOf_.clear();
   portMapVersionChanged();
}

void PublishedModel::portMapVersionChanged() {
   auto const& status = *context_.world.shoalStatus;
   if (!status.portMapValid()) {
      hit("published: version while the port map is not whole"_met);
      return;
   }
   for (auto const& [port, systemPort] : status.sysPhyPortIdIter()) {
      Place place = status.portMap(systemPort);
      if (place.isNull()) {
         hit("published: port without a place"_met);
         continue;
      }
      // A walk never takes a domain away.
      if (auto domain = domainAt(place)) {
         domains_[port] = *domain;
      }
      seenAt_[place] = port;
      placeOf_[port] = place;
      units_[port] = place.fapId;
   }
   auto gone = [&](auto const& entry) { return !status.sysPhyPortIdHas(entry.first); };
   domains_.eraseIf(gone);
   if (units_.eraseIf(gone) != 0) {
      hit("published: port gone"_met);
   }
}

void PublishedModel::systemPortChanged(IntfId port) {
   Place place = context_.world.placeOf(port);
   if (place.isNull()) {
      hit("published: port loses its place"_met);
      return;
   }
   if (auto domain = domainAt(place)) {
      domains_[port] = *domain;
   } else {
      domains_.erase(port);
   }
   auto previous = placeOf_.find(port);
   if (previous != placeOf_.end() && previous->second == place) {
      hit("published: port comes back"_met);
      return;
   }
   if (previous != placeOf_.end()) {
      hit("published: port moves"_met);
      seenAt_.erase(previous->second);
   }
   seenAt_[place] = port;
   placeOf_[port] = place;
   units_[port] = place.fapId;
}

void PublishedModel::domainChanged(Place place) {
   auto port = seenAt_.find(place);
   if (port == seenAt_.end()) {
      hit("published: domain of nobody's place"_met);
   } else if (auto domain = domainAt(place)) {
      hit("published: domain changes"_met);
      domains_[port->second] = *domain;
   } else {
      hit("published: domain goes"_met);
      domains_.erase(port->second);
   }
}

} // namespace Simulate
