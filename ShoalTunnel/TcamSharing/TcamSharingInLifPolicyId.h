// A policy as the in-LIF additional data carries it.
#pragma once

#include "ShoalTunnel/TcamSharing/TcamSharingRequest.h"

namespace Hardware::ShoalTunnel {

class TcamSharingInLifPolicyId {
 public:
   static constexpr uint64_t inLifAdditionalDataMask = 0x3ff;

   explicit TcamSharingInLifPolicyId(TcamSharingPolicyId policyId) : policyId_(policyId) {}

   // The policy's low 10 bits; labels above them never reach the additional data.
   uint64_t inLifAdditionalData() const { return policyId_.value() & inLifAdditionalDataMask; }

 private:
   TcamSharingPolicyId policyId_;
};

} // namespace Hardware::ShoalTunnel
