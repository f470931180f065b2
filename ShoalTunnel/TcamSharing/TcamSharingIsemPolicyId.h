// The part of a policy that the ISEM payload carries.
#pragma once

#include "platform/Hardware/Shoal/Status.h"
#include "ShoalTunnel/TcamSharing/DynamicISemData.h"
#include "ShoalTunnel/TcamSharing/TcamSharingRequest.h"

namespace Hardware::ShoalTunnel {

class TcamSharingIsemPolicyId {
 public:
   explicit TcamSharingIsemPolicyId(TcamSharingPolicyId policyId) : policyId_(policyId) {}

   // Bits 0-16 of the policy, or bits 0-9 with the toggle "DynamicISemData" off. The payload does
   // not carry the label above bit 16. The layout is the same on all units.
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
