#include "ShoalTunnel/TcamSharingVlanTagMapSm/TcamSharingVlanTagMapSm.h"

#include "platform/Orv/Failure.h"
#include "platform/Trace/Trace.h"

namespace Hardware::ShoalTunnel {

using Plexus::IntfId;

TcamSharingVlanTagMapSm::TcamSharingVlanTagMapSm(
    Orv::Ptr<IntfToFapIdStatus const> intfToFapIdStatus,
    Orv::Ptr<IntfToVlanDomainStatus const> intfToVlanDomainStatus,
    Orv::Ptr<TcamSharingSemCommon const> tcamSharingCommon,
    Orv::Ptr<VlanXlateStatus const> vlanXlateStatus,
    Orv::Ptr<TcamSharingVlanTagMap> tcamSharingVlanTagMap)
    : intfToFapIdStatus_(ORV_NOT_NULL(intfToFapIdStatus)),
      intfToVlanDomainStatus_(ORV_NOT_NULL(intfToVlanDomainStatus)),
      tcamSharingCommon_(std::move(tcamSharingCommon)),
      vlanXlateStatus_(ORV_NOT_NULL(vlanXlateStatus)),
      tcamSharingVlanTagMap_(ORV_NOT_NULL(tcamSharingVlanTagMap)), orvIntfToFapIdStatus_(this),
      orvIntfToVlanDomainStatus_(this), orvMapping_(this), orvVlanXlateStatus_(this) {
   intfToFapIdStatus_->intfToFapCollection().watch(orvIntfToFapIdStatus_);
   intfToVlanDomainStatus_->vlanDomainCollection().watch(orvIntfToVlanDomainStatus_);
   vlanXlateStatus_->vlanXlateCollection().watch(orvVlanXlateStatus_);
   if (tcamSharingCommon_) {
      tcamSharingCommon_->tcamRequestToIsemKeyMappingCollection().watch(orvMapping_);
   }
   handleInitialized();
}

void TcamSharingVlanTagMapSm::handleInitialized() {
   SHOAL_TRACE(8, "TcamSharingVlanTagMapSm::", __func__);
   ORV_ASSERT(!initialized_, "!initialized()");
   initialized_ = true;
   doRead();
   if (tcamSharingCommon_) {
      for (auto const& [request, key] : tcamSharingCommon_->tcamRequestToIsemKeyMappingIter()) {
         handleTcamRequestToIsemKeyMapping(request);
      }
   }
   for (auto const& [key, meaning] : vlanXlateStatus_->vlanXlateIter()) {
      doUpdate(key);
   }
   // Those that are no longer there.
   for (auto const& [request, pair] : pairOfRequest_.walk()) {
      handleTcamRequestToIsemKeyMapping(request);
   }
   for (auto const& [key, use] : use_.walk()) {
      doUpdate(key);
   }
   counted_ = true;
   for (auto const& [pair, users] : tcamSharingVlanTagMap_->vlanTagIter()) {
      doUpdateCollision(pair);
   }
   for (auto const& [pair, collides] : tcamSharingVlanTagMap_->collisionIter()) {
      doUpdateCollision(pair);
   }
}

void TcamSharingVlanTagMapSm::doRead() {
   for (auto const& [pair, users] : tcamSharingVlanTagMap_->vlanTagIter()) {
      users->subIntfDec(users->subIntf());
      users->vlanDec(users->vlan());
      for (auto const& [request, present] : users->requestIter()) {
         pairOfRequest_.set(request, pair);
         users->subIntfInc(subIntfsOf(request));
      }
      for (auto const& [key, present] : users->xlateIter()) {
         use_.set(key, Use{pair});
      }
   }
}

void TcamSharingVlanTagMapSm::handleIntf(IntfId const& phyIntf) {
   SHOAL_TRACE(8, "TcamSharingVlanTagMapSm::", __func__, ": intfId: ", phyIntf);
   IntfId port = phyIntf;
   auto const* found = tagsOf_.find(port);
   if (found == nullptr) {
      return;
   }
   for (uint16_t tag : std::set<uint16_t>(*found)) {
      doUpdate({port, tag});
   }
}

void TcamSharingVlanTagMapSm::handleTcamRequestToIsemKeyMapping(TcamSharingRequest const& of) {
   SHOAL_TRACE(8, "TcamSharingVlanTagMapSm::", __func__, ": request: ", of);
   TcamSharingRequest request = of;
   VlanTagKey now = pairOf(request);
   if (!now.fapId.isNull()) {
      tcamSharingVlanTagMap_->vlanTagIs(now); // which notifies, if it makes it
      if (pairOf(request) != now || !tcamSharingVlanTagMap_->vlanTagHas(now)) {
         doMaybeDelete(now);
         return handleTcamRequestToIsemKeyMapping(request);
      }
   }
   VlanTagKey previous = pairOfRequest_.get(request);
   if (now == previous) {
      return;
   }
   SHOAL_TRACE(7, __func__, ": ", request, " uses ", now, ", before ", previous);
   // Everything that notifies nobody first.
   auto left = tcamSharingVlanTagMap_->vlanTag(previous);
   auto joined = tcamSharingVlanTagMap_->vlanTag(now);
   if (left) {
      left->subIntfDec(subIntfsOf(request));
   }
   if (joined) {
      joined->subIntfInc(subIntfsOf(request));
      pairOfRequest_.set(request, now);
      joined->requestIs(request);
   } else {
      pairOfRequest_.del(request);
   }
   // Looked up again: a handler may have moved it back meanwhile.
   if (left && pairOfRequest_.get(request) != previous) {
      left->requestDel(request);
   }
   doFinish(now, previous);
}

void TcamSharingVlanTagMapSm::handleVlanXlate(VlanXlateKey const& key) {
   SHOAL_TRACE(8, "TcamSharingVlanTagMapSm::", __func__, ": ", key);
   doUpdate(key);
}

TcamSharingVlanTagMapSm::Use TcamSharingVlanTagMapSm::useOf(VlanXlateKey const& key) const {
   auto meaning = vlanXlateStatus_->vlanXlateCollection().find(key);
   auto fapId = intfToFapIdStatus_->intfToFapCollection().find(key.phyIntf);
   if (!meaning || !fapId) {
      return {};
   }
   Shoal::VlanDomain domain = intfToVlanDomainStatus_->vlanDomain(key.phyIntf);
   bool inDomain = domain.value() != 0;
   bool ofPort = Plexus::SubIntfId::parentIntfId(meaning->subIntf) == key.phyIntf;
   return {{*fapId, key.vlanTag, domain},
           inDomain && meaning->subIntf != IntfId() && ofPort,
           inDomain && meaning->vlan.value() != 0};
}

uint32_t TcamSharingVlanTagMapSm::subIntfsOf(TcamSharingRequest request) {
   return Plexus::SubIntfId::isSubIntfId(request.intfId()) ? 1 : 0;
}

VlanTagKey TcamSharingVlanTagMapSm::pairOf(TcamSharingRequest request) const {
   AradSemKeyAndFap key = tcamSharingCommon_
                              ? tcamSharingCommon_->tcamRequestToIsemKeyMapping(request)
                              : AradSemKeyAndFap();
   if (key == AradSemKeyAndFap()) {
      return {};
   }
   AradISemKeyTcamSharing fields(key.key());
   return {key.fapId(), fields.vlanId(), fields.vlanDomain()};
}

void TcamSharingVlanTagMapSm::doUpdate(VlanXlateKey const& of) {
   VlanXlateKey key = of;
   auto& tags = tagsOf_[key.phyIntf];
   if (vlanXlateStatus_->vlanXlateHas(key)) {
      tags.insert(key.vlanTag);
   } else {
      tags.erase(key.vlanTag);
      if (tags.empty()) {
         tagsOf_.erase(key.phyIntf);
      }
   }
   Use now = useOf(key);
   if (!now.pair.fapId.isNull()) {
      tcamSharingVlanTagMap_->vlanTagIs(now.pair); // which notifies, if it makes it
      if (useOf(key) != now || !tcamSharingVlanTagMap_->vlanTagHas(now.pair)) {
         doMaybeDelete(now.pair);
         return doUpdate(key);
      }
   }
   Use previous = use_.get(key);
   if (now == previous) {
      return;
   }
   SHOAL_TRACE(7, __func__, ": ", key, " uses ", now.pair, ", before ", previous.pair);
   // Everything that notifies nobody first.
   auto left = tcamSharingVlanTagMap_->vlanTag(previous.pair);
   auto joined = tcamSharingVlanTagMap_->vlanTag(now.pair);
   if (left) {
      left->subIntfDec(previous.subIntf ? 1 : 0);
      left->vlanDec(previous.vlan ? 1 : 0);
   }
   if (joined) {
      joined->subIntfInc(now.subIntf ? 1 : 0);
      joined->vlanInc(now.vlan ? 1 : 0);
      use_.set(key, now);
      joined->xlateIs(key);
   } else {
      use_.del(key);
   }
   // Looked up again: a handler may have moved it back meanwhile.
   if (left && use_.get(key).pair != previous.pair) {
      left->xlateDel(key);
   }
   doFinish(now.pair, previous.pair);
}

void TcamSharingVlanTagMapSm::doFinish(VlanTagKey const& now, VlanTagKey const& previous) {
   for (VlanTagKey const& pair : {now, previous}) {
      if (!pair.fapId.isNull()) {
         doUpdateCollision(pair);
         doMaybeDelete(pair);
      }
   }
}

void TcamSharingVlanTagMapSm::doUpdateCollision(VlanTagKey const& pair) {
   auto users = tcamSharingVlanTagMap_->vlanTag(pair);
   bool collide = users && users->collide();
   if (counted_ && collide != tcamSharingVlanTagMap_->collision(pair)) {
      SHOAL_TRACE(7, __func__, ": ", pair, collide ? " has a collision" : " has none any more");
      tcamSharingVlanTagMap_->collisionIs(pair, collide);
   }
}

void TcamSharingVlanTagMapSm::doMaybeDelete(VlanTagKey const& pair) {
   if (auto users = tcamSharingVlanTagMap_->vlanTag(pair); users && users->empty()) {
      SHOAL_TRACE(7, __func__, ": nobody uses ", pair);
      tcamSharingVlanTagMap_->vlanTagDel(pair);
   }
}

} // namespace Hardware::ShoalTunnel
