#include "simulate/Facts.h"

#include "ShoalTunnel/TcamSharing/DynamicISemData.h"

namespace Simulate {

using Bridging::Dot1qEncap;

bool Facts::available(FapId unit) const {
   return !world_.shoalStatus->fapName(unit).empty();
}

bool Facts::lumen(FapId unit) const {
   return world_.shoalStatus->fapExtLkupType(unit) == 4;
}

std::optional<uint8_t> Facts::domain(IntfId intf, FapId unit) const {
   auto const& fields = intf.fields();
   if (!fields.subIntf) {
      return static_cast<uint8_t>(fields.l3Flood ? 255 : 0);
   }
   auto parent = IntfId::fromIndex(fields.parentIndex);
   if (fields.kind == Plexus::IntfKind::portChannel) {
      auto type = world_.shoalStatus->fapType(unit);
      auto members = world_.ethIntfStatusDir->ethLagIntfStatus(parent);
      if (!members || members->members() == 0 || (type != 1 && type != 2)) {
         return std::nullopt;
      }
      auto entry = world_.vlanTagToVsiMapperSm->vlanDomainManager()->vlanDomainPerLagFap(
          {parent, Hardware::Shoal::fapLocalCoreIdToSystemTcamId(world_.shoalStatus, unit, 0)});
      return entry ? std::optional(entry->vlanDomain().value()) : std::nullopt;
   }
   auto data = world_.vlanDomainStatus->portTunnelDataCollection().find(world_.placeOf(parent));
   return data ? std::optional(data->vlanDomain.value()) : std::nullopt;
}

std::optional<Dot1qEncap> Facts::tags(TcamSharingRequest request) const {
   IntfId intf = request.intfId();
   auto const& fields = intf.fields();
   Dot1qEncap tags;
   if (fields.subIntf) {
      // As the machines see them.
      if (auto config = world_.subIntfConfigDir->subIntfConfig(intf)) {
         tags = world_.dynSubIntfEncap->dot1qEncap(intf);
         tags = tags.isZero() ? config->dot1qEncap() : tags;
      }
   } else if (fields.kind == Plexus::IntfKind::vlan) {
      tags.outer = fields.vlanId;
   } else if (fields.l3Flood) {
      tags.outer = request.l3FloodPortVlanId().value();
   } else {
      tags.outer = world_.intfVlanIdTable->internalVlanId(intf).value();
   }
   return tags.isZero() ? std::nullopt : std::optional(tags);
}

bool Facts::resolves(TcamSharingRequest request) const {
   return available(request.fapId()) && domain(request.intfId(), request.fapId()) && tags(request);
}

std::optional<AradSemKeyAndFap> Facts::sharedKey(TcamSharingRequest request) const {
   auto tag = tags(request);
   if (!resolves(request) || tag->inner != 0) {
      return std::nullopt;
   }
   uint32_t value = tag->outer * 256U + *domain(request.intfId(), request.fapId());
   return AradSemKeyAndFap({Hardware::ShoalTunnel::AradSemKeyType::isemTcamSharing_, value},
                           request.fapId());
}

VlanTagToVsiMapperKey Facts::mapperKey(TcamSharingRequest request, IntfId port) const {
   auto status = world_.subIntfStatusDir->subIntfStatus(request.intfId());
   auto tag = tags(request).value_or(Dot1qEncap());
   return VlanTagToVsiMapperKey::ofSubIntf(port, request.intfId(), tag,
                                           status ? status->encapKind() : 0);
}

std::vector<IntfId> Facts::membersOn(TcamSharingRequest request) const {
   FapId unit = request.fapId();
   auto lag = IntfId::fromIndex(request.intfId().fields().parentIndex);
   auto onUnit = world_.vlanTagToVsiMapperSm->vlanDomainManager()->vlanDomainPerLagFap(
       {lag, Hardware::Shoal::fapLocalCoreIdToSystemTcamId(world_.shoalStatus, unit, 0)});
   std::vector<IntfId> ports;
   for (auto const& [port, present] : onUnit->memberPortIter()) {
      ports.push_back(world_.scsd->portMapToIntf({unit, port}));
   }
   return ports;
}

FapId Facts::parentUnit(IntfId subIntf) const {
   auto parent = IntfId::fromIndex(subIntf.fields().parentIndex);
   FapId unit = world_.placeOf(parent).fapId;
   if (unit.isNull()) {
      unit = world_.portMapHelper->intfToFap(parent);
   }
   return unit.isNull() ? world_.portMapHelper->changedIntfToFap(parent) : unit;
}

AradSemPayload Facts::payload(TcamSharingPolicyId policy) {
   return {static_cast<uint32_t>((policy.value() & aclBits()) * 8 + 1)};
}

uint64_t Facts::aclBits() {
   return Hardware::ShoalTunnel::toggleDynamicISemDataEnabled() ? (1U << 17) - 1 : (1U << 10) - 1;
}

} // namespace Simulate
