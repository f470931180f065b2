#include "agent/command/Explanation.h"

#include "ShoalTunnel/TcamSharing/TcamSharingIsemPolicyId.h"

#include <set>

namespace Agent {

using namespace Hardware::ShoalTunnel;

namespace {

std::string at(std::optional<Seconds> time) {
   return time ? " since " + printedSeconds(*time) + " s" : "";
}

// Gathers what is known of one request, then judges it.
class Explainer {
 public:
   Explainer(Host const& host, TcamSharingRequest request)
       : host_(host), pipeline_(host.pipeline()), request_(request),
         merged_(pipeline_.merged->request(request)), output_(pipeline_.output->request(request)),
         response_(pipeline_.mergedStatus->response(request)),
         mapping_(pipeline_.common->tcamRequestToIsemKeyMapping(request)),
         times_(host.chronicle().of(request)), resolution_(resolveKey(host, request)) {
      found_.request = request;
   }

   Explanation explain() {
      addAsked();
      addProgress();
      addResolution();
      addKey();
      found_.inHardware = chipHolds();
      found_.verdict = verdict();
      return std::move(found_);
   }

 private:
   void fact(std::string label, std::string text) {
      found_.facts.emplace_back(std::move(label), std::move(text));
   }

   void addAsked() {
      for (std::size_t i = 0; i < kFeatures; ++i) {
         auto feature = static_cast<Feature>(i);
         auto const& config = pipeline_.config(feature);
         auto const& status = pipeline_.status(feature);
         if (config->requestHas(request_) || status->responseHas(request_)) {
            auto answer = status->response(request_);
            std::string text = printedPolicy(config->request(request_)) + ", status " +
                               std::string(printedStatus(answer.status));
            if (answer.status != tcamSharingNone) {
               text += " for " + printedPolicy(answer.policyId);
            }
            fact(std::string(featureNames[i]) + " asks", text);
         }
      }
      fact("merged policy", printedPolicy(merged_) + at(times_.asked));
   }

   void addProgress() {
      fact("output policy", printedPolicy(output_));
      if (pipeline_.codef->backlog(request_)) {
         fact("queued", "in the backlog" + at(times_.queued) + ", next slice at " +
                            printedSeconds(pipeline_.codef->clockNotifiee().timeMin()) + " s");
      }
      for (auto const& [entry, waiting] : pipeline_.common->retryListIter()) {
         if (entry.request() == request_ && waiting) {
            fact("retry list", "for " + printedPolicy(entry.policyId()) + ", next tried at " +
                                   printedSeconds(pipeline_.codef->nextRetry()) + " s");
         }
      }
      std::string text(printedStatus(response_.status));
      if (response_.status != tcamSharingNone) {
         text += " for " + printedPolicy(response_.policyId) + at(times_.status);
      }
      fact("response", text);
   }

   void addResolution() {
      if (!resolution_.missing.empty()) {
         fact("missing", resolution_.missing);
      } else {
         fact("resolves to", "entry " + printedKey(*resolution_.key));
      }
   }

   AradSemKeyAndFap key() const {
      return mapping_ != AradSemKeyAndFap() ? mapping_
                                            : resolution_.key.value_or(AradSemKeyAndFap());
   }

   void addKey() {
      AradSemKeyAndFap of = key();
      if (of == AradSemKeyAndFap()) {
         return;
      }
      if (mapping_ != AradSemKeyAndFap() && resolution_.key && *resolution_.key != mapping_) {
         fact("programmed under", "entry " + printedKey(mapping_) + " so far");
      }
      auto configured = pipeline_.table->configCollection().find(of);
      fact("table", configured ? "holds " + printedPolicy(policyOfPayload(*configured))
                               : std::string("does not hold the entry"));
      auto held = host_.chip().entries().find(of);
      fact("chip", held != host_.chip().entries().end()
                       ? "holds " + printedPolicy(policyOfPayload(held->second))
                       : std::string("does not hold the entry"));
      if (auto last = host_.chip().lastAnswer(of)) {
         fact("last answer",
              (last->code == 0                     ? std::string("removed")
               : last->code == 1                   ? std::string("accepted")
               : last->code == SimulatedChip::full ? std::string("refused: the unit is full")
                                                   : std::string("refused")) +
                  " at " + printedSeconds(last->at) + " s");
      }
      addPending(of);
      addSharers(of);
   }

