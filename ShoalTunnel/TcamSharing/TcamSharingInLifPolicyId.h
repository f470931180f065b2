// The part of a policy that the in-LIF additional data carries.
#pragma once

#include "ShoalTunnel/TcamSharing/TcamSharingRequest.h"

namespace Hardware::ShoalTunnel {

class TcamSharingInLifPolicyId {
 public:
   static constexpr uint64_t inLifAdditionalDataMask = 0x3ff;

   explicit TcamSharingInLifPolicyId(TcamSharingPolicyId policyId) : policyId_(policyId) {}

   // The low 10 bits of the policy: the additional data do not carry the labels above them.
   uint64_t inLifAdditionalData() const { return policyId_.value() & inLifAdditionalDataMask; }

 private:
   TcamSharingPolicyId policyId_;
};

} // namespace Hardware::ShoalTunnel
