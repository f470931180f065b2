#include "agent/simulate/PublishedShadow.h"

namespace Agent {

using Hardware::Shoal::VlanDomain;

std::optional<VlanDomain> PublishedShadow::domainAt(Place place) const {
   auto data = host_.world().vlanDomainStatus->portTunnelDataCollection().find(place);
   return data && data->vlanDomain.value() != 0 ? std::optional(data->vlanDomain) : std::nullopt;
}

void PublishedShadow::handleGone() {
   seenAt_.clear();
   placeOf_.clear();
   elsewhere_.clear();
   handleVersion();
}

void PublishedShadow::handleVersion() {
   auto const& status = *host_.world().shoalStatus;
   if (!status.portMapValid()) {
      probes_.hit("published: version while the port map is not whole");
      return;
   }
   for (auto const& [port, systemPort] : status.sysPhyPortIdIter()) {
      Place place = status.portMap(systemPort);
      if (place.isNull()) {
         probes_.hit("published: port without a place");
         continue;
      }
      if (auto domain = domainAt(place)) {
         domains_[port] = *domain;
         elsewhere_.erase(port);
      }
      seenAt_[place] = port;
      placeOf_[port] = place;
      units_[port] = place.fapId;
   }
   auto gone = [&](auto const& entry) { return !status.sysPhyPortIdHas(entry.first); };
   std::size_t before = units_.size();
   std::erase_if(domains_, gone);
   std::erase_if(units_, gone);
   if (units_.size() != before) {
      probes_.hit("published: port gone");
   }
}

void PublishedShadow::handleSystemPort(IntfId port) {
   Place place = host_.world().placeOf(port);
   if (place.isNull()) {
      probes_.hit("published: port loses its place");
      return;
   }
   elsewhere_.erase(port);
   if (auto domain = domainAt(place)) {
      domains_[port] = *domain;
   } else {
      domains_.erase(port);
   }
   auto previous = placeOf_.find(port);
   if (previous != placeOf_.end() && previous->second == place) {
      probes_.hit("published: port comes back");
      return;
   }
   if (previous != placeOf_.end()) {
      probes_.hit("published: port moves");
      seenAt_.erase(previous->second);
   }
   seenAt_[place] = port;
   placeOf_[port] = place;
   units_[port] = place.fapId;
}

void PublishedShadow::handleDomain(Place place) {
   auto port = seenAt_.find(place);
   if (port == seenAt_.end()) {
      probes_.hit("published: domain of nobody's place");
      return;
   }
   if (auto domain = domainAt(place)) {
      domains_[port->second] = *domain;
      probes_.hit("published: domain changes");
   } else {
      domains_.erase(port->second);
      probes_.hit("published: domain goes");
   }
   // A walk does not take leave of the place that a port had before.
   if (placeOf_[port->second] == place) {
      elsewhere_.erase(port->second);
   } else {
      probes_.hit("rule: a domain of the place that a port had before a walk");
      elsewhere_.insert(port->second);
   }
}

void PublishedShadow::compare(Findings& findings, bool settled) const {
   findings.compare("published units", units_, host_.intfToFapIdStatus()->intfToFapCollection());
   findings.compare("published VLAN domains", domains_,
                    host_.intfToVlanDomainStatus()->vlanDomainCollection());
   if (settled) {
      compareFacts(findings);
   }
}

bool PublishedShadow::plain(IntfId port) const {
   auto place = placeOf_.find(port);
   if (place == placeOf_.end() || elsewhere_.contains(port) ||
       host_.world().placeOf(port) != place->second) {
      return false;
   }
   auto seen = seenAt_.find(place->second);
   return seen != seenAt_.end() && seen->second == port;
}

// A port that stands where the machine saw it last, and whom it saw last there, has that place's
// unit and domain; a domain that the port no longer has stays after a walk, on purpose.
void PublishedShadow::compareFacts(Findings& findings) const {
   for (auto const& [port, place] : placeOf_) {
      if (!plain(port)) {
         probes_.hit("rule: a port moved without news");
         continue;
      }
      if (units_.contains(port) && units_.at(port) != place.fapId) {
         findings.add("published unit is the port's", port, " is on ", place);
      }
      auto domain = domainAt(place);
      auto published = domains_.find(port);
      if (domain && published != domains_.end() && published->second != *domain) {
         findings.add("published domain is the port's", port, " has ", published->second,
                      " and sits in ", *domain);
      }
   }
}

} // namespace Agent
