// What the machines of sub-interfaces and tunnels promise once nothing is queued or unanswered,
// each promise with the rules that break it.
#include "agent/simulate/ChipPromise.h"
#include "agent/simulate/InLifShadow.h"

#include <algorithm>

namespace Agent {

using namespace Hardware::ShoalTunnel;

std::vector<VlanTagToVsiMapperKey> MapperShadow::entriesOf(TcamSharingRequest request) const {
   std::vector<VlanTagToVsiMapperKey> keys;
   auto const& fields = request.intfId().fields();
   auto parent = IntfId::fromIndex(fields.parentIndex);
   if (!fields.subIntf || !facts_.resolves(request)) {
      return keys;
   }
   bool lag = fields.kind == Plexus::IntfKind::portChannel;
   for (IntfId port : facts_.world().portsOf(parent)) {
      if (!lag || facts_.world().placeOf(port).fapId == request.fapId()) {
         keys.push_back(facts_.mapperKey(request, port));
      }
   }
   return keys;
}

std::optional<VlanTagToVsiMapperKey> MapperShadow::pendingFor(TcamSharingRequest request) const {
   auto found = std::find_if(pending_.begin(), pending_.end(), [&](auto const& each) {
      return each.second.request() == request && !each.second.policyId().empty();
   });
   return found == pending_.end() ? std::nullopt : std::optional(found->first);
}

void MapperShadow::checkSettled(Findings& findings) const {
   checkChip(findings, probes_, chip_, data_,
             [](VlanTagToVsiMapperResult const& held) { return held.inLifAdditionalData; });
   for (auto const& [request, response] : answers_.responses) {
      if (request.intfId().fields().kind == Plexus::IntfKind::tunnel) {
         continue;
      }
      if (!pipeline_.tagOutput->requestHas(request)) {
         if (response.status == tcamSharingFailed && response.policyId.empty()) {
            probes_.hit("rule: a refused removal leaves an answer");
         } else if (late_.contains(request)) {
            probes_.hit("rule: withdrawn unresolved, answered late");
         } else {
            findings.add("nothing left behind", request, " still has an answer");
         }
      } else if (response.status == tcamSharingSuccess) {
         checkSuccess(findings, request, response.policyId);
      }
   }
   for (auto const& [request, policy] : pipeline_.tagOutput->requestIter()) {
      if (!pipeline_.merged->requestHas(request)) {
         probes_.hit("rule: a withdrawal forgotten when the intake restarted");
      }
      checkWaiting(findings, request);
   }
   checkLeft(findings);
   checkRetried(findings, probes_, pipeline_, answers_, waiting_);
   for (auto const& [entry, waits] : answers_.retries) {
      auto keys = entriesOf(entry.request());
      bool missing = std::any_of(keys.begin(), keys.end(),
                                 [&](auto const& key) { return !data_.contains(key); });
      if ((facts_.resolves(entry.request()) && !missing) ||
          !pipeline_.merged->requestHas(entry.request())) {
         findings.add("only what cannot be resolved is retried", entry);
      }
   }
}

// Data that nobody asks for, and entries in the name of a request that is not there.
void MapperShadow::checkLeft(Findings& findings) const {
   for (auto const& [key, data] : data_) {
      if (data == 0) {
         continue;
      }
      auto writer = lastWriter_.find(key);
      if (writer == lastWriter_.end()) {
         findings.add("nothing left behind", key, " carries ", data, ", which nobody wrote");
      } else if (Facts::lowBits(pipeline_.tagOutput->request(writer->second)) == data) {
         continue;
      } else if (left_.contains(key)) {
         probes_.hit("rule: withdrawn or moved, its data stay in the entry");
      } else {
         findings.add("nothing left behind", key, " carries ", data, " of ", writer->second);
      }
   }
   for (auto const& [request, keys] : confirmed_) {
      if (!pipeline_.tagOutput->requestHas(request) && !late_.contains(request)) {
         findings.add("nothing left behind", request, " has ", keys.size(), " confirmed entries");
      }
   }
}

void MapperShadow::checkSuccess(Findings& findings, TcamSharingRequest request,
                                TcamSharingPolicyId policy) const {
   TcamSharingPolicyId wanted = pipeline_.tagOutput->request(request);
   if (wanted.empty()) {
      return; // withdrawn or taken out
   }
   if (wanted != policy) {
      // A late answer to an older write, or the present policy is not answered.
      auto keys = entriesOf(request);
      bool missing = std::any_of(keys.begin(), keys.end(),
                                 [&](auto const& key) { return !data_.contains(key); });
      char const* rule = Facts::lowBits(wanted) == Facts::lowBits(policy)
                             ? "rule: answered for an older policy of the same payload"
                         : missing ? "rule: an older success stands without a mapper entry"
                                   : whyUnanswered(request);
      rule != nullptr
          ? probes_.hit(rule)
          : findings.add("success comes from hardware", request, " for the older ", policy);
      return;
   }
   for (VlanTagToVsiMapperKey key : entriesOf(request)) {
      auto found = data_.find(key);
      if (found != data_.end() && found->second == Facts::lowBits(policy)) {
         continue;
      }
      auto writer = lastWriter_.find(key);
      if (found == data_.end()) {
         auto handed = handedOver_.find(request);
         bool then = handed != handedOver_.end() && handed->second.contains(key);
         if (then && !handed->second.at(key) && !waiting_.contains(request)) {
            findings.add("success comes from hardware", request, " without ", key);
         }
         probes_.hit("rule: an older success stands without a mapper entry");
      } else if (writer == lastWriter_.end()) {
         probes_.hit("rule: a new mapper entry carries nothing yet");
      } else if (writer->second != request && writer->second.intfId() == request.intfId()) {
         probes_.hit("rule: another unit's request wrote the mapper entry");
      } else {
         findings.add("success comes from hardware", request, " for ", policy, " on ", key);
      }
   }
}

// The rule by which a request that is in the output has no answer to its present policy.
char const* MapperShadow::whyUnanswered(TcamSharingRequest request) const {
   TcamSharingPolicyId policy = pipeline_.tagOutput->request(request);
   auto keys = entriesOf(request);
   auto fields = request.intfId().fields();
   auto pending = pendingFor(request);
   if (!fields.subIntf) {
      return "rule: only sub-interfaces and tunnels are answered";
   }
   if (Facts::lowBits(policy) == 0) {
      return "rule: a policy without low bits is not answered";
   }
   if (pending && calm_.isDisturbed(*pending)) {
      return "rule: the answer was lost";
   }
   if (fields.kind == Plexus::IntfKind::portChannel && awaited_.contains({request, policy})) {
      return "rule: an older answer only lowered the count";
   }
   if (displaced_.contains(request)) {
      return "rule: another unit's request wrote the mapper entry";
   }
   if (answers_.forgotten.contains(request)) {
      return "rule: answers are forgotten when the intake restarts";
   }
   if (keys.empty()) {
      return "rule: no member on the unit";
   }
   if (robbed_.contains(request)) {
      return "rule: an older clearing's answer took the answer";
   }
   return nullptr;
}

void MapperShadow::checkWaiting(Findings& findings, TcamSharingRequest request) const {
   TcamSharingPolicyId policy = pipeline_.tagOutput->request(request);
   TcamSharingEntry entry(request, policy);
   auto answer = answers_.responses.find(request);
   if ((answer != answers_.responses.end() && answer->second.status != tcamSharingInProgress) ||
       answers_.retries.contains(entry)) {
      return;
   }
   char const* rule = whyUnanswered(request);
   rule != nullptr ? probes_.hit(rule)
                   : findings.add("answered or waiting", request, " is neither");
}

// Requests of several units for one sub-interface write the same entries.
bool MapperShadow::sharedByUnits(TcamSharingRequest request) const {
   for (auto const& [other, policy] : pipeline_.tagOutput->requestIter()) {
      if (other.intfId() == request.intfId() && other != request) {
         return true;
      }
   }
   return false;
}

bool MapperShadow::plain(TcamSharingRequest request) const {
   TcamSharingEntry entry(request, pipeline_.tagOutput->request(request));
   auto keys = entriesOf(request);
   return !keys.empty() && !sharedByUnits(request) && answers_.isPlain(request) &&
          !late_.contains(request) && !robbed_.contains(request) && !older_.contains(request) &&
          Facts::lowBits(entry.policyId()) != 0 && !awaited_.contains(entry) &&
          !errors_.contains(entry) && std::all_of(keys.begin(), keys.end(), [&](auto const& key) {
             auto writer = lastWriter_.find(key);
             return data_.contains(key) && !calm_.isDisturbed(key) &&
                    chip_.lastOutcome(key) == Outcome::accepted && writer != lastWriter_.end() &&
                    writer->second == request;
          });
}

bool TunnelShadow::plain(TcamSharingRequest request) const {
   TunnelPolicyMapperKey key(request.intfId(), request.fapId());
   return answers_.isPlain(request) && !unwritten_.contains(request) && !calm_.isDisturbed(key) &&
          chip_.lastOutcome(key) == Outcome::accepted &&
          Facts::lowBits(pipeline_.tunnelOutput->request(request)) != 0;
}

void TunnelShadow::checkSettled(Findings& findings) const {
   checkChip(findings, probes_, chip_, config_,
             [](TunnelPolicyMapperResult const& held) { return held; });
   for (auto const& [request, response] : answers_.responses) {
      if (request.intfId().fields().kind != Plexus::IntfKind::tunnel) {
         continue;
      }
      if (pipeline_.tunnelOutput->requestHas(request)) {
         if (response.status == tcamSharingSuccess) {
            checkSuccess(findings, request, response.policyId);
         }
         continue;
      }
      TunnelPolicyMapperKey key(request.intfId(), request.fapId());
      auto last = pending_.find(key);
      if (last != pending_.end() && last->second.policyId().empty() && calm_.isDisturbed(key)) {
         probes_.hit("rule: the removal's answer was lost");
      } else if (config_.contains(key) && config_.at(key).inLifAdditionalData == 0) {
         probes_.hit("rule: a tunnel entry without data outlives its withdrawal");
      } else {
         findings.add("nothing left behind", request, " still has an answer");
      }
   }
   for (auto const& [key, result] : config_) {
      bool asked = false;
      for (auto const& [request, policy] : pipeline_.tunnelOutput->requestIter()) {
         asked = asked || TunnelPolicyMapperKey(request.intfId(), request.fapId()) == key;
      }
      if (!asked && result.inLifAdditionalData != 0) {
         findings.add("nothing left behind", key, " carries ", result);
      }
   }
   for (auto const& [request, policy] : pipeline_.tunnelOutput->requestIter()) {
      checkWaiting(findings, request);
   }
}

void TunnelShadow::checkSuccess(Findings& findings, TcamSharingRequest request,
                                TcamSharingPolicyId policy) const {
   TunnelPolicyMapperKey key(request.intfId(), request.fapId());
   TcamSharingPolicyId wanted = pipeline_.tunnelOutput->request(request);
   auto configured = config_.find(key);
   if (configured != config_.end() &&
       configured->second.inLifAdditionalData == Facts::lowBits(policy)) {
      return;
   }
   auto pending = pending_.find(key);
   if (wanted != policy && pending != pending_.end() && calm_.isDisturbed(key)) {
      probes_.hit("rule: answered for an older policy, behind a disturbed answer");
   } else {
      findings.add("success comes from hardware", request, " in its tunnel's entry");
   }
}

void TunnelShadow::checkWaiting(Findings& findings, TcamSharingRequest request) const {
   TunnelPolicyMapperKey key(request.intfId(), request.fapId());
   auto answer = answers_.responses.find(request);
   if (answer != answers_.responses.end() && answer->second.status != tcamSharingInProgress) {
      return;
   }
   if (answers_.forgotten.contains(request)) {
      probes_.hit("rule: answers are forgotten when the intake restarts");
   } else if (answer == answers_.responses.end() &&
              Facts::lowBits(pipeline_.tunnelOutput->request(request)) == 0) {
      probes_.hit("rule: a tunnel entry without data stays, and is not written again");
   } else if (calm_.isDisturbed(key)) {
      probes_.hit("rule: the answer was lost");
   } else {
      findings.add("answered or waiting", request, " is neither, in its tunnel's entry");
   }
}

} // namespace Agent
