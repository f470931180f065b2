// Programs policies into the in-LIFs of sub-interfaces: rewrites the in-LIF additional data of the
// VLAN-tag-to-VSI mapper entries that a sub-interface already has. A sub-interface of a port has
// one entry; one of a port-channel has an entry per member port on the request's unit.
//
// Hardware answers per mapper key. A request is answered once every key written for its entry
// (request and policy) is answered. If one key fails, the request fails, in whatever order the
// answers arrive. Interfaces other than sub-interfaces are resolved, but not programmed.
//
// Reads the output table, the helper, and the mapper's configuration and status. Writes the
// additional data in that configuration, the merged status, and the bookkeeping in
// TcamSharingInLifCommon (which survives this machine). It neither creates nor removes mapper
// entries: while one is missing, the request waits on the retry list. A machine that starts on a
// filled output table handles every request in it once; it does not replay hardware status. Event
// thread only.
#pragma once

#include "ShoalTunnel/TcamSharing/TcamSharingBaseSm.h"
#include "ShoalTunnel/TcamSharing/TcamSharingCommon.h"

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT TcamSharingInLifSm : public TcamSharingBaseSm {
 public:
   TcamSharingInLifSm(Orv::Ptr<Shoal::Status const> shoalStatus,
                      Orv::Ptr<TcamSharingConfig const> tcamSharingConfig,
                      Orv::Ptr<TcamSharingStatus> tcamSharingStatus,
                      Orv::Ptr<TcamSharingHelper> tcamSharingHelper,
                      Orv::Ptr<VlanTagToVsiMapperConfig> vtagToVsiConfig,
                      Orv::Ptr<VlanTagToVsiMapperStatus const> vtagToVsiStatus,
                      Orv::Ptr<TcamSharingInLifCommon> tcamSharingCommon);

   // A request on an arad unit is an invariant failure. Throws Orv::RangeException for an outer tag
   // above 8192.
   void handleTcamSharingConfig(TcamSharingRequest const& request) override;
   // The status of the mapper key was written or removed.
   void handleVtagToVsiStatus(VlanTagToVsiMapperKey const& key);
   void orvDoZombieReactors(bool zombie) override;

 private:
   using OrvVtagToVsiStatus = Orv::ReactorFor<&TcamSharingInLifSm::handleVtagToVsiStatus>;

   // Hints at what the tables hold for the key.
   void doPrefetch(VlanTagToVsiMapperKey key) const;
   void doProgramOnPort(TcamSharingEntry const& entry, Plexus::IntfId port,
                        Bridging::Dot1qEncap dot1qEncap);
   void doProgramOnPortChannel(TcamSharingEntry const& entry, Plexus::IntfId portChannel,
                               Bridging::Dot1qEncap dot1qEncap);
   // For a missing mapper entry.
   void doWaitForMapperEntry(TcamSharingEntry const& entry);
   // For an entry that has the data already. A removal (`newData` is 0) is not answered.
   void doAnswerBypassed(TcamSharingEntry const& entry, uint64_t newData);
   void doDecrementRefCountOnTcamSharingEntry(TcamSharingEntry const& entry);
   // For an entry whose answers are complete; `status` is the last one.
   void doAnswer(TcamSharingEntry const& entry, VlanTagToVsiMapperStatusType const& status);

   Orv::Ptr<VlanTagToVsiMapperConfig> vtagToVsiConfig_;
   Orv::Ptr<VlanTagToVsiMapperStatus const> vtagToVsiStatus_;
   Orv::Ptr<TcamSharingInLifCommon> tcamSharingCommon_;
   OrvVtagToVsiStatus orvVtagToVsiStatus_;
   // By request for a sub-interface of a port: the last key. Most probably it stays the key.
   Orv::PagedArray<VlanTagToVsiMapperKey> keys_;
};

template<class... Args>
Orv::Ptr<TcamSharingInLifSm> tcamSharingInLifSmFactory(Args&&... args) {
   return Orv::make<TcamSharingInLifSm>(std::forward<Args>(args)...);
}

} // namespace Hardware::ShoalTunnel
