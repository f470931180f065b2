#include "host/admission/Changes.h"

#include "host/names/Names.h"

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

Concern concernOf(IntfId intf) {
   Concern concern;
   concern.interfaces.push_back(intf);
   return concern;
}

Concern concernOf(FapId unit) {
   Concern concern;
   concern.unit = unit;
   return concern;
}

} // namespace

Changes::Changes(World& world, IsemPipeline& isem, MapperPipeline& mapper, SharingRouter& router,
                 FeaturePipeline const& features, VlanTags const& tags, Chronicle const& chronicle,
                 ChipSeam& seam, Orv::Timers& timers)
    : world_(world), isem_(isem), mapper_(mapper), router_(router), features_(features),
      judge_(world, isem, mapper, router, features, tags, seam),
      detours_(world, isem, mapper, router, tags, chronicle, judge_, seam, timers) {}

void Changes::carryOut(std::string_view kind, std::function<std::string()> what, Concern concern,
                       std::function<std::optional<Objection>()> judge, std::function<void()> make,
                       std::function<FactChange()> fact) {
   Change change;
   change.kind = kind;
   change.what = std::move(what);
   change.concern = std::move(concern);
   change.judge = std::move(judge);
   change.make = std::move(make);
   change.fact = std::move(fact);
   detours_.carryOut(std::move(change));
}

// ---- Sub-interfaces and VLANs

Effects Changes::tagEffects(IntfId subIntf, WorldView::Tags both, bool deleted) const {
   Effects effects;
   if (!SubIntfId::isSubIntfId(subIntf) || !world_.subIntfConfigDir->subIntfConfigHas(subIntf)) {
      return effects; // which the world refuses
   }
   Dot1qEncap tags = both.dynamic.isZero() ? both.configured : both.dynamic;
   bool add = !tags.isZero() && !deleted;
   effects.facts.tags = {subIntf, add ? std::optional(tags) : std::nullopt};
   judge_.affect(effects, {subIntf});
   // The record of tags tells of changes, so an equal one tells nothing.
   auto record = world_.subIntfDot1qEncapChange->dot1qEncapCollection().find(subIntf);
   bool told = add ? record != tags : record.has_value();
   FapId unit = world_.unitOfParent(subIntf);
   WorldFacts present(world_, {});
   for (auto [effect, index] : {std::pair(&effects.isem, &judge_.isemIndex()),
                                std::pair(&effects.mapper, &judge_.mapperIndex())}) {
      for (TcamSharingRequest request : index->of(subIntf)) {
         if (!told || (!unit.isNull() && request.fapId() != unit)) {
            continue;
         }
         if (add) {
            effect->requeued.push_back(request);
         } else if (deleted || !present.domain(subIntf, request.fapId())) {
            effect->takenOut.push_back(request);
         }
      }
   }
   return effects;
}

void Changes::tagsAre(std::string_view what, IntfId subIntf,
                      std::function<WorldView::Tags(WorldView::Tags)> const& change, bool deleted,
                      std::function<void()> const& make) {
   world_.requireSubInterface(subIntf);
   auto effects = [=, this] { return tagEffects(subIntf, change(world_.tags(subIntf)), deleted); };
   carryOut(
       what, [=] { return formatted("{} of {}", what, subIntf.name()); }, concernOf(subIntf),
       [=, this] { return judge_.judge(effects()); },
       [=, this] {
          make();
          judge_.refresh({subIntf});
       },
       [=] { return effects().facts; });
}

void Changes::encapsulationIs(IntfId subIntf, Dot1qEncap encap) {
   tagsAre(
       "the encapsulation", subIntf,
       [encap](WorldView::Tags tags) {
          return WorldView::Tags{encap, tags.dynamic};
       },
       false, [=, this] { world_.encapsulationIs(subIntf, encap); });
}

void Changes::dynamicEncapsulationIs(IntfId subIntf, Dot1qEncap encap) {
   tagsAre(
       "the dynamic encapsulation", subIntf,
       [encap](WorldView::Tags tags) {
          return WorldView::Tags{tags.configured, encap};
       },
       false, [=, this] { world_.dynamicEncapsulationIs(subIntf, encap); });
}

void Changes::subInterfaceDel(IntfId subIntf) {
   tagsAre(
       "the deletion", subIntf, [](WorldView::Tags) { return WorldView::Tags(); }, true,
       [=, this] { world_.subInterfaceDel(subIntf); });
}

