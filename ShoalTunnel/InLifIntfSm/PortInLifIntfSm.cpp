#include "ShoalTunnel/InLifIntfSm/PortInLifIntfSm.h"

#include "platform/Orv/Failure.h"
#include "platform/Trace/Trace.h"

#include <string_view>

namespace Hardware::ShoalTunnel {

using Plexus::IntfId;

namespace {
bool isPortChannel(IntfId intfId) {
   return Plexus::PortChannelIntfId::isPortChannelIntfId(intfId);
}
bool isSubIntfOrVlan(IntfId intfId) {
   return Plexus::SubIntfId::isSubIntfId(intfId) || Plexus::VlanIntfId::isVlanIntfId(intfId);
}
} // namespace

PortInLifIntfSm::PortInLifIntfSm(Orv::Ptr<InLifIntfConfig const> inLifIntfCfg,
                                 Orv::Ptr<InLifIntfStatus> inLifIntfStatus,
                                 Orv::Ptr<Shoal::Status const> shoalStatus,
                                 Orv::Ptr<DefaultLifFeatureConfig> defaultPortLifFeatureCfg,
                                 Orv::Ptr<InLifIntfConfig> inLifIntfCfgLagExp,
                                 Orv::Ptr<Lag::LagPhyIntfMapping const> lagPhyIntfMapping,
                                 Orv::Ptr<Lag::Config const> lagConfig,
                                 Orv::Ptr<Shoal::LocalPortMapStatus const> localPortMapStatus)
    : BaseInLifIntfSm(std::move(inLifIntfCfg), std::move(inLifIntfStatus), std::move(shoalStatus)),
      defaultPortLifFeatureCfg_(ORV_NOT_NULL(defaultPortLifFeatureCfg)),
      inLifIntfCfgLagExp_(ORV_NOT_NULL(inLifIntfCfgLagExp)),
      lagPhyIntfMapping_(ORV_NOT_NULL(lagPhyIntfMapping)), lagConfig_(std::move(lagConfig)),
      localPortMapStatus_(std::move(localPortMapStatus)),
      lagPhyIntfConfig_(lagPhyIntfMapping_, this), orvPortMapVersion_(this) {
   this->shoalStatus()->portMapVersionAttribute().watch(orvPortMapVersion_);
}

void PortInLifIntfSm::handleInitialized() {
   if (shoalStatus()->portMapValid()) {
      // Remove the words that an earlier machine wrote and that no request covers any more.
      Orv::KeyedByIndex<IntfId, bool> covered;
      forEachCovered([&](InLifIntfKey, IntfId phyIntf) { covered.set(phyIntf, true); });
      for (auto const& [intfId, attributes] : defaultPortLifFeatureCfg_->lifFeatureAttrIter()) {
         if (!covered.has(intfId)) {
            defaultPortLifFeatureCfg_->lifFeatureAttrDel(intfId);
         }
      }
      doRemoveUncovered();
   }
   BaseInLifIntfSm::handleInitialized();
}

bool PortInLifIntfSm::isLagMember(IntfId phyIntf) const {
   return lagPhyIntfMapping_->phyIntfLag(phyIntf) != IntfId();
}

template<class Use>
void PortInLifIntfSm::forEachCovered(InLifIntfKey key, Use&& use) const {
   if (!isPortChannel(key.intfId())) {
      if (!isLagMember(key.intfId())) {
         use(key.intfId());
      }
   } else if (auto members = lagPhyIntfMapping_->lagPhyIntfConfig(key.intfId())) {
      for (auto const& [phyIntf, present] : members->phyIntfIter()) {
         if (shoalStatus()->sysTcamId(phyIntf) == key.tcamId()) {
            use(phyIntf);
         }
      }
   }
}

template<class Use>
void PortInLifIntfSm::forEachCovered(Use&& use) const {
   for (auto const& [key, aggr] : inLifIntfCfg()->requestIter()) {
      if (!isSubIntfOrVlan(key.intfId())) {
         forEachCovered(key, [&, lifIntfKey = key](IntfId phyIntf) { use(lifIntfKey, phyIntf); });
      }
   }
}

void PortInLifIntfSm::doHandleRequest(InLifIntfKey const& key, bool isAdd) {
   SHOAL_TRACE_SPLIT(
       8, ("PortInLifIntfSm::", __func__, std::string_view(isAdd ? " add " : " del "), key),
       ("PortInLifIntfSm::", __func__, key));
   IntfId intfId = key.intfId();
   if (isSubIntfOrVlan(intfId)) {
      SHOAL_TRACE(7, "  We don't care about subinterfaces or vlans, only ports");
      return;
   }
   if (isAdd && !shoalStatus()->portMapValid()) {
      SHOAL_TRACE(0, "PortInLifIntfSm::", " ", "add", " portmap is not valid for ", key);
      return;
   }
   if (!isAdd && !initialized() && !shoalStatus()->portMapValid()) {
      SHOAL_TRACE(7, "  An earlier machine's, which the next port map version takes back");
      return;
   }
   if (isPortChannel(intfId)) {
      if (!lagPhyIntfMapping_->lagPhyIntfConfigHas(intfId)) {
         SHOAL_TRACE(7, "  Lag was not found in lag config:", intfId);
         if (!isAdd) {
            doUpdateResponse(key);
         }
         return;
      }
   } else if (isLagMember(intfId)) {
      // The port has the features of its port-channel; its own request is answered all the same.
      SHOAL_TRACE(7, "  ", intfId, " is a lag member, ignoring cfg");
   }
   forEachCovered(key, [&](IntfId phyIntf) { doUpdateDefaultLifFeatureCfg(key, phyIntf, isAdd); });
   doUpdateResponse(key);
}

void PortInLifIntfSm::doUpdateDefaultLifFeatureCfg(InLifIntfKey const& lifIntfKey, IntfId phyIntf,
                                                   bool isAdd) {
   SHOAL_TRACE_BLIP(8, "PortInLifIntfSm::", __func__, std::string_view(isAdd ? " add " : " del "),
                    lifIntfKey, " ", phyIntf);
   InLifIntfKey expandedKey(phyIntf, lifIntfKey.tcamId());
   if (!isAdd) {
      defaultPortLifFeatureCfg_->lifFeatureAttrDel(phyIntf);
      inLifIntfCfgLagExp_->requestDel(expandedKey);
      return;
   }
   ORV_ASSERT(inLifIntfCfg()->requestHas(lifIntfKey), "inLifIntfCfg()->requestHas( lifIntfKey )");
   Orv::Ptr<InLifIntfFeatureAggr const> aggr = inLifIntfCfg()->request(lifIntfKey);
   defaultPortLifFeatureCfg_->lifFeatureAttrIs(phyIntf, getInLifFeatureAttr(aggr));
   auto expanded = inLifIntfCfgLagExp_->requestIs(expandedKey);
   expanded->featureAggDelAll();
   for (auto const& [type, value] : aggr->featureAggIter()) {
      expanded->featureAggIs(type, value);
   }
   expanded->versionInc(1);
}

void PortInLifIntfSm::handleLagPhyIntf(IntfId lag, IntfId phyIntf) {
   SHOAL_TRACE(8, "PortInLifIntfSm::", __func__, " lag intf ", lag, " phy intf ", phyIntf);
   if (initialized()) {
      doOnLagMember(lag, phyIntf, lagPhyIntfMapping_->isMember(lag, phyIntf));
   }
}

void PortInLifIntfSm::doOnLagMember(IntfId lag, IntfId phyIntf, bool isAdd) {
   SHOAL_TRACE(8, "PortInLifIntfSm::", __func__, " lag intf ", lag, " phy intf ", phyIntf,
               std::string_view(isAdd ? " add" : " delete"));
   if (!shoalStatus()->portMapValid()) {
      SHOAL_TRACE(0, "PortInLifIntfSm::", " ", std::string_view(isAdd ? "add" : "del"),
                  " portmap is not valid for ", lag, ", ", phyIntf);
      return;
   }
   Shoal::SystemTcamId tcamId = shoalStatus()->sysTcamId(phyIntf);
   InLifIntfKey lagKey(lag, tcamId);
   auto portCfg = lifIntfCfg(InLifIntfKey(phyIntf, tcamId));
   if (inLifIntfCfg()->requestHas(lagKey)) {
      if (isAdd) {
         doUpdateDefaultLifFeatureCfg(lagKey, phyIntf, true);
         doUpdateResponse(lagKey);
      } else if (!portCfg) {
         doUpdateDefaultLifFeatureCfg(lagKey, phyIntf, false);
      }
   }
   // A port that joins a port-channel without requests keeps its word.
   if (!isAdd && portCfg) {
      portCfg->handleVersion();
   }
}

// First removes the words that no request covers any more, then applies every request again in the
// order of a fresh start. So a port that stays covered has a word throughout.
void PortInLifIntfSm::handlePortMapVersion() {
   SHOAL_TRACE(8, "PortInLifIntfSm::", __func__);
   if (!initialized()) {
      return;
   }
   ORV_ASSERT(shoalStatus()->portMapValid(), "shoalStatus()->portMapValid()");
   Orv::KeyedByIndex<IntfId, bool> covered;
   forEachCovered([&](InLifIntfKey, IntfId phyIntf) { covered.set(phyIntf, true); });
   for (auto const& [intfId, attributes] : defaultPortLifFeatureCfg_->lifFeatureAttrIter()) {
      assertIsPhyIntfId("defaultPortLifFeatureCfg", intfId);
      Shoal::SystemTcamId sysTcamId = shoalStatus()->sysTcamId(intfId);
      ORV_ASSERT(sysTcamId != Shoal::SystemTcamId(), "sysTcamId != Hardware::Shoal::SystemTcamId()",
                 "sysTcamId must be valid for ", intfId);
      if (!covered.has(intfId)) {
         InLifIntfKey key(intfId, sysTcamId);
         bool member = isLagMember(intfId);
         doHandleRequest(key, false);
         if (member) {
            // doHandleRequest did not touch the word, because the port is a member.
            doUpdateDefaultLifFeatureCfg(key, intfId, false);
         }
      }
   }
   doRemoveUncovered();
   doForgetWithdrawn([](IntfId intfId) { return !isSubIntfOrVlan(intfId); });
   if (std::exception_ptr refused = doHandleEveryRequest()) {
      std::rethrow_exception(refused);
   }
}

void PortInLifIntfSm::doRemoveUncovered() {
   Orv::KeyedByIndex<InLifIntfKey, bool> covered;
   forEachCovered([&](InLifIntfKey key, IntfId phyIntf) {
      covered.set(InLifIntfKey(phyIntf, key.tcamId()), true);
   });
   // By all keys, since the TCAM of an entry may differ from the one that serves the port now.
   for (auto const& [key, aggr] : inLifIntfCfgLagExp_->requestIter()) {
      if (!covered.has(key)) {
         inLifIntfCfgLagExp_->requestDel(key);
      }
   }
}

} // namespace Hardware::ShoalTunnel
