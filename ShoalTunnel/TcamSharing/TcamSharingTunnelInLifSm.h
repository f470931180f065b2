// Programs the tunnel policy mapper. This machine creates, changes and removes its entries, one per
// tunnel and unit.
//
// An answer belongs to the entry that wrote its key last. An answer with other data, or the answer
// of a removal after the key was created again, belongs to an older write and is ignored. The
// pending entry of a created key is kept, because hardware may answer twice (in progress, then
// programmed).
//
// Reads the output table and the mapper's status; writes the mapper's configuration, the merged
// status, and `pendingTunnelLifEntries` in TcamSharingInLifCommon (which survives this machine). A
// machine that starts on a filled output table handles every request in it once; it does not replay
// hardware status. Event thread only.
#pragma once

#include "ShoalTunnel/TcamSharing/TcamSharingBaseSm.h"
#include "ShoalTunnel/TcamSharing/TcamSharingCommon.h"

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT TcamSharingTunnelInLifSm : public TcamSharingBaseSm {
 public:
   // The bit offset of the IPv4 in-LIF additional data in an entry of the chip. For decoders of the
   // table; this machine writes the data as a separate value.
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

   // Hints at what the tables hold for the key.
   TunnelPolicyMapperKey doFindKey(TcamSharingRequest const& request);
   void doHandleWriteAnswer(TcamSharingEntry const& entry,
                            TunnelPolicyMapperStatusType const& status);
   void doHandleRemovalAnswer(TcamSharingEntry const& entry, TunnelPolicyMapperKey key);

   Orv::Ptr<TunnelPolicyMapperConfig> tunnelToPolicyConfig_;
   Orv::Ptr<TunnelPolicyMapperStatus const> tunnelToPolicyStatus_;
   Orv::Ptr<TcamSharingInLifCommon> tcamSharingCommon_;
   OrvTunnelToPolicyStatus orvTunnelToPolicyStatus_;
   Orv::PagedArray<TunnelPolicyMapperKey> keys_; // by request, once its key was looked up
};

template<class... Args>
Orv::Ptr<TcamSharingTunnelInLifSm> tcamSharingTunnelInLifSmFactory(Args&&... args) {
   return Orv::make<TcamSharingTunnelInLifSm>(std::forward<Args>(args)...);
}

} // namespace Hardware::ShoalTunnel