void Changes::programInHwIs(IntfId subIntf, bool on) {
   world_.requireSubInterface(subIntf);
   carryOut(
       "program-in-hw",
       [=] { return formatted("program-in-hw {} of {}", on ? "on" : "off", subIntf.name()); },
       concernOf(subIntf),
       [=, this]() -> std::optional<Objection> {
          auto status = world_.subIntfStatusDir->subIntfStatus(subIntf);
          if (!status || status->programInHw() == on) {
             return std::nullopt;
          }
          Effects effects;
          (on ? effects.isem.requeued : effects.isem.takenOut) = judge_.isemIndex().of(subIntf);
          (on ? effects.mapper.requeued : effects.mapper.takenOut) =
              judge_.mapperIndex().of(subIntf);
          return judge_.judge(effects);
       },
       [=, this] { world_.programInHwIs(subIntf, on); });
}

void Changes::encapKindIs(IntfId subIntf, uint32_t kind) {
   factIs("the encapsulation kind", subIntf, nullptr, [=, this] {
      world_.encapKindIs(subIntf, kind);
      judge_.refresh({subIntf});
   });
}

Effects Changes::internalVlanEffects(IntfId routedPort, VlanIdOrNone vlan) const {
   Effects effects;
   if (!world_.isRouted(routedPort) || world_.intfVlanIdTable->internalVlanId(routedPort) == vlan) {
      return effects;
   }
   bool present = vlan.value() != 0;
   effects.facts.tags = {routedPort,
                         present ? std::optional(Dot1qEncap{vlan.value(), 0}) : std::nullopt};
   judge_.affect(effects, {routedPort});
   auto isem = judge_.isemIndex().of(routedPort);
   auto mapper = judge_.mapperIndex().of(routedPort);
   if (present) {
      effects.isem.requeued = std::move(isem);
      effects.mapper.requeued = std::move(mapper);
      return effects;
   }
   std::copy_if(isem.begin(), isem.end(), std::back_inserter(effects.isem.takenOut),
                [&](auto each) { return isem_.common->tcamRequestToIsemKeyMappingHas(each); });
   std::copy_if(
       mapper.begin(), mapper.end(), std::back_inserter(effects.mapper.takenOut),
       [&](auto each) { return mapper_.common->tcamRequestToVlanTagToVsiKeyMappingHas(each); });
   return effects;
}

void Changes::internalVlanIs(IntfId routedPort, VlanIdOrNone vlan) {
   carryOut(
       "the internal VLAN", [=] { return formatted("the internal VLAN of {}", routedPort.name()); },
       concernOf(routedPort),
       [=, this] { return judge_.judge(internalVlanEffects(routedPort, vlan)); },
       [=, this] {
          world_.internalVlanIs(routedPort, vlan);
          judge_.refresh({routedPort});
       },
       [=, this] { return internalVlanEffects(routedPort, vlan).facts; });
}

void Changes::untaggedVlanIs(IntfId intf, VlanIdOrNone vlan) {
   world_.untaggedVlanIs(intf, vlan);
}

void Changes::taggedVlanIs(IntfId intf, Bridging::VlanId vlan, bool carries) {
   world_.taggedVlanIs(intf, vlan, carries);
}

void Changes::factIs(std::string_view what, IntfId intf, std::function<FactChange()> const& fact,
                     std::function<void()> const& make, std::optional<IntfId> member) {
   Change change;
   change.kind = what;
   change.what = [=] { return formatted("{} of {}", what, intf.name()); };
   change.concern.interfaces = world_.subInterfacesAround(intf);
   change.concern.interfaces.push_back(intf);
   if (member) {
      change.concern.interfaces.push_back(*member);
   }
   change.judge = [=, this]() -> std::optional<Objection> {
      if (!fact) {
         return std::nullopt;
      }
      Effects effects;
      effects.facts = fact();
      judge_.affect(effects, world_.subInterfacesAround(intf));
      return judge_.judge(effects);
   };
   change.fact = fact;
   change.make = [=, this] {
      auto before = world_.subInterfacesAround(intf);
      make();
      judge_.refresh(before);
   };
   detours_.carryOut(std::move(change));
}

void Changes::vlanDomainIs(IntfId intf, std::optional<VlanDomain> domain) {
   world_.requireVlanDomainOf(intf);
   factIs(
       "the VLAN domain", intf,
       [=, this] {
          FactChange fact;
          if (World::isPort(intf)) {
             fact.placeDomain = {world_.placeOf(intf), domain};
          } else {
             fact.lagDomain = {intf, domain ? domain->value() : uint8_t{0}};
          }
          return fact;
       },
       [=, this] { world_.vlanDomainIs(intf, domain); });
}

