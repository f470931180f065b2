// Writes the output of the intake. The kind of selector decides which programming machine serves a
// request.
#pragma once

#include "ShoalTunnel/TcamSharing/TcamSharingConfig.h"

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT TcamSharingSelector : public Orv::RefCounted {
 public:
   // The operations of this base throw Orv::NoImplementationException.
   // Writes the request and its policy to the output table for the request.
   virtual void addRequest(TcamSharingRequest const& request, TcamSharingPolicyId const& policyId);
   // Removes the request from that table; does nothing if it is absent.
   virtual void delRequest(TcamSharingRequest const& request);
   // The policy in that table, 0 if absent.
   virtual TcamSharingPolicyId getRequest(TcamSharingRequest const& request);
   // A hint that this request is read soon. The base does nothing.
   virtual void prefetch(TcamSharingRequest const&) const {}
};

// Writes all requests to the output table of the ISEM machine.
class TCAM_SHARING_EXPORT TcamSharingSemSelector : public TcamSharingSelector {
 public:
   explicit TcamSharingSemSelector(Orv::Ptr<TcamSharingConfig> tcamSharingSemConfigOut);
   void addRequest(TcamSharingRequest const& request, TcamSharingPolicyId const& policyId) override;
   void delRequest(TcamSharingRequest const& request) override;
   TcamSharingPolicyId getRequest(TcamSharingRequest const& request) override;
   void prefetch(TcamSharingRequest const& request) const override;

 private:
   Orv::Ptr<TcamSharingConfig> tcamSharingSemConfigOut_;
};

// Writes requests of tunnels to the output table of the tunnel machine, all others to that of the
// in-LIF machine.
class TCAM_SHARING_EXPORT TcamSharingInLifSelector : public TcamSharingSelector {
 public:
   TcamSharingInLifSelector(Orv::Ptr<TcamSharingConfig> tcamSharingTagConfigOut,
                            Orv::Ptr<TcamSharingConfig> tcamSharingTunnelConfigOut);
   void addRequest(TcamSharingRequest const& request, TcamSharingPolicyId const& policyId) override;
   void delRequest(TcamSharingRequest const& request) override;
   TcamSharingPolicyId getRequest(TcamSharingRequest const& request) override;
   void prefetch(TcamSharingRequest const& request) const override;

 private:
   Orv::Ptr<TcamSharingConfig> const& tableFor(TcamSharingRequest const& request) const;
   Orv::Ptr<TcamSharingConfig> tcamSharingTagConfigOut_;
   Orv::Ptr<TcamSharingConfig> tcamSharingTunnelConfigOut_;
};

// For operations of a base class that have no implementation.
[[noreturn]] TCAM_SHARING_EXPORT void throwNotImplemented(char const* signature);

} // namespace Hardware::ShoalTunnel
