#include "host/admission/Changes.h"

#include "host/names/Names.h"
#include "ShoalTunnel/TcamSharing/TcamSharingIsemPolicyId.h"

#include <algorithm>

namespace ShoalHost {

using namespace Hardware::ShoalTunnel;
using Bridging::Dot1qEncap;
using Bridging::VlanIdOrNone;
using Hardware::Shoal::PortMap;
using Hardware::Shoal::SystemPhyPortId;
using Hardware::Shoal::VlanDomain;
using Plexus::SubIntfId;

namespace {

constexpr std::array<std::string_view, kRows> conditions{
    "keyToDel != AradSemKeyAndFap()",
    "tcamSharingCommon()->semToRequest( prevKey ) == NULL",
    "shoalStatus()->fapExtLkupType( request.fapId() ) == Hardware::Shoal::extLkupTypeLumen_",
    "policyId.lumenAclLabel() == 0",
    "shoalStatus()->fapExtLkupType( request.fapId() ) == Hardware::Shoal::extLkupTypeLumen_",
    "policyId.pbrPolicy() == 0",
    "shoalStatus()->fapType( request.fapId() ) != Hardware::Shoal::fapTypeArad()",
    "shoalStatus()->portMapValid()",
    "sysTcamId != Hardware::Shoal::SystemTcamId()",
};

Objection objection(Row row, std::string text) {
   return {row, std::move(text), std::string(conditions[static_cast<std::size_t>(row)]), false};
}

bool hasLumenLookup(World const& world, FapId unit) {
   return world.shoalStatus->fapExtLkupType(unit) == Hardware::Shoal::extLkupTypeLumen_;
}

} // namespace

uint64_t ownFields(World const& world, Requester requester, FapId unit) {
   if (!hasLumenLookup(world, unit)) {
      return requester == Requester::acl ? UINT64_MAX : 0;
   }
   if (requester != Requester::acl) {
      return TcamSharingPolicyId::lumenAclLabelMask;
   }
   return policyOfPayload(
              AradSemPayload::basic(TcamSharingIsemPolicyId(TcamSharingPolicyId(UINT64_MAX))
                                        .makeISemPayloadValue(nullptr, {})))
       .value();
}

ChangeRefused::ChangeRefused(Objection const& objection)
    : HostError("{} (invariant {})", objection.text, objection.condition), objection_(objection) {}

Changes::Changes(World& world, IsemPipeline& isem, MapperPipeline& mapper, SharingRouter& router,
                 FeaturePipeline const& features, ChipSeam const& seam)
    : world_(world), isem_(isem), mapper_(mapper), router_(router), features_(features),
      seam_(seam), isemIndex_(world, isem, &isem), mapperIndex_(world, mapper, nullptr) {}

// ---- Judging

void Changes::refuse(Objection const& objection) const {
   if (setting_ == Setting::refuse) {
      throw ChangeRefused(objection);
   }
}

void Changes::admit(Effects const& effects) {
   if (setting_ == Setting::off) {
      return;
   }
   if (auto objection = judge(effects)) {
      refuse(*objection);
   }
}

std::optional<Objection> Changes::judge(Effects const& effects) const {
   WorldFacts facts(world_, effects.facts);
   auto verdict = IsemForesight(isem_, seam_, isemIndex_, facts).judge(effects.isem);
   if (verdict.what == IsemForesight::Break::none) {
      return judgeMapper(effects.mapper, facts);
   }
   std::string request = formatRequest(verdict.request);
   std::string users = formatRequests(verdict.users, " and ");
   Objection found;
   if (verdict.what == IsemForesight::Break::moved) {
      found = objection(
          Row::moved,
          formatted("{} would move off the entry {}, which {} still use{}; withdraw {} first",
                    request, formatKey(*verdict.key), users, verdict.users.size() == 1 ? "s" : "",
                    users));
   } else {
      auto status = isem_.mergedStatus->response(verdict.request).status;
      bool answered = status == tcamSharingSuccess || status == tcamSharingFailed;
      std::string text =
          formatted("{} would be withdrawn, but it {} without an entry of its own", request,
                    verdict.open ? "may be answered before that"
                    : answered   ? formatted("was answered {}", formatStatus(status))
                                 : "will be answered");
      if (verdict.open) {
         text += "; wait for the answers of the chip first";
      } else if (users.empty()) {
         text += "; first have it programmed itself (a single tag, then another policy)";
      } else {
         text += formatted(": the entry {} belongs to {}; first withdraw {}, then give {} another "
                           "policy, so that it is programmed itself",
                           formatKey(*verdict.key), users, users, verdict.request.intfId().name());
      }
      found = objection(Row::unmapped, text);
   }
   found.open = verdict.open;
   return found;
}

// A request of the mapper pipeline must not be worked on an arad unit. Tunnels may.
std::optional<Objection> Changes::judgeMapper(IsemForesight::Effect const& effect,
                                              WorldFacts const& facts) const {
   auto breaks = [&](TcamSharingRequest request, TcamSharingPolicyId wanted) {
      return facts.isArad(request.fapId()) &&
             !Plexus::TunnelIntfId::isTunnelIntfId(request.intfId()) &&
             !(wanted.empty() && mapper_.output(request).empty());
   };
   auto breaksAsIs = [&](TcamSharingRequest request) {
      return breaks(request, mapper_.merged->request(request));
   };
   bool broken = std::any_of(effect.takenOut.begin(), effect.takenOut.end(),
                             [&](auto each) { return breaks(each, TcamSharingPolicyId()); }) ||
                 std::any_of(effect.requeued.begin(), effect.requeued.end(), breaksAsIs) ||
                 std::any_of(effect.merged.begin(), effect.merged.end(),
                             [&](auto const& each) { return breaks(each.first, each.second); }) ||
                 std::any_of(effect.affected.begin(), effect.affected.end(), [&](auto each) {
                    return mapperIndex_.isPending(each) && breaksAsIs(each);
                 });
   if (!broken) {
      return std::nullopt;
   }
   return objection(Row::generation, "a withdrawal that is still under way would meet a unit of "
                                     "the other type; settle first");
}

// ---- Requests

std::optional<Objection> Changes::judgePolicy(Requester requester, TcamSharingRequest request,
                                              TcamSharingPolicyId policy) const {
   uint32_t unit = request.fapId().value();
   bool lumen = hasLumenLookup(world_, request.fapId());
   std::string_view name = requesterName(requester);
   if (requester == Requester::acl) {
      if (lumen && policy.lumenAclLabel() != 0) {
         return objection(
             Row::label,
             formatted("unit {} has the lumen lookup, where acl cannot ask for the lumen label",
                       unit));
      }
   } else if (!lumen) {
      return objection(
          Row::noLookup,
          formatted("unit {} has no lumen lookup, so {} cannot ask there (unit UNIT lookup lumen)",
                    unit, name));
   } else if (policy.qosPolicy() != 0 || policy.pbrPolicy() != 0) {
      auto found =
          objection(Row::fields, formatted("{} asks for lumen= only, not for qos= or pbr=", name));
      if (policy.pbrPolicy() == 0) {
         found.condition = "policyId.qosPolicy() == 0"; // which the merge looks at last
      }
      return found;
   }
   return std::nullopt;
}

TcamSharingPolicyId Changes::merged(Requester requester, TcamSharingRequest request,
                                    TcamSharingPolicyId policy, TcamSharingPolicyId present) const {
   uint64_t own = ownFields(world_, requester, request.fapId());
   return TcamSharingPolicyId((policy.value() & own) | (present.value() & ~own));
}

void Changes::requestIs(Requester requester, std::vector<TcamSharingRequest> const& requests,
                        TcamSharingPolicyId policy) {
   auto const& config = router_.tables().config(requester);
   Effects effects;
   for (TcamSharingRequest request : requests) {
      FapId unit = request.fapId();
      bool arad = world_.shoalStatus->fapType(unit) == Hardware::Shoal::fapTypeArad;
      if (arad && unit.value() > AradSemKeyAndFap::maxFapId) {
         throw HostError("unit {} is above {}, the last that an ISEM key can name", unit.value(),
                         AradSemKeyAndFap::maxFapId);
      }
      if (config->request(request) == policy) {
         continue;
      }
      if (auto objection = judgePolicy(requester, request, policy)) {
         refuse(*objection);
      }
      SharingPipeline const& pipeline = router_.pipelineOf(unit);
      TcamSharingPolicyId present = pipeline.merged->request(request);
      TcamSharingPolicyId wanted = merged(requester, request, policy, present);
      if (wanted != present) {
         (arad ? effects.isem : effects.mapper).merged.emplace_back(request, wanted);
      }
   }
   admit(effects);
   for (TcamSharingRequest request : requests) {
      if (policy.empty()) {
         config->requestDel(request);
      } else {
         config->requestIs(request, policy);
      }
   }
}

// ---- Sub-interfaces and VLANs

void Changes::affect(Effects& effects, std::vector<IntfId> const& interfaces) const {
   for (IntfId intf : interfaces) {
      auto const& requests = isemIndex_.of(intf);
      effects.isem.affected.insert(effects.isem.affected.end(), requests.begin(), requests.end());
   }
}

void Changes::refresh(std::vector<IntfId> const& interfaces) {
   for (IntfId intf : interfaces) {
      isemIndex_.refresh(intf);
      mapperIndex_.refresh(intf);
      if (watcher_ != nullptr) {
         watcher_->interfaceChanged(intf);
      }
   }
}

void Changes::refresh(FapId unit) {
   isemIndex_.refreshAll();
   mapperIndex_.refreshAll();
   if (watcher_ != nullptr) {
      watcher_->unitChanged(unit);
   }
}

void Changes::changeTags(IntfId subIntf, Dot1qEncap configured, Dot1qEncap dynamic, bool deleted) {
   if (!SubIntfId::isSubIntfId(subIntf) || !world_.subIntfConfigDir->subIntfConfigHas(subIntf)) {
      return; // which the world refuses
   }
   Dot1qEncap tags = dynamic.isZero() ? configured : dynamic;
   bool add = !tags.isZero() && !deleted;
   Effects effects;
   effects.facts.tags = {subIntf, add ? std::optional(tags) : std::nullopt};
   affect(effects, {subIntf});
   // The record of tags tells of changes, so an equal one tells nothing.
   auto record = world_.subIntfDot1qEncapChange->dot1qEncapCollection().find(subIntf);
   bool told = add ? record != tags : record.has_value();
   IntfId parent = SubIntfId::parentIntfId(subIntf);
   FapId unit = world_.placeOf(parent).fapId;
   if (unit.isNull()) {
      unit = world_.portMapHelper->intfToFap(parent);
   }
   if (unit.isNull()) {
      unit = world_.portMapHelper->changedIntfToFap(parent);
   }
   WorldFacts present(world_, {});
   for (SharingPipeline const* pipeline : {static_cast<SharingPipeline const*>(&isem_),
                                           static_cast<SharingPipeline const*>(&mapper_)}) {
      auto& effect = pipeline == &isem_ ? effects.isem : effects.mapper;
      for (TcamSharingRequest request : indexOf(*pipeline).of(subIntf)) {
         if (!told || (!unit.isNull() && request.fapId() != unit)) {
            continue;
         }
         if (add) {
            effect.requeued.push_back(request);
         } else if (deleted || !present.domain(subIntf, request.fapId())) {
            effect.takenOut.push_back(request);
         }
      }
   }
   admit(effects);
}

void Changes::encapsulationIs(IntfId subIntf, Dot1qEncap encap) {
   changeTags(subIntf, encap, world_.dynSubIntfEncap->dot1qEncap(subIntf), false);
   world_.encapsulationIs(subIntf, encap);
   refresh({subIntf});
}

void Changes::dynamicEncapsulationIs(IntfId subIntf, Dot1qEncap encap) {
   auto config = world_.subIntfConfigDir->subIntfConfig(subIntf);
   changeTags(subIntf, config ? config->dot1qEncap() : Dot1qEncap(), encap, false);
   world_.dynamicEncapsulationIs(subIntf, encap);
   refresh({subIntf});
}

void Changes::subInterfaceDel(IntfId subIntf) {
   changeTags(subIntf, {}, {}, true);
   world_.subInterfaceDel(subIntf);
   refresh({subIntf});
}

void Changes::programInHwIs(IntfId subIntf, bool on) {
   auto status = world_.subIntfStatusDir->subIntfStatus(subIntf);
   if (status && status->programInHw() != on) {
      Effects effects;
      (on ? effects.isem.requeued : effects.isem.takenOut) = isemIndex_.of(subIntf);
      (on ? effects.mapper.requeued : effects.mapper.takenOut) = mapperIndex_.of(subIntf);
      admit(effects);
   }
   world_.programInHwIs(subIntf, on);
}

void Changes::encapKindIs(IntfId subIntf, uint32_t kind) {
   world_.encapKindIs(subIntf, kind);
   refresh({subIntf});
}

void Changes::internalVlanIs(IntfId routedPort, VlanIdOrNone vlan) {
   bool present = vlan.value() != 0;
   if (world_.isRouted(routedPort) && world_.intfVlanIdTable->internalVlanId(routedPort) != vlan) {
      Effects effects;
      effects.facts.tags = {routedPort,
                            present ? std::optional(Dot1qEncap{vlan.value(), 0}) : std::nullopt};
      affect(effects, {routedPort});
      if (present) {
         effects.isem.requeued = isemIndex_.of(routedPort);
         effects.mapper.requeued = mapperIndex_.of(routedPort);
      } else {
         for (TcamSharingRequest request : isemIndex_.of(routedPort)) {
            if (isem_.common->tcamRequestToIsemKeyMappingHas(request)) {
               effects.isem.takenOut.push_back(request);
            }
         }
         for (TcamSharingRequest request : mapperIndex_.of(routedPort)) {
            if (mapper_.common->tcamRequestToVlanTagToVsiKeyMappingHas(request)) {
               effects.mapper.takenOut.push_back(request);
            }
         }
      }
      admit(effects);
   }
   world_.internalVlanIs(routedPort, vlan);
   refresh({routedPort});
}

void Changes::untaggedVlanIs(IntfId intf, VlanIdOrNone vlan) {
   world_.untaggedVlanIs(intf, vlan);
}

void Changes::vlanDomainIs(IntfId intf, std::optional<VlanDomain> domain) {
   Effects effects;
   if (World::isPort(intf)) {
      effects.facts.placeDomain = {world_.placeOf(intf), domain};
   } else {
      effects.facts.lagDomain = {intf, domain ? domain->value() : uint8_t{0}};
   }
   auto around = world_.subInterfacesAround(intf);
   affect(effects, around);
   admit(effects);
   world_.vlanDomainIs(intf, domain);
   refresh(around);
}

// ---- Units

void Changes::affectUnit(Effects& effects, FapId unit) const {
   auto add = [&](SharingPipeline const& pipeline, std::vector<TcamSharingRequest>& affected) {
      for (auto const& [request, queued] : pipeline.codef->backlogCollection().walk()) {
         if (request.fapId() == unit) {
            affected.push_back(request);
         }
      }
      for (auto const& [entry, waits] : pipeline.commonBase->retryListIter()) {
         if (waits && entry.request().fapId() == unit) {
            affected.push_back(entry.request());
         }
      }
   };
   add(isem_, effects.isem.affected);
   add(mapper_, effects.mapper.affected);
}

void Changes::fapTypeIs(FapId unit, Hardware::Shoal::FapType type) {
   using Hardware::Shoal::fapTypeArad;
   // Units of the two generations must never meet in one pipeline.
   bool otherGeneration =
       (type == fapTypeArad) != (world_.shoalStatus->fapType(unit) == fapTypeArad);
   std::size_t count = 0;
   for (Requester requester : requesters) {
      for (auto const& [request, policy] : router_.tables().config(requester)->requestIter()) {
         count += otherGeneration && request.fapId() == unit ? 1 : 0;
      }
   }
   if (count > 0) {
      throw HostError(
          "unit {} has {} in the pipeline of its present type; withdraw {} before it changes",
          unit.value(), counted(count, "request"), count == 1 ? "it" : "them");
   }
   Effects effects;
   effects.facts.type = {unit, type};
   affectUnit(effects, unit);
   admit(effects);
   world_.fapTypeIs(unit, type);
   refresh(unit);
}

void Changes::fapAvailableIs(FapId unit, bool available) {
   Effects effects;
   effects.facts.available = {unit, available};
   affectUnit(effects, unit);
   admit(effects);
   world_.fapAvailableIs(unit, available);
}

void Changes::extLkupTypeIs(FapId unit, Hardware::Shoal::ExtLkupType type) {
   std::size_t count = 0;
   for (Requester requester : {Requester::lumen, Requester::rampart}) {
      for (auto const& [request, policy] : router_.tables().config(requester)->requestIter()) {
         count += request.fapId() == unit ? 1 : 0;
      }
   }
   if (type != Hardware::Shoal::extLkupTypeLumen_ && count > 0) {
      refuse(objection(Row::lookup,
                       formatted("unit {} has {}, which need{} the lumen lookup; withdraw {} first",
                                 unit.value(), counted(count, "lumen or rampart request"),
                                 count == 1 ? "s" : "", count == 1 ? "it" : "them")));
   }
   world_.extLkupTypeIs(unit, type);
   if (watcher_ != nullptr) {
      watcher_->unitChanged(unit);
   }
}

// ---- Ports and port-channels

void Changes::portMapIs(IntfId port, std::optional<PortMap> place) {
   Effects effects;
   effects.facts.place = {port, place.value_or(PortMap())};
   auto around = world_.subInterfacesAround(port);
   affect(effects, around);
   admit(effects);
   world_.portMapIs(port, place);
   refresh(around);
}

void Changes::systemPortIs(IntfId port, std::optional<SystemPhyPortId> systemPort) {
   Effects effects;
   effects.facts.place = {port, systemPort ? world_.shoalStatus->portMap(*systemPort) : PortMap()};
   auto around = world_.subInterfacesAround(port);
   affect(effects, around);
   admit(effects);
   world_.systemPortIs(port, systemPort);
   refresh(around);
}

void Changes::portMapValidIs(bool valid) {
   world_.portMapValidIs(valid);
}

std::optional<Objection> Changes::judgePortMapVersion() const {
   if (!world_.shoalStatus->portMapValid()) {
      return objection(Row::portMap, "a new version while the port map is not valid; say "
                                     "port-map-state valid first");
   }
   for (auto const& [port, word] : features_.portWords->lifFeatureAttrIter()) {
      if (world_.shoalStatus->sysTcamId(port) == Hardware::Shoal::SystemTcamId()) {
         return objection(Row::place,
                          formatted("sysTcamId must be valid for {}, which carries a feature word: "
                                    "give it a place first (port-map), or withdraw its features "
                                    "while it has one",
                                    port.name()));
      }
   }
   return std::nullopt;
}

void Changes::portMapVersionInc() {
   if (auto objection = judgePortMapVersion()) {
      refuse(*objection);
   }
   world_.portMapVersionInc();
}

void Changes::portChannelIs(IntfId lag, bool present) {
   Effects effects;
   if (!present) {
      effects.facts.lagGone = lag;
   }
   auto around = world_.subInterfacesAround(lag);
   affect(effects, around);
   admit(effects);
   world_.portChannelIs(lag, present);
   refresh(around);
}

void Changes::memberIs(IntfId lag, IntfId port, bool present) {
   Effects effects;
   effects.facts.member = {lag, port, present};
   auto around = world_.subInterfacesAround(lag);
   affect(effects, around);
   admit(effects);
   world_.memberIs(lag, port, present);
   refresh(around);
}

// ---- Machines

void Changes::checkRebuild(Machine machine) {
   Effects effects;
   if (machine == Machine::intake) {
      effects.isem.restartsIntake = true;
   } else if (machine == Machine::isem) {
      effects.isem.programsAll = true;
   } else if (machine == Machine::mapper) {
      for (auto const& [request, policy] : mapper_.tagOutput->requestIter()) {
         effects.mapper.requeued.push_back(request);
      }
   } else if (machine == Machine::merge) {
      std::vector<TcamSharingRequest> labelled;
      for (auto const& [request, policy] : router_.tables().config(Requester::acl)->requestIter()) {
         if (judgePolicy(Requester::acl, request, policy)) {
            labelled.push_back(request);
         }
      }
      if (!labelled.empty()) {
         refuse(objection(
             Row::label,
             formatted("acl asks with lumen= for {}, and a unit with the lumen lookup leaves that "
                       "field to others; ask again without lumen= first",
                       formatRequests(labelled, " and "))));
      }
      for (SharingPipeline* pipeline :
           {static_cast<SharingPipeline*>(&isem_), static_cast<SharingPipeline*>(&mapper_)}) {
         auto& effect = pipeline == &isem_ ? effects.isem : effects.mapper;
         std::map<TcamSharingRequest, TcamSharingPolicyId> changed;
         for (Requester requester : requesters) {
            for (auto const& [request, policy] :
                 pipeline->sharing.config(requester)->requestIter()) {
               auto known = changed.find(request);
               TcamSharingPolicyId present =
                   known == changed.end() ? pipeline->merged->request(request) : known->second;
               TcamSharingPolicyId wanted = merged(requester, request, policy, present);
               if (wanted != present) {
                  changed[request] = wanted;
                  effect.merged.emplace_back(request, wanted);
               }
            }
         }
      }
   }
   admit(effects);
}

void Changes::intakesRebuilt() {
   isemIndex_.intakeRebuilt();
   mapperIndex_.intakeRebuilt();
}

} // namespace ShoalHost
