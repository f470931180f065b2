// A policy as the ISEM payload carries it.
#pragma once

#include "platform/Hardware/Shoal/Status.h"
#include "ShoalTunnel/TcamSharing/DynamicISemData.h"
#include "ShoalTunnel/TcamSharing/TcamSharingRequest.h"

namespace Hardware::ShoalTunnel {

class TcamSharingIsemPolicyId {
 public:
   explicit TcamSharingIsemPolicyId(TcamSharingPolicyId policyId) : policyId_(policyId) {}

   // Bits 0-16 of the policy, or 0-9 with the "DynamicISemData" toggle off; labels above bit 16
   // never reach the payload. All units of the family lay it out alike.
   uint32_t makeISemPayloadValue(Orv::Ptr<Shoal::Status const> const& /*shoalStatus*/,
                                 Shoal::FapId /*fapId*/) const {
      uint64_t mask = TcamSharingPolicyId::qosPolicyMask | TcamSharingPolicyId::pbrPolicyMask;
      if (toggleDynamicISemDataEnabled()) {
         mask |= TcamSharingPolicyId::aclLabelMask;
      }
      return static_cast<uint32_t>(policyId_.value() & mask);
   }

 private:
   TcamSharingPolicyId policyId_;
};

} // namespace Hardware::ShoalTunnel
