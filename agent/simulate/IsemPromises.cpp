// What the machine of shared entries promises once nothing is queued or unanswered, each promise
// with the rules that break it.
#include "agent/simulate/ChipPromise.h"
#include "agent/simulate/IsemShadow.h"

namespace Agent {

using namespace Hardware::ShoalTunnel;

void IsemShadow::checkSettled(Findings& findings) const {
   checkChip(findings, probes_, chip_, config_, [](AradSemPayload held) { return held; });
   for (auto const& [request, response] : answers_.responses) {
      if (response.status == tcamSharingSuccess) {
         checkSuccess(findings, request, response.policyId);
      }
   }
   for (auto const& [request, policy] : pipeline_.merged->requestIter()) {
      checkWaiting(findings, request);
   }
   for (auto const& [request, response] : answers_.responses) {
      if (!pipeline_.outputTable->requestHas(request)) {
         checkWithdrawn(findings, request);
      }
   }
   for (auto const& [request, key] : mapping_) {
      // Any of its users takes the entry with it; the others are programmed when they change.
      if (!config_.contains(key) && stories_.at(key).lastWriter != request) {
         probes_.hit("rule: a sharer was withdrawn");
      } else if (!config_.contains(key)) {
         findings.add("users have their entry", request, " uses ", key, ", not configured");
      }
      if (!pipeline_.outputTable->requestHas(request)) {
         findings.add("nothing left behind", request, " still uses ", key);
      }
   }
   for (auto const& [request, policy] : pipeline_.outputTable->requestIter()) {
      if (!pipeline_.merged->requestHas(request)) {
         probes_.hit("rule: a withdrawal forgotten when the intake restarted");
      }
   }
   for (auto const& [key, payload] : config_) {
      if (!users_.contains(key)) {
         findings.add("a configured entry has users", key, " is nobody's");
      }
   }
   checkRetried(findings, probes_, pipeline_, answers_, waiting_);
   for (auto const& [entry, waits] : answers_.retries) {
      if (facts_.resolves(entry.request()) || !pipeline_.merged->requestHas(entry.request())) {
         findings.add("only what cannot be resolved is retried", entry);
      }
   }
}

void IsemShadow::checkSuccess(Findings& findings, TcamSharingRequest request,
                              TcamSharingPolicyId policy) const {
   TcamSharingPolicyId wanted = pipeline_.outputTable->request(request);
   if (wanted.empty()) {
      return; // withdrawn or taken out: how it keeps its answer is checked elsewhere
   }
   auto stands = standsOn_.find(request);
   if (stands == standsOn_.end() && twoTags_.contains(request)) {
      probes_.hit("rule: two tags leave an older answer");
      return;
   }
   if (stands == standsOn_.end()) {
      findings.add("success comes from hardware", request, " was never programmed");
      return;
   }
   auto configured = config_.find(stands->second);
   if (configured != config_.end() && configured->second == Facts::payload(policy)) {
      return;
   }
   auto story = stories_.find(stands->second);
   bool disturbed = calm_.isDisturbed(stands->second);
   if (wanted != policy && Facts::payload(wanted) == Facts::payload(policy)) {
      probes_.hit("rule: answered for an older policy of the same payload");
   } else if (wanted != policy && (disturbed || strayed_.contains(request))) {
      probes_.hit("rule: answered for an older policy, behind a disturbed answer");
   } else if (twoTags_.contains(request)) {
      probes_.hit("rule: two tags leave an older answer");
   } else if (story != stories_.end() && story->second.lastWriter != request) {
      probes_.hit("rule: a sharer wrote or removed the entry");
   } else {
      findings.add("success comes from hardware", request, " for ", policy, " on ", stands->second);
   }
}

// An asked-for request is answered, or waits for something.
void IsemShadow::checkWaiting(Findings& findings, TcamSharingRequest request) const {
   TcamSharingPolicyId policy = pipeline_.outputTable->request(request);
   auto answer = answers_.responses.find(request);
   if (policy.empty()) {
      return; // taken out: the intake's account has it
   }
   if (answer != answers_.responses.end() && answer->second.status != tcamSharingInProgress) {
      return;
   }
   if (answers_.retries.contains({request, policy})) {
      return;
   }
   if (twoTags_.contains(request)) {
      probes_.hit("rule: two tags are neither programmed nor answered");
   } else if (auto key = pendingFor(request, true); key && calm_.isDisturbed(*key)) {
      probes_.hit("rule: the answer was lost");
   } else if (robbed_.contains(request)) {
      probes_.hit("rule: an earlier removal's answer took the answer");
   } else if (answers_.forgotten.contains(request)) {
      probes_.hit("rule: answers are forgotten when the intake restarts");
   } else {
      findings.add("answered or waiting", request, " is neither");
   }
}

void IsemShadow::checkWithdrawn(Findings& findings, TcamSharingRequest request) const {
   auto key = pendingFor(request, false);
   if (key && calm_.isDisturbed(*key)) {
      probes_.hit("rule: the removal's answer was lost");
   } else if (late_.contains(request)) {
      probes_.hit("rule: another write's answer came after the withdrawal");
   } else {
      findings.add("nothing left behind", request, " still has an answer");
   }
}

std::optional<TcamSharingRequest> IsemShadow::plainUser(AradSemKeyAndFap key) const {
   auto users = users_.find(key);
   if (users == users_.end() || users->second.size() != 1) {
      return std::nullopt;
   }
   TcamSharingRequest user = *users->second.begin();
   return plain(user) && facts_.sharedKey(user) == key ? std::optional(user) : std::nullopt;
}

bool IsemShadow::plain(TcamSharingRequest request) const {
   auto key = facts_.sharedKey(request);
   if (!key || calm_.isDisturbed(*key) || chip_.lastOutcome(*key) != Outcome::accepted ||
       !answers_.isPlain(request) || robbed_.contains(request) || late_.contains(request) ||
       older_.contains(request) || strayed_.contains(request)) {
      return false;
   }
   auto mapped = mapping_.find(request);
   if (mapped != mapping_.end() && mapped->second != *key) {
      return false; // nothing told the library yet
   }
   auto story = stories_.find(*key);
   return story == stories_.end() || (story->second.writers == std::set{request} &&
                                      !story->second.strayRemoval && !story->second.strayAnswer);
}

} // namespace Agent
