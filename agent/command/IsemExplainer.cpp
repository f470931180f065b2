#include "agent/command/Explainer.h"

#include "ShoalTunnel/TcamSharing/TcamSharingIsemPolicyId.h"

namespace Agent {

using namespace Hardware::ShoalTunnel;

IsemExplainer::IsemExplainer(Host const& host, TcamSharingRequest request)
    : Explainer(host, request), mapping_(host.isem().common->tcamRequestToIsemKeyMapping(request)),
      key_(mapping_ != AradSemKeyAndFap() ? mapping_
                                          : resolution_.isem.value_or(AradSemKeyAndFap())) {}

void IsemExplainer::addHardware() {
   if (resolution_.isem) {
      fact("resolves to", "entry " + printedKey(*resolution_.isem));
   }
   if (key_ == AradSemKeyAndFap()) {
      return;
   }
   if (mapping_ != AradSemKeyAndFap() && resolution_.isem && *resolution_.isem != mapping_) {
      fact("programmed under", "entry " + printedKey(mapping_) + " so far");
   }
   auto configured = host_.isem().table->configCollection().find(key_);
   fact("table", configured ? "holds " + printedPolicy(policyOfPayload(*configured))
                            : std::string("does not hold the entry"));
   auto held = host_.chip().isem().held(key_);
   fact("chip", held ? "holds " + printedPolicy(policyOfPayload(*held))
                     : std::string("does not hold the entry"));
   holds_ =
       held && *held == AradSemPayload::basic(TcamSharingIsemPolicyId(merged_).makeISemPayloadValue(
                            host_.world().shoalStatus, request_.fapId()));
   addLastAnswer(host_.chip().isem(), key_);
   addPending();
   addSharers();
}

void IsemExplainer::addPending() {
   for (bool isInsert : {true, false}) {
      auto pending = host_.isem().common->pendingSemWrite(PendingSemWriteKey{key_, isInsert});
      if (!pending) {
         continue;
      }
      std::string text;
      for (std::size_t i = 0; i < pending->pendingSharingEntrys(); ++i) {
         auto const& entry = pending->pendingSharingEntryQueue()[i];
         written_ = written_ || (isInsert && entry.request() == request_);
         text += (i == 0 ? "" : ", then ") + printedRequest(entry.request());
      }
      fact(isInsert ? "unanswered writes" : "unanswered removals", text);
   }
}

void IsemExplainer::addSharers() {
   std::string text;
   if (auto users = host_.isem().common->semToRequest(key_)) {
      for (auto const& [user, present] : users->requestIter()) {
         if (user != request_) {
            text += (text.empty() ? "" : ", ") + printedRequest(user);
         }
      }
   }
   if (!text.empty()) {
      fact("shared with", text);
   }
}

std::string IsemExplainer::refusal() const {
   return std::string("Not in hardware: the chip refused the write") +
          (lastOutcome_ == Outcome::full ? ", since the unit is full" : "") +
          ". It is not retried by itself; a change of the policy writes it again.";
}

} // namespace Agent