   void addPending(AradSemKeyAndFap of) {
      for (bool isInsert : {true, false}) {
         if (auto pending = pipeline_.common->pendingSemWrite(PendingSemWriteKey{of, isInsert})) {
            std::string text;
            for (std::size_t i = 0; i < pending->pendingSharingEntrys(); ++i) {
               auto const& entry = pending->pendingSharingEntryQueue()[i];
               pendingInsert_ = pendingInsert_ || (isInsert && entry.request() == request_);
               text += (i == 0 ? "" : ", then ") + printedRequest(entry.request());
            }
            fact(isInsert ? "unanswered writes" : "unanswered removals", text);
         }
      }
      for (auto const& answer : host_.chip().unanswered()) {
         if (answer.key == of) {
            answerDue_ = answer.due;
            fact("answer due", "at " + printedSeconds(answer.due) + " s");
         }
      }
   }

   void addSharers(AradSemKeyAndFap of) {
      if (auto users = pipeline_.common->semToRequest(of)) {
         std::string text;
         for (auto const& [user, present] : users->requestIter()) {
            if (user != request_) {
               text += (text.empty() ? "" : ", ") + printedRequest(user);
            }
         }
         if (!text.empty()) {
            fact("shared with", text);
         }
      }
   }

   bool chipHolds() const {
      auto held = host_.chip().entries().find(key());
      auto wanted = AradSemPayload::basic(TcamSharingIsemPolicyId(merged_).makeISemPayloadValue(
          host_.world().shoalStatus, request_.fapId()));
      return !merged_.empty() && held != host_.chip().entries().end() && held->second == wanted;
   }

   std::string verdict() const {
      if (merged_.empty()) {
         return response_.status == tcamSharingNone ? "No feature asks for a policy here."
                                                    : "No feature asks for a policy here any more, "
                                                      "but the response of the last one "
                                                      "still stands: its removal was not answered.";
      }
      if (pipeline_.codef->backlog(request_)) {
         return "Not worked yet: it waits in the backlog for the next slice.";
      }
      if (output_.empty()) {
         return "Not in hardware: the request was taken out of the output (programInHw is off, or "
                "its encapsulation, VLAN domain or internal VLAN went). It comes back with that.";
      }
      if (!resolution_.missing.empty()) {
         return resolution_.encap && resolution_.encap->inner != 0
                    ? "Not in hardware: " + resolution_.missing + "."
                    : "Not in hardware: " + resolution_.missing + "; it is retried.";
      }
      if (pendingInsert_) {
         return answerDue_
                    ? "Written, and not answered yet: the chip's answer is due at " +
                          printedSeconds(*answerDue_) + " s."
                    : "Written, but the chip's answer was lost: nothing more comes until the "
                      "request or its policy changes.";
      }
      if (response_.status == tcamSharingFailed) {
         auto last = host_.chip().lastAnswer(key());
         if (last && last->code == SimulatedChip::full) {
            return "Not in hardware: the chip refused the write, since the unit is full. It is not "
                   "retried by itself; a change of the policy writes it again.";
         }
         return "Not in hardware: the chip refused the write. It is not retried by itself; a "
                "change "
                "of the policy writes it again.";
      }
      if (response_.status == tcamSharingSuccess && !found_.inHardware) {
         return "Answered success, but the chip does not hold this policy: the entry was refused, "
                "removed or rewritten for another request that shares it.";
      }
      if (found_.inHardware) {
         return "In hardware.";
      }
      return "Not in hardware, and nothing is under way for it.";
   }

   Host const& host_;
   IsemPipeline const& pipeline_;
   TcamSharingRequest request_;
   TcamSharingPolicyId merged_;
   TcamSharingPolicyId output_;
   TcamSharingResponse response_;
   AradSemKeyAndFap mapping_;
   RequestTimes times_;
   Resolution resolution_;
   bool pendingInsert_ = false;
   std::optional<Seconds> answerDue_;
   Explanation found_;
};

} // namespace

Explanation explain(Host const& host, TcamSharingRequest request) {
   return Explainer(host, request).explain();
}

std::vector<TcamSharingRequest> knownRequests(Host const& host) {
   std::vector<TcamSharingRequest> found;
   std::set<uint32_t> seen;
   auto add = [&](TcamSharingRequest request) {
      if (seen.insert(request.index()).second) {
         found.push_back(request);
      }
   };
   for (std::size_t i = 0; i < kFeatures; ++i) {
      for (auto const& [request, policy] :
           host.pipeline().config(static_cast<Feature>(i))->requestIter()) {
         add(request);
      }
   }
   for (auto const& [request, response] : host.pipeline().mergedStatus->responseIter()) {
      add(request);
   }
   return found;
}

} // namespace Agent
