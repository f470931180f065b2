#include "simulate/SharingModel.h"

#include <algorithm>
#include <sstream>

namespace Simulate {

using namespace Hardware::ShoalTunnel;

namespace {

template<class Map, class Value>
void put(Map& map, TcamSharingRequest request, Value value, bool present) {
   if (present) {
      map[request] = value;
   } else {
      map.erase(request);
   }
}

TcamSharingPolicyId in(SharingModel::Policies const& policies, TcamSharingRequest request) {
   auto found = policies.find(request);
   return found == policies.end() ? TcamSharingPolicyId() : found->second;
}

} // namespace

TcamSharingPolicyId SharingModel::wanted(TcamSharingRequest request) const {
   return in(merged_, request);
}

TcamSharingPolicyId SharingModel::handedOver(TcamSharingRequest request) const {
   auto found = output_.find(request);
   return found == output_.end() ? TcamSharingPolicyId() : found->second.policy;
}

std::vector<TcamSharingRequest> SharingModel::inOrder() const {
   std::map<uint64_t, TcamSharingRequest> places;
   for (auto const& [request, output] : output_) {
      places.emplace(output.place, request);
   }
   std::vector<TcamSharingRequest> requests;
   for (auto const& [place, request] : places) {
      requests.push_back(request);
   }
   return requests;
}

std::vector<TcamSharingRequest> SharingModel::wantedOn(IntfId intf) const {
   std::vector<TcamSharingRequest> requests;
   for (auto const& [request, policy] : merged_) {
      if (request.intfId() == intf) {
         requests.push_back(request);
      }
   }
   std::sort(requests.begin(), requests.end(), [this](auto const& a, auto const& b) {
      return wantedSince_.at(a) < wantedSince_.at(b);
   });
   return requests;
}

// --- merge -----------------------------------------------------------------------------------

void SharingModel::asked(Requester requester, TcamSharingRequest request,
                         TcamSharingPolicyId policy) {
   put(asked_[static_cast<std::size_t>(requester)], request, policy, !policy.empty());
   uint64_t asks = policy.value();
   uint64_t present = wanted(request).value();
   if (requester != Requester::acl) {
      hit("merge: label"_met);
      merge(request, (present & ~Facts::labelBits) | (asks & Facts::labelBits));
   } else if (!facts().lumen(request.fapId())) {
      hit("merge: acl alone"_met);
      merge(request, asks);
   } else {
      hit("merge: acl beside a label"_met);
      if ((asks & Facts::labelBits) != 0) {
         context_.failuresDue.emplace("policyId.lumenAclLabel() == 0");
      }
      merge(request, (present & ~Facts::aclBits()) | (asks & Facts::aclBits()));
   }
}

void SharingModel::merge(TcamSharingRequest request, uint64_t merged) {
   TcamSharingPolicyId policy(merged);
   if (wanted(request) == policy) {
      return;
   }
   if (!merged_.contains(request)) {
      wantedSince_[request] = ++wantedCount_;
   }
   put(merged_, request, policy, !policy.empty());
   if (policy == handedOver(request)) {
      hit("intake: nothing to be done"_met);
   } else {
      hit(queued_.contains(request) ? "intake: queued already"_met : "intake: queued"_met);
      queued_[request] = true;
   }
}

void SharingModel::mergeRestarts() {
   for (std::size_t i = 0; i < kRequesters; ++i) {
      parts_[i].clear();
   }
   for (std::size_t i = 0; i < kRequesters; ++i) {
      for (auto const& [request, policy] : Policies::Rows(asked_[i].rows())) {
         asked(static_cast<Requester>(i), request, policy);
      }
   }
}

std::optional<TcamSharingResponse> SharingModel::response(TcamSharingRequest request) const {
   auto found = responses_.find(request);
   return found == responses_.end() ? std::nullopt : std::optional(found->second);
}

void SharingModel::answer(TcamSharingRequest request, std::optional<TcamSharingResponse> given) {
   if (response(request) == given) {
      return;
   }
   put(responses_, request, given.value_or(TcamSharingResponse()), given.has_value());
   auto part = [&](Requester requester, uint64_t bits, bool whole) {
      TcamSharingResponse share = given.value_or(TcamSharingResponse());
      share.policyId = TcamSharingPolicyId(share.policyId.value() & bits);
      put(parts_[static_cast<std::size_t>(requester)], request, share,
          given && (whole || !share.policyId.empty()));
   };
   if (!given) {
      part(Requester::acl, 0, false);
      part(Requester::lumen, 0, false);
   } else if (!facts().lumen(request.fapId())) {
      part(Requester::acl, ~uint64_t{0}, true);
   } else {
      hit("merge: answer in two parts"_met);
      part(Requester::acl, Facts::aclBits(), false);
      part(Requester::lumen, Facts::labelBits, false);
   }
}

// --- intake ----------------------------------------------------------------------------------

void SharingModel::processed(TcamSharingRequest request) {
   if (queued_.erase(request) == 0) {
      std::ostringstream text;
      text << request;
      processedUnqueued_ = text.str();
   }
   TcamSharingPolicyId policy = wanted(request);
   TcamSharingPolicyId present = handedOver(request);
   TcamSharingEntry waiting(request, present);
   if (retries_.erase(waiting) != 0) {
      takenByWork_ = waiting;
   }
   if (policy != present) {
      hit(policy.empty() ? "intake: withdrawn"_met : "intake: handed over"_met);
      handOver(request, policy);
   } else if (policy.empty()) {
      hit("intake: came and went"_met);
      answer(request, std::nullopt);
   } else {
      hit("intake: handed over again"_met);
      output_[request].place = ++places_;
      program(request, policy);
   }
}

void SharingModel::handOver(TcamSharingRequest request, TcamSharingPolicyId policy) {
   if (policy.empty()) {
      output_.erase(request);
   } else {
      bool fresh = !output_.contains(request);
      Output& output = output_[request];
      output.place = fresh ? ++places_ : output.place;
      output.policy = policy;
   }
   program(request, policy);
}

void SharingModel::retryTaken(TcamSharingEntry const& entry) {
   if (takenByWork_ == entry) {
      takenByWork_.reset(); // the machine may have put it back by now
      return;
   }
   if (!retries_.contains(entry)) {
      return;
   }
   for (auto const& [each, waiting] : retries_) {
      if (merged_.contains(each.request())) {
         hit("intake: retried"_met);
         queued_[each.request()] = true;
      } else {
         hit("intake: withdrawn before its retry"_met);
      }
   }
   retries_.clear();
}

void SharingModel::requeue(TcamSharingRequest request) {
   if (!queued_.contains(request)) {
      retries_.erase({request, wanted(request)});
      queued_[request] = true;
   }
}

void SharingModel::takeOut(TcamSharingRequest request) {
   if (output_.contains(request)) {
      handOver(request, TcamSharingPolicyId());
   }
}

void SharingModel::programInHwChanged(IntfId subIntf) {
   bool on = world().subIntfStatusDir->subIntfStatus(subIntf)->programInHw();
   for (TcamSharingRequest request : wantedOn(subIntf)) {
      hit(on ? "intake: queued by its flag"_met : "intake: taken out by its flag"_met);
      on ? requeue(request) : takeOut(request);
   }
}

void SharingModel::internalVlanChanged(IntfId intf) {
   bool present = world().intfVlanIdTable->internalVlanId(intf).value() != 0;
   // Only what has an entry in hardware is taken out.
   for (TcamSharingRequest request : present ? wantedOn(intf) : programmed(intf)) {
      hit(present ? "intake: queued by its VLAN"_met : "intake: taken out for want of a VLAN"_met);
      present ? requeue(request) : takeOut(request);
   }
}

void SharingModel::tagsChanged(IntfId subIntf) {
   FapId unit = facts().parentUnit(subIntf);
   bool present = world().subIntfDot1qEncapChange->dot1qEncapHas(subIntf);
   auto config = world().subIntfConfigDir->subIntfConfig(subIntf);
   for (TcamSharingRequest request : wantedOn(subIntf)) {
      if (!unit.isNull() && request.fapId() != unit) {
         hit("intake: tags change, another unit's request"_met);
      } else if (present) {
         hit(unit.isNull() ? "intake: queued by tags, no one unit"_met
                           : "intake: queued by tags"_met);
         requeue(request);
      } else if (config && !config->dot1qEncap().isZero()) {
         hit("intake: only the record of a change goes"_met);
      } else if (config && facts().domain(subIntf, request.fapId())) {
         hit("intake: tags go, VLAN domain stays"_met);
      } else {
         hit("intake: taken out for want of tags"_met);
         takeOut(request);
      }
   }
}

void SharingModel::intakeRestarts() {
   for (auto const& [request, given] : Responses::Rows(responses_.rows())) {
      answer(request, std::nullopt);
   }
   queued_.clear();
   for (auto const& [request, policy] : merged_) {
      if (handedOver(request) != policy) {
         queued_[request] = true;
      }
   }
}

} // namespace Simulate
