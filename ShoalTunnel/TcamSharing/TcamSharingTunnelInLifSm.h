// Programs the tunnel-to-policy mapper: one entry per tunnel and unit, created, changed and removed
// here.
//
// An answer belongs to the entry that wrote its key last; one that names other data, or a removal
// of a key that was created again, is an older write's and is ignored. The pending entry of a
// created key stays, so that hardware may answer again (in progress, then programmed).
//
// Reads the output table and the mapper's status; writes the mapper's configuration, the merged
// status, and `pendingTunnelLifEntries` in TcamSharingInLifCommon (which survives this machine).
// Started on a filled output table it handles every request in it once; it replays no hardware
// status. Event thread only.
#pragma once

#include "ShoalTunnel/TcamSharing/TcamSharingBaseSm.h"
#include "ShoalTunnel/TcamSharing/TcamSharingCommon.h"

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT TcamSharingTunnelInLifSm : public TcamSharingBaseSm {
 public:
   // Where the chip's IPv4 in-LIF additional data begin in an entry's word (bits). For those who
   // decode the table; the data are written here as a value of their own.
   static constexpr uint32_t ipv4InLifAdditionalDataOffset = 0;

   TcamSharingTunnelInLifSm(Orv::Ptr<Shoal::Status const> shoalStatus,
                            Orv::Ptr<TcamSharingConfig const> tcamSharingConfig,
                            Orv::Ptr<TcamSharingStatus> tcamSharingStatus,
                            Orv::Ptr<TcamSharingHelper> tcamSharingHelper,
                            Orv::Ptr<TunnelPolicyMapperConfig> tunnelToPolicyConfig,
                            Orv::Ptr<TunnelPolicyMapperStatus const> tunnelToPolicyStatus,
                            Orv::Ptr<TcamSharingInLifCommon> tcamSharingCommon);

   void handleTcamSharingConfig(TcamSharingRequest const& request) override;
   // The status of the mapper key was written or removed.
   void handleTunnelToPolicyStatus(TunnelPolicyMapperKey const& key);
   void orvDoZombieReactors(bool zombie) override;

   // The low 10 bits of the policy.
   uint64_t getInLifAdditionalData(TcamSharingPolicyId const& policyId) const;

 private:
   using OrvTunnelToPolicyStatus =
       Orv::ReactorFor<&TcamSharingTunnelInLifSm::handleTunnelToPolicyStatus>;

   void doHandleWriteAnswer(TcamSharingEntry const& entry,
                            TunnelPolicyMapperStatusType const& status);
   void doHandleRemovalAnswer(TcamSharingEntry const& entry, TunnelPolicyMapperKey key);

   Orv::Ptr<TunnelPolicyMapperConfig> tunnelToPolicyConfig_;
   Orv::Ptr<TunnelPolicyMapperStatus const> tunnelToPolicyStatus_;
   Orv::Ptr<TcamSharingInLifCommon> tcamSharingCommon_;
   OrvTunnelToPolicyStatus orvTunnelToPolicyStatus_;
};

// With the constructor's arguments.
template<class... Args>
Orv::Ptr<TcamSharingTunnelInLifSm> tcamSharingTunnelInLifSmFactory(Args&&... args) {
   return Orv::make<TcamSharingTunnelInLifSm>(std::forward<Args>(args)...);
}

} // namespace Hardware::ShoalTunnel
