// The one way in which the intake writes its output. Which selector it holds decides which
// programming machine serves its requests.
#pragma once

#include "ShoalTunnel/TcamSharing/TcamSharingConfig.h"

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT TcamSharingSelector : public Orv::RefCounted {
 public:
   // The operations of this class itself throw Orv::NoImplementationException.
   // Writes the request with that policy into the output table that suits it.
   virtual void addRequest(TcamSharingRequest const& request, TcamSharingPolicyId const& policyId);
   // Removes the request from that table; harmless when absent.
   virtual void delRequest(TcamSharingRequest const& request);
   // The policy now in that table, 0 when absent.
   virtual TcamSharingPolicyId getRequest(TcamSharingRequest const& request);
};

// All requests into the ISEM machine's table.
class TCAM_SHARING_EXPORT TcamSharingSemSelector : public TcamSharingSelector {
 public:
   explicit TcamSharingSemSelector(Orv::Ptr<TcamSharingConfig> tcamSharingSemConfigOut);
   void addRequest(TcamSharingRequest const& request, TcamSharingPolicyId const& policyId) override;
   void delRequest(TcamSharingRequest const& request) override;
   TcamSharingPolicyId getRequest(TcamSharingRequest const& request) override;

 private:
   Orv::Ptr<TcamSharingConfig> tcamSharingSemConfigOut_;
};

// Requests on tunnel interfaces into the tunnel machine's table, all others into the in-LIF one's.
class TCAM_SHARING_EXPORT TcamSharingInLifSelector : public TcamSharingSelector {
 public:
   TcamSharingInLifSelector(Orv::Ptr<TcamSharingConfig> tcamSharingTagConfigOut,
                            Orv::Ptr<TcamSharingConfig> tcamSharingTunnelConfigOut);
   void addRequest(TcamSharingRequest const& request, TcamSharingPolicyId const& policyId) override;
   void delRequest(TcamSharingRequest const& request) override;
   TcamSharingPolicyId getRequest(TcamSharingRequest const& request) override;

 private:
   Orv::Ptr<TcamSharingConfig> const& tableFor(TcamSharingRequest const& request) const;
   Orv::Ptr<TcamSharingConfig> tcamSharingTagConfigOut_;
   Orv::Ptr<TcamSharingConfig> tcamSharingTunnelConfigOut_;
};

// For base-class operations that have no implementation of their own.
[[noreturn]] TCAM_SHARING_EXPORT void throwNotImplemented(char const* signature);

} // namespace Hardware::ShoalTunnel
