#include "ShoalTunnel/InLifIntfSm/VlanInLifIntfSm.h"

#include "platform/Orv/Failure.h"
#include "platform/Trace/Trace.h"

#include <algorithm>
#include <string_view>

namespace Hardware::ShoalTunnel {

using Bridging::VlanIdOrNone;
using Plexus::IntfId;

namespace {
VlanIdOrNone vlanOfKey(InLifIntfKey key) {
   return VlanIdOrNone(vlanIdFromVlanIntfId(key.intfId()).value());
}
} // namespace

VlanInLifIntfSm::VlanInLifIntfSm(Orv::Ptr<InLifIntfConfig const> inLifIntfCfg,
                                 Orv::Ptr<InLifIntfStatus> inLifIntfStatus,
                                 Orv::Ptr<Shoal::Status const> shoalStatus,
                                 Orv::Ptr<DefaultLifFeatureConfig> defaultVlanLifFeatureCfg,
                                 Orv::Ptr<InLifIntfConfig const> inLifIntfCfgLagExp,
                                 Orv::Ptr<Lag::LagPhyIntfMapping const> lagPhyIntfMapping,
                                 Orv::Ptr<Bridging::UntaggedVlanDir const> untaggedVlanDir)
    : BaseInLifIntfSm(std::move(inLifIntfCfg), std::move(inLifIntfStatus), std::move(shoalStatus)),
      defaultVlanLifFeatureCfg_(ORV_NOT_NULL(defaultVlanLifFeatureCfg)),
      inLifIntfCfgLagExp_(ORV_NOT_NULL(inLifIntfCfgLagExp)),
      lagPhyIntfMapping_(std::move(lagPhyIntfMapping)),
      untaggedVlanDir_(std::move(untaggedVlanDir)), orvUntaggedVlanDir_(this), orvPhyIntfLag_(this),
      lagPhyIntfConfig_(lagPhyIntfMapping_, *this), orvInLifIntfCfgLagExp_(this),
      orvPortMapVersion_(this) {
   if (untaggedVlanDir_) {
      untaggedVlanDir_->untaggedVlanCollection().watch(orvUntaggedVlanDir_);
   }
   if (lagPhyIntfMapping_) {
      lagPhyIntfMapping_->phyIntfLagCollection().watch(orvPhyIntfLag_);
   }
   inLifIntfCfgLagExp_->requestCollection().watch(orvInLifIntfCfgLagExp_);
   for (auto const& [key, features] : inLifIntfCfgLagExp_->requestIter()) {
      doFollowPortFeatures(key);
   }
   this->shoalStatus()->portMapVersionAttribute().watch(orvPortMapVersion_);
}

VlanInLifIntfSm::~VlanInLifIntfSm() = default;

void VlanInLifIntfSm::handleInitialized() {
   if (untaggedVlanDir_) {
      for (auto const& [intfId, vlan] : untaggedVlanDir_->untaggedVlanIter()) {
         forEachPort(intfId, [&](IntfId phyIntf) { doFollowVlan(phyIntf); });
      }
   }
   BaseInLifIntfSm::handleInitialized();
   if (shoalStatus()->portMapValid()) {
      doRemoveLeftWords();
   }
}

void VlanInLifIntfSm::doRemoveLeftWords() {
   for (auto const& [phyIntf, word] : defaultVlanLifFeatureCfg_->lifFeatureAttrIter()) {
      if (!wordKey_.has(phyIntf)) {
         defaultVlanLifFeatureCfg_->lifFeatureAttrDel(phyIntf);
      }
   }
}

void VlanInLifIntfSm::doHandleRequest(InLifIntfKey const& key, bool isAdd) {
   TRACE(8, "VlanInLifIntfSm::", __func__, std::string_view(isAdd ? " add " : " del "), key);
   if (!Plexus::VlanIntfId::isVlanIntfId(key.intfId())) {
      TRACE(7, "VlanInLifIntfSm::", "  We only care about vlans");
      return;
   }
   if (isAdd && !shoalStatus()->portMapValid()) {
      TRACE(0, "VlanInLifIntfSm::", " ", "add", " portmap is not valid for ", key);
      return;
   }
   VlanIdOrNone vlan = vlanOfKey(key);
   auto& keys = keys_[{vlan, key.tcamId()}];
   if (!isAdd) {
      std::erase(keys, key);
   } else if (std::find(keys.begin(), keys.end(), key) == keys.end()) {
      keys.push_back(key);
   }
   if (keys.empty()) {
      keys_.erase({vlan, key.tcamId()});
   }
   if (auto ports = portsOfVlan_.find(vlan); ports != portsOfVlan_.end()) {
      // A copy: the ports of a VLAN may change while their words are written.
      for (IntfId phyIntf : std::vector<IntfId>(ports->second.begin(), ports->second.end())) {
         if (coveringKey(phyIntf) == key || wordKey_.get(phyIntf) == key) {
            doUpdateWord(phyIntf);
         }
      }
   }
   doUpdateResponse(key);
}

void VlanInLifIntfSm::handleUntaggedVlan(IntfId const& intfId) {
   TRACE(8, "VlanInLifIntfSm::", __func__, " intf ", intfId);
   if (initialized()) {
      forEachPort(intfId, [&](IntfId phyIntf) { doUpdatePort(phyIntf); });
   }
}

void VlanInLifIntfSm::handlePhyIntfLag(IntfId const& phyIntf) {
   TRACE(8, "VlanInLifIntfSm::", __func__, " phy intf ", phyIntf);
   if (initialized()) {
      doUpdatePort(phyIntf);
   }
}

void VlanInLifIntfSm::handleLagPhyIntf(IntfId lag, IntfId phyIntf) {
   TRACE(8, "VlanInLifIntfSm::", __func__, " lag intf ", lag, " phy intf ", phyIntf);
   if (initialized()) {
      doUpdatePort(phyIntf);
   }
}

void VlanInLifIntfSm::handleInLifIntfCfgLagExp(InLifIntfKey const& key) {
   TRACE(8, "VlanInLifIntfSm::", __func__, " key: ", key);
   doFollowPortFeatures(key);
   if (!inLifIntfCfgLagExp_->requestHas(key)) {
      doHandlePortFeatures(key);
   }
}

void VlanInLifIntfSm::OrvPortFeatures::handle() {
   InLifIntfKey portKey = key();
   sm_->doHandlePortFeatures(portKey);
}

void VlanInLifIntfSm::doFollowPortFeatures(InLifIntfKey const& key) {
   if (auto features = inLifIntfCfgLagExp_->request(key)) {
      portFeatures_.set(key, Orv::make<OrvPortFeatures>(features, this));
   } else {
      portFeatures_.del(key);
   }
}

void VlanInLifIntfSm::doHandlePortFeatures(InLifIntfKey const& key) {
   IntfId phyIntf = key.intfId();
   if (initialized() && wordKey_.has(phyIntf) && wordKey_.get(phyIntf).tcamId() == key.tcamId()) {
      doUpdateWord(phyIntf);
   }
}

// Every port anew, on the TCAM that serves it now.
void VlanInLifIntfSm::handlePortMapVersion() {
   TRACE(8, "VlanInLifIntfSm::", __func__);
   if (!initialized()) {
      return;
   }
   if (!shoalStatus()->portMapValid()) {
      TRACE(0, "VlanInLifIntfSm::", " portmap is not valid");
      return;
   }
   // All keys before the first port, so that no port loses its word in between.
   keys_.clear();
   std::vector<InLifIntfKey> vlanKeys;
   for (auto const& [key, aggr] : inLifIntfCfg()->requestIter()) {
      if (Plexus::VlanIntfId::isVlanIntfId(key.intfId())) {
         keys_[{vlanOfKey(key), key.tcamId()}].push_back(key);
         vlanKeys.push_back(key);
      }
   }
   for (auto const& [phyIntf, vlan] : vlan_.walk()) {
      doUpdateWord(phyIntf);
   }
   doRemoveLeftWords();
   for (InLifIntfKey key : vlanKeys) {
      doUpdateResponse(key);
   }
}

VlanIdOrNone VlanInLifIntfSm::vlanOf(IntfId phyIntf) const {
   IntfId lag = lagPhyIntfMapping_ ? lagPhyIntfMapping_->phyIntfLag(phyIntf) : IntfId();
   if (!untaggedVlanDir_ || (lag != IntfId() && !lagPhyIntfMapping_->isMember(lag, phyIntf))) {
      return VlanIdOrNone();
   }
   return untaggedVlanDir_->untaggedVlan(lag != IntfId() ? lag : phyIntf);
}

InLifIntfKey VlanInLifIntfSm::coveringKey(IntfId phyIntf) const {
   VlanIdOrNone vlan = vlan_.get(phyIntf);
   if (!shoalStatus()->portMapValid()) {
      InLifIntfKey key = wordKey_.get(phyIntf);
      bool stays = inLifIntfCfg()->requestHas(key) && vlanOfKey(key) == vlan;
      return stays ? key : InLifIntfKey();
   }
   auto found = keys_.find({vlan, shoalStatus()->sysTcamId(phyIntf)});
   return found == keys_.end() ? InLifIntfKey() : found->second.back();
}

template<class Use>
void VlanInLifIntfSm::forEachPort(IntfId intfId, Use&& use) const {
   if (!Plexus::PortChannelIntfId::isPortChannelIntfId(intfId)) {
      use(intfId);
   } else if (auto members =
                  lagPhyIntfMapping_ ? lagPhyIntfMapping_->lagPhyIntfConfig(intfId) : nullptr) {
      for (auto const& [phyIntf, present] : members->phyIntfIter()) {
         use(phyIntf);
      }
   }
}

void VlanInLifIntfSm::doFollowVlan(IntfId phyIntf) {
   VlanIdOrNone before = vlan_.get(phyIntf);
   VlanIdOrNone vlan = vlanOf(phyIntf);
   if (vlan == before) {
      return;
   }
   if (auto left = portsOfVlan_.find(before); left != portsOfVlan_.end()) {
      left->second.erase(phyIntf);
      if (left->second.empty()) {
         portsOfVlan_.erase(left);
      }
   }
   if (vlan == VlanIdOrNone()) {
      vlan_.del(phyIntf);
   } else {
      vlan_.set(phyIntf, vlan);
      portsOfVlan_[vlan].insert(phyIntf);
   }
}

void VlanInLifIntfSm::doUpdatePort(IntfId phyIntf) {
   doFollowVlan(phyIntf);
   doUpdateWord(phyIntf);
}

void VlanInLifIntfSm::doUpdateWord(IntfId phyIntf) {
   InLifIntfKey key = coveringKey(phyIntf);
   if (key == InLifIntfKey()) {
      if (wordKey_.has(phyIntf)) {
         wordKey_.del(phyIntf);
         defaultVlanLifFeatureCfg_->lifFeatureAttrDel(phyIntf);
      }
      return;
   }
   auto laid = inLifIntfFeatureAggrFactory(key);
   // The VLAN's last: its values win.
   for (auto const& features : {inLifIntfCfgLagExp_->request(InLifIntfKey(phyIntf, key.tcamId())),
                                inLifIntfCfg()->request(key)}) {
      if (features) {
         for (auto const& [type, value] : features->featureAggIter()) {
            laid->featureAggIs(type, value);
         }
      }
   }
   wordKey_.set(phyIntf, key);
   defaultVlanLifFeatureCfg_->lifFeatureAttrIs(phyIntf, getInLifFeatureAttr(laid));
}

} // namespace Hardware::ShoalTunnel
