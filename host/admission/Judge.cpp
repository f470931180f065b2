#include "host/admission/Judge.h"

#include "host/names/Names.h"
#include "ShoalTunnel/TcamSharing/TcamSharingIsemPolicyId.h"

#include <algorithm>

namespace ShoalHost {

using namespace Hardware::ShoalTunnel;

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
    "",
    "",
    "l3FloodPortVlanId.value()",
};

bool hasLumenLookup(World const& world, FapId unit) {
   return world.shoalStatus->fapExtLkupType(unit) == Hardware::Shoal::extLkupTypeLumen_;
}

} // namespace

Objection objectionOf(Row row, std::string why, std::string wayOut) {
   Objection objection;
   objection.row = row;
   objection.why = std::move(why);
   objection.wayOut = std::move(wayOut);
   objection.condition = conditions[static_cast<std::size_t>(row)];
   return objection;
}

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

Judge::Judge(World const& world, IsemPipeline const& isem, MapperPipeline const& mapper,
             SharingRouter const& router, FeaturePipeline const& features, VlanTags const& tags,
             ChipSeam const& seam)
    : world_(world), isem_(isem), mapper_(mapper), router_(router), features_(features),
      tags_(tags), seam_(seam), isemIndex_(world, isem, &isem),
      mapperIndex_(world, mapper, nullptr) {}

std::optional<Objection> Judge::judge(Effects const& effects) const {
   WorldFacts facts(world_, effects.facts);
   auto verdict = IsemForesight(isem_, tags_, seam_, isemIndex_, facts).judge(effects.isem);
   if (verdict.what == IsemForesight::Break::none) {
      return judgeMapper(effects.mapper, facts);
   }
   std::string request = formatRequest(verdict.request);
   std::string users = formatRequests(verdict.users, " and ");
   Objection found;
   if (verdict.what == IsemForesight::Break::moved) {
      found = objectionOf(Row::moved,
                          formatted("{} would move off the entry {}, which {} still use{}", request,
                                    formatKey(*verdict.key), users,
                                    verdict.users.size() == 1 ? "s" : ""),
                          formatted("withdraw {} first", users));
   } else {
      auto response = isem_.mergedStatus->response(verdict.request);
      std::string why = formatted(
          "{} would be withdrawn, but it {} without an entry of its own", request,
          verdict.open        ? "may be answered before that"
          : isFinal(response) ? formatted("was answered {}", formatStatus(response.status))
                              : "will be answered");
      if (verdict.open) {
         found = objectionOf(Row::unmapped, why, "wait for the answers of the chip first");
      } else if (users.empty()) {
         found = objectionOf(Row::unmapped, why,
                             "first have it programmed itself (a single tag, then another policy)");
      } else {
         found = objectionOf(
             Row::unmapped,
             formatted("{}: the entry {} belongs to {}", why, formatKey(*verdict.key), users),
             formatted("first withdraw {}, then give {} another policy, so that it is programmed "
                       "itself",
                       users, verdict.request.intfId().name()));
      }
   }
   found.open = verdict.open;
   found.request = verdict.request;
   found.key = verdict.key;
   found.users = std::move(verdict.users);
   return found;
}

// A request of the mapper pipeline must not be worked on an arad unit. Tunnels may.
std::optional<Objection> Judge::judgeMapper(IsemForesight::Effect const& effect,
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
   return objectionOf(Row::generation,
                      "a withdrawal that is still under way would meet a unit of "
                      "the other type",
                      "settle first");
}

