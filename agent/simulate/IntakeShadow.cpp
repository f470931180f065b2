#include "agent/simulate/IntakeShadow.h"

#include <algorithm>

namespace Agent {

using namespace Hardware::ShoalTunnel;

namespace {

constexpr Requester kinds[] = {Requester::acl, Requester::lumen, Requester::rampart};

template<class T>
void put(std::map<TcamSharingRequest, T>& table, TcamSharingRequest request, T value, bool there) {
   if (there) {
      table[request] = value;
   } else {
      table.erase(request);
   }
}

TcamSharingPolicyId in(std::map<TcamSharingRequest, TcamSharingPolicyId> const& table,
                       TcamSharingRequest request) {
   auto found = table.find(request);
   return found == table.end() ? TcamSharingPolicyId() : found->second;
}

} // namespace

void IntakeShadow::handleFeature(Requester feature, TcamSharingRequest request) {
   uint64_t asked = pipeline_.sharing.config(feature)->request(request).value();
   uint64_t merged = in(merged_, request).value();
   bool lumen = facts_.lumen(request.fapId());
   if (feature != Requester::acl) {
      merged = (merged & ~Facts::labelBits) | (asked & Facts::labelBits);
      auto foreign = foreign_.find(request);
      foreignIs(request, foreign == foreign_.end() ? 0 : foreign->second & ~Facts::labelBits);
      auto other = feature == Requester::lumen ? Requester::rampart : Requester::lumen;
      if (pipeline_.sharing.config(other)->requestHas(request)) {
         twoLabels_.insert(request);
      } else {
         twoLabels_.erase(request);
      }
      probes_.hit("merge: label");
   } else if (lumen) {
      if ((asked & Facts::labelBits) != 0) {
         probes_.stopIsDue("policyId.lumenAclLabel() == 0");
      }
      merged = (merged & ~Facts::aclBits()) | (asked & Facts::aclBits());
      probes_.hit("merge: acl beside a label");
   } else {
      merged = asked;
      foreignIs(request, asked & ~Facts::aclBits());
      probes_.hit("merge: acl alone");
   }
   put(merged_, request, TcamSharingPolicyId(merged), merged != 0);
   put(mergedAsLumen_, request, lumen, merged != 0 || isAsked(request));
}

void IntakeShadow::foreignIs(TcamSharingRequest request, uint64_t bits) {
   put(foreign_, request, bits, bits != 0);
}

void IntakeShadow::handleMergeGone() {
   aclStatus_.clear();
   lumenStatus_.clear();
   for (Requester feature : kinds) {
      for (auto const& [request, policy] : pipeline_.sharing.config(feature)->requestIter()) {
         handleFeature(feature, request);
      }
   }
}

void IntakeShadow::handleMergedStatus(TcamSharingRequest request) {
   TcamSharingResponse response = pipeline_.mergedStatus->response(request);
   if (response.status == tcamSharingNone && response.policyId.empty()) {
      aclStatus_.erase(request);
      lumenStatus_.erase(request);
      return;
   }
   answers_.forgotten.erase(request);
   if (!facts_.lumen(request.fapId())) {
      aclStatus_[request] = response;
   } else {
      TcamSharingPolicyId acl(response.policyId.value() & Facts::aclBits());
      TcamSharingPolicyId label(response.policyId.value() & Facts::labelBits);
      put(aclStatus_, request, {response.status, acl}, !acl.empty());
      put(lumenStatus_, request, {response.status, label}, !label.empty());
      probes_.hit("merge: answer in two parts");
   }
}

void IntakeShadow::handleMerged(TcamSharingRequest request) {
   TcamSharingPolicyId wanted = pipeline_.merged->request(request);
   if (!wanted.empty() && leftBehind_.erase(request) != 0 && wanted == in(output_, request)) {
      // Asked for again just as it was left behind: nothing brings its answer up to date.
      answers_.forgotten.insert(request);
   } else if (wanted.empty()) {
      takenOut_.erase(request);
   }
   if (wanted == in(output_, request)) {
      probes_.hit("intake: nothing to be done");
   } else {
      probes_.hit(due_.insert(request).second ? "intake: queued" : "intake: queued already");
   }
}

void IntakeShadow::handleBacklog(TcamSharingRequest request) {
   if (!pipeline_.codef->backlog(request)) {
      work(request);
   }
}

void IntakeShadow::work(TcamSharingRequest request) {
   due_.erase(request);
   TcamSharingPolicyId wanted = in(merged_, request);
   TcamSharingPolicyId present = in(output_, request);
   answers_.retries.erase({request, present});
   answers_.unqueued.erase(request);
   if (wanted.empty() && present.empty()) {
      probes_.hit("intake: came and went");
      answers_.responses.erase(request);
   } else if (wanted == present) {
      probes_.hit("intake: handed over again");
      reprogram_.insert(request);
   } else {
      probes_.hit(wanted.empty() ? "intake: withdrawn" : "intake: handed over");
      put(output_, request, wanted, !wanted.empty());
      // The same data again are not written to a tunnel's entry, so they are not answered either.
      if (Facts::lowBits(wanted) != Facts::lowBits(present)) {
         answers_.forgotten.erase(request);
      }
      takenOut_.erase(request);
   }
}

void IntakeShadow::handleOutput(TcamSharingRequest request) {
   if (!pipeline_.commonBase->notARealDelete()) {
      reprogram_.erase(request);
   }
}

void IntakeShadow::handleRetryList(TcamSharingEntry const& entry) {
   if (!pipeline_.commonBase->retryList(entry) && answers_.retries.erase(entry) != 0) {
      // A retry pass, which queues what it takes out; what nobody asks for any more, it forgets.
      if (merged_.contains(entry.request())) {
         probes_.hit("intake: retried");
         due_.insert(entry.request());
      } else {
         probes_.hit("intake: withdrawn before its retry");
      }
   }
}

std::vector<TcamSharingRequest> IntakeShadow::asked(IntfId intf) const {
   std::vector<TcamSharingRequest> found;
   for (auto const& [request, policy] : merged_) {
      if (request.intfId() == intf) {
         found.push_back(request);
      }
   }
   return found;
}

void IntakeShadow::takeOut(TcamSharingRequest request, TakenOut why) {
   if (output_.erase(request) != 0 && merged_.contains(request)) {
      takenOut_[request] = why;
      probes_.hit(why == TakenOut::flag   ? "intake: taken out by its flag"
                  : why == TakenOut::tags ? "intake: taken out for want of tags"
                                          : "intake: taken out for want of a VLAN");
   }
}

void IntakeShadow::handleProgramInHw(IntfId subIntf) {
   auto status = facts_.world().subIntfStatusDir->subIntfStatus(subIntf);
   for (TcamSharingRequest request : asked(subIntf)) {
      if (status->programInHw()) {
         due_.insert(request);
         probes_.hit("intake: queued by its flag");
      } else {
         takeOut(request, TakenOut::flag);
      }
   }
}

void IntakeShadow::handleInternalVlan(IntfId intf) {
   if (facts_.world().intfVlanIdTable->internalVlanId(intf).value() != 0) {
      for (TcamSharingRequest request : asked(intf)) {
         due_.insert(request);
         probes_.hit("intake: queued by its VLAN");
      }
      return;
   }
   // Only what has an entry in hardware is taken out.
   std::vector<TcamSharingRequest> programmed;
   for (auto const& [request, key] : pipeline_.commonBase->tcamRequestToIsemKeyMappingIter()) {
      programmed.push_back(request);
   }
   for (auto const& [request, keys] :
        pipeline_.commonBase->tcamRequestToVlanTagToVsiKeyMappingIter()) {
      programmed.push_back(request);
   }
   for (TcamSharingRequest request : programmed) {
      if (request.intfId() == intf) {
         takeOut(request, TakenOut::vlan);
      }
   }
}

void IntakeShadow::handleTags(IntfId subIntf) {
   auto const& world = facts_.world();
   FapId unit = facts_.parentUnit(subIntf);
   bool added = world.subIntfDot1qEncapChange->dot1qEncapHas(subIntf);
   auto config = world.subIntfConfigDir->subIntfConfig(subIntf);
   for (TcamSharingRequest request : asked(subIntf)) {
      if (!unit.isNull() && request.fapId() != unit) {
         probes_.hit("intake: tags change, another unit's request");
         auto out = takenOut_.find(request);
         if (added && out != takenOut_.end() && out->second == TakenOut::tags) {
            out->second = TakenOut::tagsElsewhere;
         }
      } else if (added) {
         due_.insert(request);
         probes_.hit(unit.isNull() ? "intake: queued by tags, no one unit"
                                   : "intake: queued by tags");
      } else if (config && !config->dot1qEncap().isZero()) {
         // Only the record of the change went.
      } else if (config && facts_.domain(subIntf, request.fapId())) {
         probes_.hit("intake: tags go, VLAN domain stays");
      } else {
         takeOut(request, TakenOut::tags);
      }
   }
}

void IntakeShadow::handleIntakeGone() {
   answers_.responses.clear();
   for (auto const& [request, policy] : output_) {
      answers_.forgotten.insert(request);
   }
   for (TcamSharingRequest request : due_) {
      answers_.unqueued.insert(request);
      if (!merged_.contains(request) && output_.contains(request)) {
         leftBehind_.insert(request);
         probes_.hit("intake: restart forgets a withdrawal");
      }
   }
   due_.clear();
   reprogram_.clear();
   for (auto const& [request, policy] : merged_) {
      if (in(output_, request) != policy) {
         due_.insert(request);
      }
   }
}

void IntakeShadow::compare(Findings& findings, bool settled) const {
   findings.compare("merged policies", merged_, pipeline_.merged->requestCollection());
   std::map<TcamSharingRequest, TcamSharingResponse> const* statuses[] = {
       &aclStatus_, &lumenStatus_, &rampartStatus_};
   for (std::size_t i = 0; i < kRequesters; ++i) {
      findings.compare("features' answers", *statuses[i],
                       pipeline_.sharing.status(static_cast<Requester>(i))->responseCollection());
   }
   findings.compare("answers", answers_.responses, pipeline_.mergedStatus->responseCollection());
   findings.compare("retry list", answers_.retries, pipeline_.commonBase->retryListCollection());
   for (TcamSharingRequest request : due_) {
      if (!pipeline_.codef->backlog(request)) {
         findings.add("backlog", request, " has to be queued, and is not");
      }
   }
   for (TcamSharingRequest request : reprogram_) {
      findings.add("handed over again", request, " was worked, and not programmed again");
   }
   if (!pipeline_.codef->indicesEqualWalks()) {
      findings.add("indices by interface", "one differs from a walk of what it indexes");
   }
   if (pipeline_.commonBase->notARealDelete()) {
      findings.add("no real delete", "the flag stands outside a slice");
   }
   compareOutput(findings, settled);
   compareFold(findings);
}

void IntakeShadow::compareOutput(Findings& findings, bool settled) const {
   for (auto const& [request, policy] : output_) {
      if (pipeline_.output(request) != policy) {
         findings.add("output", request, " is ", pipeline_.output(request), " and should be ",
                      policy);
      }
   }
   for (auto const& [request, policy] : merged_) {
      if (!output_.contains(request) && !pipeline_.output(request).empty()) {
         findings.add("output", request, " is ", pipeline_.output(request),
                      " and should not be there");
      }
      if (!settled || in(output_, request) == policy) {
         continue;
      }
      auto out = takenOut_.find(request);
      if (out == takenOut_.end() || !outHolds(request, out->second)) {
         findings.add("output is what is asked for", request, " is ", in(output_, request),
                      " in the output, asked for is ", policy);
      }
   }
   for (auto const& [request, policy] : output_) {
      if (settled && !merged_.contains(request) && !leftBehind_.contains(request)) {
         findings.add("output is what is asked for", request, " is in the output for nobody");
      }
   }
}

// A request that was taken out comes back with what it lacked.
bool IntakeShadow::outHolds(TcamSharingRequest request, TakenOut why) const {
   auto const& world = facts_.world();
   switch (why) {
   case TakenOut::flag: {
      auto status = world.subIntfStatusDir->subIntfStatus(request.intfId());
      return !status || !status->programInHw();
   }
   case TakenOut::tags:
      return !world.subIntfDot1qEncapChange->dot1qEncapHas(request.intfId());
   case TakenOut::vlan:
      return world.intfVlanIdTable->internalVlanId(request.intfId()).value() == 0;
   case TakenOut::tagsElsewhere:
      probes_.hit("rule: tags came back on another unit");
      return true;
   }
   return false;
}

// The fold of the three features as it stands, whatever the order in which they came. A unit whose
// lookup type changed since acts on a request only with its next change.
bool IntakeShadow::folds(TcamSharingRequest request) const {
   auto merged = mergedAsLumen_.find(request);
   // A label that the acl feature may no longer ask for here; a merge that starts on it would stop.
   if (facts_.lumen(request.fapId()) &&
       (pipeline_.sharing.config(Requester::acl)->request(request).value() & Facts::labelBits) !=
           0) {
      return false;
   }
   return (merged == mergedAsLumen_.end() || merged->second == facts_.lumen(request.fapId())) &&
          !(facts_.lumen(request.fapId()) && foreign_.contains(request)) &&
          (!twoLabels_.contains(request) || labelWinner(request));
}

// Of two requesters the one whose label stands; none: a withdrawal took it.
std::optional<Requester> IntakeShadow::labelWinner(TcamSharingRequest request) const {
   uint64_t label = in(merged_, request).value() & Facts::labelBits;
   for (Requester feature : {Requester::lumen, Requester::rampart}) {
      if (label != 0 && label == (pipeline_.sharing.config(feature)->request(request).value() &
                                  Facts::labelBits)) {
         return feature;
      }
   }
   return std::nullopt;
}

bool IntakeShadow::isAsked(TcamSharingRequest request) const {
   return std::any_of(std::begin(kinds), std::end(kinds), [&](Requester feature) {
      return pipeline_.sharing.config(feature)->requestHas(request);
   });
}

void IntakeShadow::compareFold(Findings& findings) const {
   std::set<TcamSharingRequest> requests;
   for (Requester feature : kinds) {
      for (auto const& [request, policy] : pipeline_.sharing.config(feature)->requestIter()) {
         requests.insert(request);
      }
   }
   for (auto const& [request, policy] : merged_) {
      requests.insert(request);
   }
   for (TcamSharingRequest request : requests) {
      TcamSharingPolicyId merged = in(merged_, request);
      bool lumen = facts_.lumen(request.fapId());
      if (mergedAsLumen_.at(request) != lumen) {
         probes_.hit("rule: the lookup type changed since the merge");
         continue;
      }
      auto askedFor = [&](Requester feature) {
         return pipeline_.sharing.config(feature)->request(request).value();
      };
      uint64_t acl = askedFor(Requester::acl);
      if (!lumen) {
         if (merged.value() != acl) {
            findings.add("merged is the fold", request, " is ", merged, ", acl asks for ", acl);
         }
         continue;
      }
      // What came when the unit had another lookup: nobody owns it now, or the label features.
      uint64_t foreign = foreign_.contains(request) ? foreign_.at(request) : 0;
      if (foreign != 0) {
         probes_.hit("rule: bits of the acl feature from before the lumen lookup");
      }
      uint64_t lumenLabel = askedFor(Requester::lumen) & Facts::labelBits;
      uint64_t rampartLabel = askedFor(Requester::rampart) & Facts::labelBits;
      std::set<uint64_t> labels{(foreign & Facts::labelBits) | lumenLabel | rampartLabel};
      if (twoLabels_.contains(request)) {
         // The last one that ran wins, also with a withdrawal.
         bool both = lumenLabel != 0 && rampartLabel != 0;
         labels = both ? std::set{lumenLabel, rampartLabel} : std::set<uint64_t>{0};
         probes_.hit(both ? "merge: two labels" : "rule: a withdrawal takes the other's label");
      }
      uint64_t rest = (acl & Facts::aclBits()) | (foreign & ~Facts::labelBits);
      if ((merged.value() & ~Facts::labelBits) != rest ||
          !labels.contains(merged.value() & Facts::labelBits)) {
         findings.add("merged is the fold", request, " is ", merged, ", acl asks for ", acl,
                      ", lumen for ", lumenLabel, ", rampart for ", rampartLabel);
      }
   }
}

} // namespace Agent
