#include "agent/simulate/IsemShadow.h"

#include <algorithm>

namespace Agent {

using namespace Hardware::ShoalTunnel;

void IsemShadow::handleGone() {
   for (auto const& [request, policy] : pipeline_.outputTable->requestIter()) {
      handleOutput(request);
   }
}

void IsemShadow::handleOutput(TcamSharingRequest request) {
   if (pipeline_.common->notARealDelete()) {
      probes_.hit("isem: programmed again");
      return;
   }
   TcamSharingPolicyId policy = pipeline_.outputTable->request(request);
   late_.erase(request);
   older_.erase(request);
   waiting_.erase(request);
   strayed_.erase(request);
   policy.empty() ? remove(request) : program(request, policy);
}

void IsemShadow::leave(TcamSharingRequest request, AradSemKeyAndFap key) {
   auto& users = users_[key];
   users.erase(request);
   if (users.empty()) {
      users_.erase(key);
   }
}

void IsemShadow::maybeForget(AradSemKeyAndFap key) {
   auto on = [key](auto const& each) { return each.second == key; };
   if (!users_.contains(key) && !pending_.contains({key, true}) &&
       !pending_.contains({key, false}) && !chip_.isUnanswered(key) &&
       !pipeline_.tableStatus->statusHas(key) &&
       std::none_of(standsOn_.begin(), standsOn_.end(), on)) {
      stories_.erase(key);
      calm_.is(key);
   }
}

void IsemShadow::remove(TcamSharingRequest request) {
   standsOn_.erase(request);
   auto mapped = mapping_.find(request);
   auto answer = answers_.responses.find(request);
   if (answer != answers_.responses.end() && answer->second.status == tcamSharingInProgress) {
      answers_.responses.erase(answer);
      probes_.hit("isem: withdrawn while in progress");
   } else if (answer != answers_.responses.end() && mapped == mapping_.end()) {
      probes_.stopIsDue("keyToDel != AradSemKeyAndFap()");
   } else if (answer != answers_.responses.end()) {
      probes_.hit(answer->second.status == tcamSharingFailed ? "isem: withdrawn after a refusal"
                                                             : "isem: withdrawn after success");
   }
   if (mapped == mapping_.end()) {
      probes_.hit("isem: withdrawn without an entry");
      return;
   }
   AradSemKeyAndFap key = mapped->second;
   Story& story = stories_[key];
   story.writers.insert(request);
   story.lastWriter = request;
   mapping_.erase(mapped);
   if (config_.erase(key) != 0) {
      pending_[{key, false}].emplace_back(request, TcamSharingPolicyId());
   } else {
      answers_.responses.erase(request);
      probes_.hit("isem: withdrawn when its entry was gone");
   }
   leave(request, key);
   if (users_.contains(key)) {
      probes_.hit("isem: entry removed under a sharer");
   }
}

void IsemShadow::program(TcamSharingRequest request, TcamSharingPolicyId policy) {
   TcamSharingEntry entry(request, policy);
   robbed_.erase(request);
   twoTags_.erase(request);
   if (!facts_.resolves(request)) {
      probes_.hit(!facts_.available(request.fapId()) ? "isem: waits for its unit"
                  : !facts_.tags(request)            ? "isem: waits for tags"
                                                     : "isem: waits for a VLAN domain");
      waiting_.insert(request);
      answers_.retries[entry] = true;
      answers_.responses[request] = {tcamSharingInProgress, policy};
      return;
   }
   auto key = facts_.sharedKey(request);
   if (!key) {
      probes_.hit("isem: two tags");
      twoTags_.insert(request);
      return;
   }
   maybeForget(*key);
   AradSemPayload payload = Facts::payload(policy);
   auto mapped = mapping_.find(request);
   auto configured = config_.find(*key);
   if (configured != config_.end() && configured->second == payload) {
      bool own = mapped != mapping_.end() && mapped->second == *key;
      probes_.hit(own ? "isem: stands already" : "isem: stands already, another's");
      answers_.responses[request] = {tcamSharingSuccess, policy};
      stories_[*key].writers.insert(request);
      standsOn_[request] = *key;
      return;
   }
   if (mapped != mapping_.end() && mapped->second != *key) {
      probes_.hit("isem: moves to another entry");
      stories_[mapped->second].strayRemoval = true;
      leave(request, mapped->second);
      if (users_.contains(mapped->second)) {
         probes_.stopIsDue("tcamSharingCommon()->semToRequest( prevKey ) == NULL");
      }
      config_.erase(mapped->second);
   }
   pending_[{*key, true}].push_back(entry);
   if (pending_[{*key, true}].size() > 1) {
      probes_.hit("isem: several writes of an entry unanswered");
   }
   users_[*key].insert(request);
   if (users_[*key].size() > 1) {
      probes_.hit("isem: shared entry written");
   }
   stories_[*key].writers.insert(request);
   stories_[*key].lastWriter = request;
   standsOn_[request] = *key;
   mapping_[request] = *key;
   config_[*key] = payload;
}

void IsemShadow::handleStatus(AradSemKeyAndFap key) {
   SemTableStatusEntry status = pipeline_.tableStatus->status(key);
   bool written = status.statusCode != 0 || status.payload.value != 0;
   auto queue = pending_.find({key, written});
   if (queue == pending_.end()) {
      probes_.hit("isem: answer for nobody");
      return;
   }
   TcamSharingEntry entry = queue->second.front();
   if (written && status.payload != Facts::payload(entry.policyId())) {
      probes_.hit("isem: an answer of another write");
      stories_[key].strayAnswer = true;
   }
   queue->second.pop_front();
   if (queue->second.empty()) {
      pending_.erase(queue);
   }
   if (!written) {
      probes_.hit("isem: removal answered");
      answers_.responses.erase(entry.request());
      if (pipeline_.outputTable->requestHas(entry.request())) {
         robbed_.insert(entry.request());
         probes_.hit("isem: removal answered when asked for again");
      }
      maybeForget(key);
      return;
   }
   bool success = status.statusCode == 1;
   if (!pipeline_.outputTable->requestHas(entry.request())) {
      probes_.hit("isem: answered after the withdrawal");
      late_.insert(entry.request());
   }
   auto stands = standsOn_.find(entry.request());
   if (stands != standsOn_.end() && stands->second != key) {
      strayed_.insert(entry.request());
   }
   probes_.hit(success ? "isem: write answered" : "isem: write refused");
   if (entry.policyId() == pipeline_.outputTable->request(entry.request())) {
      older_.erase(entry.request());
   } else {
      probes_.hit("isem: answered for an older policy");
      older_.insert(entry.request());
   }
   answers_.responses[entry.request()] = {success ? tcamSharingSuccess : tcamSharingFailed,
                                          entry.policyId()};
}

void IsemShadow::compare(Findings& findings) const {
   findings.compare("shared entries", config_, pipeline_.table->configCollection());
   findings.compare("entries of requests", mapping_,
                    pipeline_.common->tcamRequestToIsemKeyMappingCollection());
   compareSets(findings);
}

std::optional<AradSemKeyAndFap> IsemShadow::pendingFor(TcamSharingRequest request,
                                                       bool written) const {
   for (auto const& [key, queue] : pending_) {
      for (TcamSharingEntry const& entry : queue) {
         if (key.second == written && entry.request() == request) {
            return key.first;
         }
      }
   }
   return std::nullopt;
}

void IsemShadow::compareSets(Findings& findings) const {
   auto const& common = *pipeline_.common;
   for (auto const& [key, expected] : users_) {
      std::set<TcamSharingRequest> users;
      if (auto mapping = common.semToRequest(key)) {
         for (auto const& [request, present] : mapping->requestIter()) {
            users.insert(request);
         }
      }
      if (users != expected) {
         findings.add("users of an entry", key, " has ", users.size(), " and should have ",
                      expected.size(), " or others");
      }
   }
   if (common.semToRequests() != users_.size()) {
      findings.add("users of an entry", common.semToRequests(), " entries have users; ",
                   users_.size(), " should");
   }
   for (auto const& [key, expected] : pending_) {
      auto queue = common.pendingSemWrite({key.first, key.second});
      bool same = queue && queue->pendingSharingEntrys() == expected.size();
      for (std::size_t i = 0; same && i < expected.size(); ++i) {
         same = queue->pendingSharingEntryQueue()[i] == expected[i];
      }
      if (!same) {
         findings.add("unanswered writes", key.first, key.second ? ", written" : ", removed",
                      ": the queue is not what was written in its order");
      }
   }
   if (common.pendingSemWrites() != pending_.size()) {
      findings.add("unanswered writes", common.pendingSemWrites(), " queues; ", pending_.size(),
                   " should be");
   }
}

} // namespace Agent