std::optional<Objection> Judge::judgePolicy(Requester requester, TcamSharingRequest request,
                                            TcamSharingPolicyId policy) const {
   uint32_t unit = request.fapId().value();
   bool lumen = hasLumenLookup(world_, request.fapId());
   std::string_view name = requesterName(requester);
   if (!policy.empty() && unit > AradSemKeyAndFap::maxFapId &&
       WorldFacts(world_, {}).isArad(request.fapId())) {
      return objectionOf(Row::key,
                         formatted("unit {} is above {}, the last that an ISEM key can name", unit,
                                   AradSemKeyAndFap::maxFapId),
                         "");
   }
   if (!policy.empty() && request.intfId().l3Flood() && request.l3FloodPortVlanId().value() == 0) {
      return objectionOf(
          Row::flood,
          formatted("{} is asked for without the VLAN of its port", request.intfId().name()), "");
   }
   if (requester == Requester::acl) {
      if (lumen && policy.lumenAclLabel() != 0) {
         return objectionOf(
             Row::label,
             formatted("unit {} has the lumen lookup, where acl cannot ask for the lumen label",
                       unit),
             "");
      }
   } else if (!lumen) {
      return objectionOf(
          Row::noLookup,
          formatted("unit {} has no lumen lookup, so {} cannot ask there (unit UNIT lookup lumen)",
                    unit, name),
          "");
   } else if (policy.qosPolicy() != 0 || policy.pbrPolicy() != 0) {
      auto found = objectionOf(
          Row::fields, formatted("{} asks for lumen= only, not for qos= or pbr=", name), "");
      if (policy.pbrPolicy() == 0) {
         found.condition = "policyId.qosPolicy() == 0"; // which the merge looks at last
      }
      return found;
   }
   return std::nullopt;
}

TcamSharingPolicyId Judge::merged(Requester requester, TcamSharingRequest request,
                                  TcamSharingPolicyId policy, TcamSharingPolicyId present) const {
   uint64_t own = ownFields(world_, requester, request.fapId());
   return TcamSharingPolicyId((policy.value() & own) | (present.value() & ~own));
}

std::optional<Objection> Judge::judgePortMapVersion() const {
   if (!world_.shoalStatus->portMapValid()) {
      return objectionOf(Row::portMap, "a new version while the port map is not valid",
                         "say port-map-state valid first");
   }
   for (auto const& [port, word] : features_.portWords->lifFeatureAttrIter()) {
      if (world_.shoalStatus->sysTcamId(port) == Hardware::Shoal::SystemTcamId()) {
         return objectionOf(
             Row::place,
             formatted("sysTcamId must be valid for {}, which carries a feature word", port.name()),
             "give it a place first (port-map), or withdraw its features while it has one");
      }
   }
   return std::nullopt;
}

