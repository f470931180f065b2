#include "simulate/IsemModel.h"

namespace Simulate {

using namespace Hardware::ShoalTunnel;

void IsemModel::machineRestarts() {
   for (TcamSharingRequest request : inOrder()) {
      program(request, handedOver(request));
   }
}

std::vector<TcamSharingRequest> IsemModel::programmed(IntfId intf) const {
   std::vector<TcamSharingRequest> requests;
   for (auto const& [request, key] : mapping_) {
      if (request.intfId() == intf) {
         requests.push_back(request);
      }
   }
   return requests;
}

void IsemModel::dropUser(AradSemKeyAndFap key, TcamSharingRequest request) {
   auto& users = users_[key];
   users.erase(request);
   if (users.empty()) {
      users_.erase(key);
   }
}

void IsemModel::remove(TcamSharingRequest request) {
   auto mapped = mapping_.find(request);
   auto given = response(request);
   if (given && given->status == tcamSharingInProgress) {
      hit("isem: withdrawn while in progress"_met);
      answer(request, std::nullopt);
   } else if (given && mapped == mapping_.end()) {
      context().failuresDue.emplace("keyToDel != AradSemKeyAndFap()");
   } else if (given) {
      hit(given->status == tcamSharingFailed ? "isem: withdrawn after a refusal"_met
                                             : "isem: withdrawn after success"_met);
   }
   if (mapped == mapping_.end()) {
      hit("isem: withdrawn without an entry"_met);
      return;
   }
   AradSemKeyAndFap key = mapped->second;
   mapping_.erase(mapped);
   if (config_.erase(key) != 0) {
      pending_[{key, false}].emplace_back(request, TcamSharingPolicyId());
   } else {
      hit("isem: withdrawn when its entry was gone"_met);
      answer(request, std::nullopt);
   }
   dropUser(key, request);
   if (users_.contains(key)) {
      hit("isem: entry removed under a sharer"_met);
   }
}

void IsemModel::program(TcamSharingRequest request, TcamSharingPolicyId policy) {
   if (policy.empty()) {
      remove(request);
      return;
   }
   if (!facts().resolves(request)) {
      hit(!facts().available(request.fapId()) ? "isem: waits for its unit"_met
          : !facts().tags(request)            ? "isem: waits for tags"_met
                                              : "isem: waits for a VLAN domain"_met);
      retry(request, policy);
      answer(request, TcamSharingResponse{tcamSharingInProgress, policy});
      return;
   }
   auto key = facts().sharedKey(request);
   if (!key) {
      hit("isem: two tags"_met);
      return;
   }
   AradSemPayload payload = Facts::payload(policy);
   auto mapped = mapping_.find(request);
   bool own = mapped != mapping_.end() && mapped->second == *key;
   auto configured = config_.find(*key);
   if (configured != config_.end() && configured->second == payload) {
      hit(own ? "isem: stands already"_met : "isem: stands already, another's"_met);
      answer(request, TcamSharingResponse{tcamSharingSuccess, policy});
      return;
   }
   if (mapped != mapping_.end() && !own) {
      hit("isem: moves to another entry"_met);
      AradSemKeyAndFap previous = mapped->second;
      dropUser(previous, request);
      if (users_.contains(previous)) {
         context().failuresDue.emplace("tcamSharingCommon()->semToRequest( prevKey ) == NULL");
      }
      config_.erase(previous); // nobody waits for the answer
   }
   auto& writes = pending_[{*key, true}];
   writes.emplace_back(request, policy);
   if (writes.size() > 1) {
      hit("isem: several writes of an entry unanswered"_met);
   }
   auto& users = users_[*key];
   users.insert(request);
   if (users.size() > 1) {
      hit("isem: shared entry written"_met);
   }
   mapping_[request] = *key;
   config_[*key] = payload;
}

void IsemModel::answered(AradSemKeyAndFap key, SemTableStatusEntry const& status) {
   bool written = status.statusCode != 0 || status.payload.value != 0;
   WriteKey write(key, written);
   if (!pending_.contains(write)) {
      hit("isem: answer for nobody"_met);
      return;
   }
   auto& writes = pending_[write];
   TcamSharingEntry entry = writes.front();
   writes.erase(writes.begin());
   if (writes.empty()) {
      pending_.erase(write);
   }
   bool present = !handedOver(entry.request()).empty();
   if (!written) {
      hit(present ? "isem: removal answered when asked for again"_met
                  : "isem: removal answered"_met);
      answer(entry.request(), std::nullopt);
      return;
   }
   bool success = status.statusCode == 1;
   hit(success ? "isem: write answered"_met : "isem: write refused"_met);
   if (status.payload != Facts::payload(entry.policyId())) {
      hit("isem: an answer of another write"_met);
   } else if (!present) {
      hit("isem: answered after the withdrawal"_met);
   } else if (entry.policyId() != handedOver(entry.request())) {
      hit("isem: answered for an older policy"_met);
   }
   answer(entry.request(),
          TcamSharingResponse{success ? tcamSharingSuccess : tcamSharingFailed, entry.policyId()});
}

} // namespace Simulate
