#include "agent/command/Explainer.h"

#include "ShoalTunnel/TcamSharing/TcamSharingInLifPolicyId.h"

namespace Agent {

using namespace Hardware::ShoalTunnel;

void InLifExplainer::addHardware() {
   if (resolution_.tunnel) {
      addTunnel();
   } else {
      addMapper();
   }
}

void InLifExplainer::addMapper() {
   auto const& common = *host_.inLif().common;
   uint64_t wanted = TcamSharingInLifPolicyId(merged_).inLifAdditionalData();
   nothingToCarry_ = wanted == 0 && !merged_.empty();
   holds_ = !resolution_.mapper.empty();
   for (VlanTagToVsiMapperKey key : resolution_.mapper) {
      auto configured = host_.inLif().mapperConfig->configCollection().find(key);
      auto held = host_.chip().mapper().held(key);
      holds_ = holds_ && held && held->inLifAdditionalData == wanted;
      fact("mapper entry", printedKey(key) + " " +
                               (configured ? "holds " + printedData(configured->inLifAdditionalData)
                                           : std::string("is not there")) +
                               ", chip " +
                               (held ? "holds " + printedData(held->inLifAdditionalData)
                                     : std::string("has none")));
      TcamSharingEntry pending = common.pendingLifEntries(key);
      if (pending != TcamSharingEntry()) {
         fact("unanswered write", printedKey(key) + " by " + printedRequest(pending.request()) +
                                      " for " + printedPolicy(pending.policyId()));
         written_ = written_ || pending == TcamSharingEntry(request_, merged_);
      }
      addLastAnswer(host_.chip().mapper(), key);
   }
   TcamSharingEntry entry(request_, merged_);
   if (common.tcamSharingEntryRefCountHas(entry)) {
      fact("answers awaited", std::to_string(common.tcamSharingEntryRefCount(entry)));
   }
   if (auto confirmed = common.tcamRequestToVlanTagToVsiKeyMapping(request_)) {
      fact("confirmed entries", std::to_string(confirmed->vtagToVsiMapperKeys()));
   }
}

void InLifExplainer::addTunnel() {
   TunnelPolicyMapperKey key = *resolution_.tunnel;
   auto configured = host_.inLif().tunnelConfig->configCollection().find(key);
   auto held = host_.chip().tunnels().held(key);
   fact("tunnel entry",
        printedKey(key) + " " +
            (configured ? "holds " + printedData(configured->inLifAdditionalData)
                        : std::string("is not there")) +
            ", chip " +
            (held ? "holds " + printedData(held->inLifAdditionalData) : std::string("has none")));
   holds_ =
       held && held->inLifAdditionalData == TcamSharingInLifPolicyId(merged_).inLifAdditionalData();
   TcamSharingEntry pending = host_.inLif().common->pendingTunnelLifEntries(key);
   if (pending != TcamSharingEntry()) {
      fact("last written",
           "by " + printedRequest(pending.request()) + " for " + printedPolicy(pending.policyId()));
      // Only the answer to the present policy counts; the entry stays behind it.
      written_ = pending == TcamSharingEntry(request_, merged_) &&
                 (response_.status == tcamSharingNone || response_.policyId != merged_);
   }
   addLastAnswer(host_.chip().tunnels(), key);
}

std::string InLifExplainer::refusal() const {
   if (holds_) {
      return "Answered failed, although the chip holds the policy: an entry of the sub-interface "
             "was "
             "removed or rewritten before its answer came. A change of the policy asks again.";
   }
   return std::string("Not in hardware: the chip refused the write") +
          (resolution_.mapper.size() > 1 ? " on a port at least" : "") +
          ". It is not retried by itself; a change of the policy writes it again.";
}

} // namespace Agent