void Judge::affectUnit(Effects& effects, FapId unit) const {
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

std::optional<Objection> Judge::judgeLookup(FapId unit, Hardware::Shoal::ExtLkupType type) const {
   if (type == Hardware::Shoal::extLkupTypeLumen_) {
      return std::nullopt;
   }
   std::size_t count = askedOn(unit, {Requester::lumen, Requester::rampart}).size();
   if (count == 0) {
      return std::nullopt;
   }
   return objectionOf(Row::lookup,
                      formatted("unit {} has {}, which need{} the lumen lookup", unit.value(),
                                counted(count, "lumen or rampart request"), count == 1 ? "s" : ""),
                      formatted("withdraw {} first", count == 1 ? "it" : "them"));
}

std::optional<Objection> Judge::judgeGeneration(FapId unit) const {
   SharingPipeline const& pipeline = router_.pipelineOf(unit);
   std::size_t left = indexOf(pipeline).countOn(unit);
   for (auto const& [request, policy] : pipeline.merged->requestIter()) {
      if (left == 0) {
         break;
      }
      if (request.fapId() != unit) {
         continue;
      }
      --left;
      uint64_t kept = policy.value();
      for (Requester requester : requesters) {
         kept &= pipeline.sharing.config(requester)->requestHas(request)
                     ? ~ownFields(world_, requester, unit)
                     : ~uint64_t{0};
      }
      if (kept != 0) {
         bool label = (kept & ~ownFields(world_, Requester::lumen, unit)) == 0;
         return objectionOf(
             Row::kept,
             formatted("the merged policy of {} would keep {}, which nobody asks "
                       "for, in the pipeline of the present type",
                       formatRequest(request), formatPolicy(TcamSharingPolicyId(kept))),
             label ? "have lumen ask for something there and withdraw it first" : "");
      }
   }
   std::size_t count = askedOn(unit, {requesters.begin(), requesters.end()}).size();
   if (count == 0) {
      return std::nullopt;
   }
   auto found = objectionOf(Row::generation,
                            formatted("unit {} has {} in the pipeline of its present type",
                                      unit.value(), counted(count, "request")),
                            formatted("withdraw {} before it changes", count == 1 ? "it" : "them"));
   found.condition.clear(); // the router keeps the generations apart
   return found;
}

std::optional<Objection> Judge::judgeMerge(Effects& effects) const {
   std::vector<TcamSharingRequest> labelled;
   for (auto const& [request, policy] : router_.tables().config(Requester::acl)->requestIter()) {
      if (!router_.held(Requester::acl, request) && judgePolicy(Requester::acl, request, policy)) {
         labelled.push_back(request);
      }
   }
   if (!labelled.empty()) {
      return objectionOf(
          Row::label,
          formatted("acl asks with lumen= for {}, and a unit with the lumen lookup leaves that "
                    "field to others",
                    formatRequests(labelled, " and ")),
          "ask again without lumen= first");
   }
   for (SharingPipeline const* pipeline : {static_cast<SharingPipeline const*>(&isem_),
                                           static_cast<SharingPipeline const*>(&mapper_)}) {
      auto& effect = pipeline == &isem_ ? effects.isem : effects.mapper;
      std::map<TcamSharingRequest, TcamSharingPolicyId> changed;
      for (Requester requester : requesters) {
         for (auto const& [request, policy] : pipeline->sharing.config(requester)->requestIter()) {
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
   return std::nullopt;
}

void Judge::addRequest(Effects& effects, Requester requester, TcamSharingRequest request,
                       TcamSharingPolicyId policy) const {
   SharingPipeline const& pipeline = router_.pipelineOf(request.fapId());
   TcamSharingPolicyId present = pipeline.merged->request(request);
   TcamSharingPolicyId wanted = merged(requester, request, policy, present);
   if (wanted != present) {
      (&pipeline == &isem_ ? effects.isem : effects.mapper).merged.emplace_back(request, wanted);
   }
}

void Judge::addRequeued(Effects& effects, TcamSharingRequest request) const {
   bool isem = &router_.pipelineOf(request.fapId()) == &isem_;
   (isem ? effects.isem : effects.mapper).requeued.push_back(request);
}

void Judge::affect(Effects& effects, std::vector<IntfId> const& interfaces) const {
   for (IntfId intf : interfaces) {
      auto const& requests = isemIndex_.of(intf);
      effects.isem.affected.insert(effects.isem.affected.end(), requests.begin(), requests.end());
   }
}

std::vector<Judge::Asked> Judge::askedOn(FapId unit, std::vector<Requester> const& of) const {
   std::vector<Asked> found;
   for (Requester requester : of) {
      for (auto const& [request, policy] : router_.tables().config(requester)->requestIter()) {
         if (request.fapId() == unit && !router_.held(requester, request)) {
            found.push_back({requester, request});
         }
      }
   }
   return found;
}

void Judge::refresh(std::vector<IntfId> const& interfaces) {
   for (IntfId intf : interfaces) {
      isemIndex_.refresh(intf);
      mapperIndex_.refresh(intf);
      if (watcher_ != nullptr) {
         watcher_->interfaceChanged(intf);
      }
   }
}

void Judge::refresh(FapId unit) {
   for (RequestIndex* index : {&isemIndex_, &mapperIndex_}) {
      if (index->countOn(unit) != 0) {
         index->refreshAll();
      }
   }
   lookupChanged(unit);
}

void Judge::lookupChanged(FapId unit) {
   if (watcher_ != nullptr) {
      watcher_->unitChanged(unit);
   }
}

void Judge::intakesRebuilt() {
   isemIndex_.intakeRebuilt();
   mapperIndex_.intakeRebuilt();
}

} // namespace ShoalHost
