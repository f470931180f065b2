// Publishes per forwarding unit the (VLAN tag, VLAN domain) pairs in use, with their users: the
// requests of shared entries, and the ports that carry the tag in that domain.
//
// A port without a unit has no pairs; one without a VLAN domain is in domain 0, where no tags
// collide. A port of a port-channel is in its own domain. A sub-interface of a port-channel has no
// domain but that of its entry, so that only its request counts. A pair goes with its last user. A
// port or request that changes unit, domain or entry is a user of its new pair before it leaves the
// old one. Units that share through in-LIFs have ports here and no requests.
//
// Follows the tables of VlanDomainSm and VlanXlateStatusSm and the shared entries (null: none).
// Ready after construction; keeps what an earlier machine published, as far as it is still so.
// Event thread only.
#pragma once

#include "platform/Orv/IndexedMap.h"
#include "ShoalTunnel/TcamSharing/TcamSharingCommon.h"
#include "ShoalTunnel/TcamSharingVlanTagMapSm/TcamSharingVlanTagMap.h"
#include "ShoalTunnel/VlanDomainSm/IntfToFapIdStatus.h"
#include "ShoalTunnel/VlanDomainSm/IntfToVlanDomainStatus.h"

#include <set>

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT TcamSharingVlanTagMapSm : public Orv::RefCounted {
 public:
   TcamSharingVlanTagMapSm(Orv::Ptr<IntfToFapIdStatus const> intfToFapIdStatus,
                           Orv::Ptr<IntfToVlanDomainStatus const> intfToVlanDomainStatus,
                           Orv::Ptr<TcamSharingSemCommon const> tcamSharingCommon,
                           Orv::Ptr<VlanXlateStatus const> vlanXlateStatus,
                           Orv::Ptr<TcamSharingVlanTagMap> tcamSharingVlanTagMap);

   void handleInitialized();
   bool initialized() const { return initialized_; }
   // The unit or the VLAN domain of the port.
   void handleIntf(Plexus::IntfId const& phyIntf);
   // The entry that the request wrote last.
   void handleTcamRequestToIsemKeyMapping(TcamSharingRequest const& request);
   // What the tag means on the port.
   void handleVlanXlate(VlanXlateKey const& key);

 private:
   using OrvIntf = Orv::ReactorFor<&TcamSharingVlanTagMapSm::handleIntf>;
   using OrvMapping = Orv::ReactorFor<&TcamSharingVlanTagMapSm::handleTcamRequestToIsemKeyMapping>;
   using OrvVlanXlateStatus = Orv::ReactorFor<&TcamSharingVlanTagMapSm::handleVlanXlate>;

   // What a port's tag counts as; the null unit: nothing.
   struct Use {
      VlanTagKey pair;
      bool subIntf = false;
      bool vlan = false;

      friend bool operator==(Use const&, Use const&) = default;
   };

   Use useOf(VlanXlateKey const& key) const;
   VlanTagKey pairOf(TcamSharingRequest request) const;
   // What earlier machines published.
   void doRead();
   void doUpdate(VlanXlateKey const& key);
   // A user has come to the one pair and left the other one.
   void doFinish(VlanTagKey const& now, VlanTagKey const& previous);
   static uint32_t subIntfsOf(TcamSharingRequest request);
   void doUpdateCollision(VlanTagKey const& pair);
   // The pair goes when nobody uses it.
   void doMaybeDelete(VlanTagKey const& pair);

   Orv::Ptr<IntfToFapIdStatus const> intfToFapIdStatus_;
   Orv::Ptr<IntfToVlanDomainStatus const> intfToVlanDomainStatus_;
   Orv::Ptr<TcamSharingSemCommon const> tcamSharingCommon_;
   Orv::Ptr<VlanXlateStatus const> vlanXlateStatus_;
   Orv::Ptr<TcamSharingVlanTagMap> tcamSharingVlanTagMap_;

   bool initialized_ = false;
   bool counted_ = false; // till then, the counts of the pairs are not complete
   // Of each user, its pair; of each port, its tags.
   Orv::KeyedByIndex<TcamSharingRequest, VlanTagKey> pairOfRequest_;
   Orv::Keyed<VlanXlateKey, Use> use_;
   Orv::IndexedMap<Plexus::IntfId, std::set<uint16_t>> tagsOf_;

   OrvIntf orvIntfToFapIdStatus_;
   OrvIntf orvIntfToVlanDomainStatus_;
   OrvMapping orvMapping_;
   OrvVlanXlateStatus orvVlanXlateStatus_;
};

template<class... Args>
Orv::Ptr<TcamSharingVlanTagMapSm> TcamSharingVlanTagMapSmIs(Args&&... args) {
   return Orv::make<TcamSharingVlanTagMapSm>(std::forward<Args>(args)...);
}

} // namespace Hardware::ShoalTunnel
