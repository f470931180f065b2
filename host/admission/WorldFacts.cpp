#include "host/admission/WorldFacts.h"

#include <algorithm>

namespace ShoalHost {

using Bridging::Dot1qEncap;
using Hardware::Shoal::PortMap;
using Hardware::Shoal::VlanDomain;
using Plexus::SubIntfId;

bool WorldFacts::available(FapId unit) const {
   return change_.available && change_.available->first == unit
              ? change_.available->second
              : world_.shoalStatus->fapAvailable(unit);
}

Hardware::Shoal::FapType WorldFacts::type(FapId unit) const {
   return change_.type && change_.type->first == unit ? change_.type->second
                                                      : world_.shoalStatus->fapType(unit);
}

PortMap WorldFacts::placeOf(IntfId port) const {
   return change_.place && change_.place->first == port ? change_.place->second
                                                        : world_.placeOf(port);
}

std::optional<VlanDomain> WorldFacts::domainOfLag(IntfId lag, FapId unit) const {
   bool keeps = isArad(unit) || type(unit) == Hardware::Shoal::fapTypeLagDomain;
   uint8_t domain = change_.lagDomain && change_.lagDomain->first == lag ? change_.lagDomain->second
                                                                         : world_.lagDomain(lag);
   if (!keeps || domain == 0 || change_.lagGone == lag) {
      return std::nullopt;
   }
   auto members = world_.portsOf(lag);
   if (auto const& change = change_.member; change && change->lag == lag) {
      std::erase(members, change->port);
      if (change->present) {
         members.push_back(change->port);
      }
   }
   bool here = std::any_of(members.begin(), members.end(),
                           [&](IntfId port) { return placeOf(port).fapId == unit; });
   return here ? std::optional(VlanDomain(domain)) : std::nullopt;
}

std::optional<VlanDomain> WorldFacts::domain(IntfId intf, FapId unit) const {
   if (!SubIntfId::isSubIntfId(intf)) {
      return VlanDomain(intf.l3Flood() ? VlanDomain::l3Flood : 0);
   }
   IntfId parent = SubIntfId::parentIntfId(intf);
   if (Plexus::PortChannelIntfId::isPortChannelIntfId(parent)) {
      return domainOfLag(parent, unit);
   }
   PortMap place = placeOf(parent);
   if (place.isNull()) {
      return std::nullopt;
   }
   if (change_.placeDomain && change_.placeDomain->first == place) {
      return change_.placeDomain->second;
   }
   auto data = world_.vlanDomainStatus->portTunnelDataCollection().find(place);
   return data ? std::optional(data->vlanDomain) : std::nullopt;
}

std::optional<Dot1qEncap> WorldFacts::tags(TcamSharingRequest request) const {
   IntfId intf = request.intfId();
   Dot1qEncap tags;
   if (change_.tags && change_.tags->first == intf) {
      return change_.tags->second;
   }
   if (SubIntfId::isSubIntfId(intf)) {
      if (world_.subIntfConfigDir->subIntfConfigHas(intf)) {
         tags = world_.encapsulation(intf);
      }
   } else if (Plexus::VlanIntfId::isVlanIntfId(intf)) {
      tags.outer = Plexus::VlanIntfId::vlanId(intf);
   } else if (intf.l3Flood()) {
      tags.outer = request.l3FloodPortVlanId().value();
   } else {
      tags.outer = world_.intfVlanIdTable->internalVlanId(intf).value();
   }
   return tags.isZero() ? std::nullopt : std::optional(tags);
}

bool WorldFacts::resolves(TcamSharingRequest request) const {
   return available(request.fapId()) && domain(request.intfId(), request.fapId()) && tags(request);
}

std::optional<AradSemKeyAndFap> WorldFacts::sharedKey(TcamSharingRequest request) const {
   auto tag = tags(request);
   auto domain = this->domain(request.intfId(), request.fapId());
   if (!tag || !domain || tag->inner != 0 || tag->outer > 4094 ||
       request.fapId().value() > AradSemKeyAndFap::maxFapId) {
      return std::nullopt;
   }
   return AradSemKeyAndFap(
       Hardware::ShoalTunnel::AradISemKeyTcamSharing(Bridging::VlanId(tag->outer), *domain).key(),
       request.fapId());
}

} // namespace ShoalHost
