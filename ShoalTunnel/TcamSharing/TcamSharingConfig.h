// The tables between the stages of a pipeline: requests down, responses up.
#pragma once

#include "platform/Orv/Entity.h"
#include "ShoalTunnel/TcamSharing/TcamSharingRequest.h"

namespace Hardware::ShoalTunnel {

// Request -> policy (0 if absent), written by one stage for the next. There is one instance per
// requester, one merged instance, and one instance per output table.
class TCAM_SHARING_EXPORT TcamSharingConfig : public Orv::Entity {
   ORV_ENTITY(TcamSharingConfig, "Hardware::ShoalTunnel::TcamSharingConfig")
   ORV_COLLECTION(request, TcamSharingRequest, TcamSharingPolicyId, Orv::KeyedByIndex)
};

enum TcamSharingResponseStatus : uint8_t {
   tcamSharingNone = 0,
   tcamSharingSuccess = 1,    // programmed in hardware
   tcamSharingInProgress = 2, // not answered yet, or waiting on the retry list
   tcamSharingFailed = 3,     // hardware refused the write
};

// An outcome and the policy that it belongs to. A reader discards the outcome of an older policy.
struct TcamSharingResponse {
   TcamSharingResponseStatus status = tcamSharingNone;
   TcamSharingPolicyId policyId;

   ORV_VALUE(TcamSharingResponse, "Hardware::ShoalTunnel::TcamSharingResponse", status, policyId)
};

// Request -> outcome. There is one merged instance and one instance per requester.
class TCAM_SHARING_EXPORT TcamSharingStatus : public Orv::Entity {
   ORV_ENTITY(TcamSharingStatus, "Hardware::ShoalTunnel::TcamSharingStatus")
   ORV_COLLECTION(response, TcamSharingRequest, TcamSharingResponse, Orv::KeyedByIndex)
};

} // namespace Hardware::ShoalTunnel
