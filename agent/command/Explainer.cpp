#include "agent/command/Explainer.h"

namespace Agent {

using namespace Hardware::ShoalTunnel;

namespace {

std::string since(std::optional<Seconds> time) {
   return time ? " since " + printedSeconds(*time) + " s" : "";
}

} // namespace

Explainer::Explainer(Host const& host, TcamSharingRequest request)
    : host_(host), pipeline_(host.pipelineOf(request)), request_(request),
      merged_(pipeline_.merged->request(request)), output_(pipeline_.output(request)),
      response_(pipeline_.mergedStatus->response(request)), times_(host.chronicle().of(request)),
      resolution_(resolve(host, request)) {
   found_.subject = printedRequest(request);
}

Explainer::~Explainer() = default;

Explanation Explainer::explain() {
   addAsked();
   addProgress();
   if (!resolution_.missing.empty()) {
      fact("missing", resolution_.missing);
   }
   addHardware();
   found_.inHardware = holds_ && !merged_.empty();
   found_.verdict = verdict();
   return std::move(found_);
}

void Explainer::addAsked() {
   for (std::size_t i = 0; i < kFeatures; ++i) {
      auto feature = static_cast<Feature>(i);
      auto const& config = host_.features().config(feature);
      auto answer = host_.features().status(feature)->response(request_);
      if (config->requestHas(request_) || answer.status != tcamSharingNone) {
         std::string text = printedPolicy(config->request(request_)) + ", status " +
                            std::string(printedStatus(answer.status));
         if (answer.status != tcamSharingNone) {
            text += " for " + printedPolicy(answer.policyId);
         }
         fact(std::string(featureNames[i]) + " asks", text);
      }
   }
   fact("merged policy", printedPolicy(merged_) + since(times_.asked));
}

void Explainer::addProgress() {
   fact("output policy", printedPolicy(output_));
   if (pipeline_.codef->backlog(request_)) {
      fact("queued", "in the backlog" + since(times_.queued) + ", next slice at " +
                         printedSeconds(pipeline_.codef->clockNotifiee().timeMin()) + " s");
   }
   for (auto const& [entry, waiting] : pipeline_.commonBase->retryListIter()) {
      if (entry.request() == request_ && waiting) {
         fact("retry list", "for " + printedPolicy(entry.policyId()) + ", next tried at " +
                                printedSeconds(pipeline_.codef->nextRetry()) + " s");
      }
   }
   std::string text(printedStatus(response_.status));
   if (response_.status != tcamSharingNone) {
      text += " for " + printedPolicy(response_.policyId) + since(times_.status);
   }
   fact("response", text);
}

std::string Explainer::verdict() const {
   if (merged_.empty()) {
      return response_.status == tcamSharingNone
                 ? "No feature asks for a policy here."
                 : "No feature asks for a policy here any more, but the response of the last one "
                   "still stands: its removal was refused or not answered.";
   }
   if (pipeline_.codef->backlog(request_)) {
      return "Not worked yet: it waits in the backlog for the next slice.";
   }
   if (output_.empty()) {
      return "Not in hardware: the request was taken out of the output (programInHw is off, or "
             "its encapsulation, VLAN domain or internal VLAN went). It comes back with that.";
   }
   if (!resolution_.missing.empty()) {
      return "Not in hardware: " + resolution_.missing +
             (resolution_.never ? "." : "; it is retried.");
   }
   return hardwareVerdict();
}

std::string Explainer::hardwareVerdict() const {
   if (written_ && !heldBack_) {
      return answerDue_ ? "Written, and not answered yet: the chip's answer is due at " +
                              printedSeconds(*answerDue_) + " s."
                        : "Written, but the chip's answer was lost: nothing more comes until the "
                          "request or its policy changes.";
   }
   if (response_.status == tcamSharingFailed) {
      return refusal();
   }
   if (nothingToCarry_) {
      return "Nothing to program: the low 10 bits of the policy, which is all that an in-LIF "
             "carries, "
             "are 0. A sub-interface is not answered for it.";
   }
   if (heldBack_) {
      return "Written, and answered by the chip, but the answer is held back to be given out of "
             "order.";
   }
   if (response_.status == tcamSharingSuccess && !holds_) {
      return "Answered success, but the chip does not hold this policy: the entry was refused, "
             "removed or rewritten for another request that shares it, or a member joined the "
             "port-channel since and carries it once the request is worked again.";
   }
   if (response_.status == tcamSharingInProgress && answerDue_) {
      return "The chip is at work on it: its answer is due at " + printedSeconds(*answerDue_) +
             " s.";
   }
   if (!holds_) {
      return "Not in hardware, and nothing is under way for it.";
   }
   return response_.status == tcamSharingSuccess && response_.policyId == merged_
              ? "In hardware."
              : "In hardware, but not answered for the present policy: no answer is awaited, or "
                "more "
                "than will come. Another policy is answered.";
}

} // namespace Agent
