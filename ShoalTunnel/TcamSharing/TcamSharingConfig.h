// The tables between the stages: requests going down, responses coming back.
#pragma once

#include "platform/Orv/Entity.h"
#include "ShoalTunnel/TcamSharing/TcamSharingRequest.h"

namespace Hardware::ShoalTunnel {

// Requests as one stage asks the next: request -> policy (0 when absent). One instance per feature,
// one merged, one per output table.
class TCAM_SHARING_EXPORT TcamSharingConfig : public Orv::Entity {
   ORV_ENTITY(TcamSharingConfig, "Hardware::ShoalTunnel::TcamSharingConfig")
   ORV_COLLECTION(request, TcamSharingRequest, TcamSharingPolicyId, Orv::KeyedByIndex)
};

// 0 before any outcome is written.
enum TcamSharingResponseStatus : uint8_t {
   tcamSharingNone = 0,
   tcamSharingSuccess = 1,    // programmed in hardware
   tcamSharingInProgress = 2, // not answered yet, or waiting on the retry list
   tcamSharingFailed = 3,     // hardware refused the write
};

// An outcome, and the policy for which it was produced: a reader discards an outcome that belongs
// to an older policy.
struct TcamSharingResponse {
   TcamSharingResponseStatus status = tcamSharingNone;
   TcamSharingPolicyId policyId;

   ORV_VALUE(TcamSharingResponse, "Hardware::ShoalTunnel::TcamSharingResponse", status, policyId)
};

// The outcome per request: one instance merged, one per feature.
class TCAM_SHARING_EXPORT TcamSharingStatus : public Orv::Entity {
   ORV_ENTITY(TcamSharingStatus, "Hardware::ShoalTunnel::TcamSharingStatus")
   ORV_COLLECTION(response, TcamSharingRequest, TcamSharingResponse, Orv::KeyedByIndex)
};

} // namespace Hardware::ShoalTunnel