// ---- Units

void Changes::unitIs(FapId unit, std::string_view what,
                     std::function<std::optional<Objection>()> judge, std::function<void()> make) {
   carryOut(
       what, [=] { return formatted("{} of unit {}", what, unit.value()); }, concernOf(unit),
       std::move(judge), std::move(make));
}

void Changes::fapTypeIs(FapId unit, Hardware::Shoal::FapType type) {
   using Hardware::Shoal::fapTypeArad;
   // Units of the two generations must never meet in one pipeline, also where nothing is judged.
   auto judgeGeneration = [=, this]() -> std::optional<Objection> {
      bool arad = world_.shoalStatus->fapType(unit) == fapTypeArad;
      return (type == fapTypeArad) == arad ? std::nullopt : judge_.judgeGeneration(unit);
   };
   if (detours_.setting() == Setting::off) {
      if (auto objection = judgeGeneration()) {
         throw ChangeRefused(*objection);
      }
   }
   unitIs(
       unit, "the type",
       [=, this]() -> std::optional<Objection> {
          if (auto objection = judgeGeneration()) {
             return objection;
          }
          Effects effects;
          effects.facts.type = {unit, type};
          judge_.affectUnit(effects, unit);
          return judge_.judge(effects);
       },
       [=, this] {
          world_.fapTypeIs(unit, type);
          judge_.refresh(unit);
       });
}

void Changes::fapAvailableIs(FapId unit, bool available) {
   unitIs(
       unit, "the availability",
       [=, this] {
          Effects effects;
          effects.facts.available = {unit, available};
          judge_.affectUnit(effects, unit);
          return judge_.judge(effects);
       },
       [=, this] { world_.fapAvailableIs(unit, available); });
}

void Changes::extLkupTypeIs(FapId unit, Hardware::Shoal::ExtLkupType type) {
   unitIs(
       unit, "the lookup", [=, this] { return judge_.judgeLookup(unit, type); },
       [=, this] {
          world_.extLkupTypeIs(unit, type);
          judge_.lookupChanged(unit);
       });
}

// ---- Ports and port-channels

void Changes::portMapIs(IntfId port, std::optional<PortMap> place) {
   world_.requirePlace(port, place);
   factIs(
       "the place", port,
       [=] {
          FactChange fact;
          fact.place = {port, place.value_or(PortMap())};
          return fact;
       },
       [=, this] { world_.portMapIs(port, place); });
}

void Changes::systemPortIs(IntfId port, std::optional<SystemPhyPortId> systemPort) {
   world_.requireSystemPort(port, systemPort);
   factIs(
       "the system port", port,
       [=, this] {
          FactChange fact;
          fact.place = {port, systemPort ? world_.shoalStatus->portMap(*systemPort) : PortMap()};
          return fact;
       },
       [=, this] { world_.systemPortIs(port, systemPort); });
}

void Changes::portMapValidIs(bool valid) {
   world_.portMapValidIs(valid);
   detours_.poke();
}

void Changes::portMapVersionInc() {
   Concern concern;
   concern.portMap = true;
   carryOut(
       "version", [] { return std::string("the new version of the port map"); }, concern,
       [this] { return judge_.judgePortMapVersion(); }, [this] { world_.portMapVersionInc(); });
}

void Changes::portChannelIs(IntfId lag, bool present) {
   factIs(
       present ? "the creation" : "the deletion", lag,
       [=] {
          FactChange fact;
          if (!present) {
             fact.lagGone = lag;
          }
          return fact;
       },
       [=, this] { world_.portChannelIs(lag, present); });
}

void Changes::memberIs(IntfId lag, IntfId port, bool present) {
   world_.requireMember(lag, port, present);
   factIs(
       present ? "a new member" : "a member that leaves", lag,
       [=] {
          FactChange fact;
          fact.member = {lag, port, present};
          return fact;
       },
       [=, this] { world_.memberIs(lag, port, present); }, port);
}

// ---- Machines

void Changes::checkRebuild(Machine machine) {
   Change change;
   change.firm = true;
   change.what = [] { return std::string("the rebuilding"); };
   change.judge = [=, this]() -> std::optional<Objection> {
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
         if (auto objection = judge_.judgeMerge(effects)) {
            return objection;
         }
      }
      return judge_.judge(effects);
   };
   change.make = [] {};
   detours_.carryOut(std::move(change));
}

void Changes::intakesRebuilt() {
   judge_.intakesRebuilt();
   detours_.intakesRebuilt();
}

} // namespace ShoalHost
