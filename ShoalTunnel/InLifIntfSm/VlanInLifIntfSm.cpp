#include "ShoalTunnel/InLifIntfSm/VlanInLifIntfSm.h"

#include "platform/Orv/Failure.h"
#include "platform/Trace/Trace.h"

#include <string_view>
#include <vector>

namespace Hardware::ShoalTunnel {

using Bridging::VlanIdOrNone;
using Plexus::IntfId;

namespace {
// The flood entry of a VLAN interface has the same VLAN number, so it is excluded.
bool isVlanIntf(IntfId intfId) {
   return Plexus::VlanIntfId::isVlanIntfId(intfId) && !intfId.l3Flood();
}
VlanIdOrNone vlanOfKey(InLifIntfKey key) {
   return VlanIdOrNone(vlanIdFromVlanIntfId(key.intfId()).value());
}
} // namespace

VlanInLifIntfSm::Place VlanInLifIntfSm::placeOf(InLifIntfKey key) {
   return {key.intfId().fields().unit, vlanOfKey(key), key.tcamId()};
}

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
      lagPhyIntfConfig_(lagPhyIntfMapping_, this), orvInLifIntfCfgLagExp_(this),
      orvPortFeatures_(this), orvPortMapVersion_(this) {
   if (untaggedVlanDir_) {
      untaggedVlanDir_->untaggedVlanCollection().watch(orvUntaggedVlanDir_);
   }
   if (lagPhyIntfMapping_) {
      lagPhyIntfMapping_->phyIntfLagCollection().watch(orvPhyIntfLag_);
   }
   inLifIntfCfgLagExp_->requestCollection().watch(orvInLifIntfCfgLagExp_);
   inLifIntfCfgLagExp_->requestCollection().watchMembers(orvPortFeatures_);
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
}

void VlanInLifIntfSm::doHandleStarted() {
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
   SHOAL_TRACE(8, "VlanInLifIntfSm::", __func__, std::string_view(isAdd ? " add " : " del "), key);
   if (!isVlanIntf(key.intfId())) {
      SHOAL_TRACE(7, "VlanInLifIntfSm::", "  We only care about vlans");
      return;
   }
   if (isAdd && !shoalStatus()->portMapValid()) {
      SHOAL_TRACE(0, "VlanInLifIntfSm::", " ", "add", " portmap is not valid for ", key);
      return;
   }
   if (!isAdd && !initialized() && !shoalStatus()->portMapValid()) {
      SHOAL_TRACE(7, "VlanInLifIntfSm::",
                  "  An earlier machine's, which the next port map version takes back");
      return;
   }
   if (isAdd) {
      keys_[placeOf(key)] = key;
   } else {
      keys_.erase(placeOf(key));
   }
   if (auto ports = portsOfVlan_.find(vlanOfKey(key)); ports != portsOfVlan_.end()) {
      // A copy, because the ports of a VLAN may change while their words are written.
      for (IntfId phyIntf : std::vector<IntfId>(ports->second.begin(), ports->second.end())) {
         if (coveringKey(phyIntf) == key || wordKey_.get(phyIntf) == key) {
            doUpdateWord(phyIntf);
         }
      }
   }
   doUpdateResponse(key);
}

void VlanInLifIntfSm::handleUntaggedVlan(IntfId const& intfId) {
   SHOAL_TRACE(8, "VlanInLifIntfSm::", __func__, " intf ", intfId);
   if (initialized()) {
      forEachPort(intfId, [&](IntfId phyIntf) { doUpdatePort(phyIntf); });
   }
}

void VlanInLifIntfSm::handlePhyIntfLag(IntfId const& phyIntf) {
   SHOAL_TRACE(8, "VlanInLifIntfSm::", __func__, " phy intf ", phyIntf);
   if (initialized()) {
      doUpdatePort(phyIntf);
   }
}

void VlanInLifIntfSm::handleLagPhyIntf(IntfId lag, IntfId phyIntf) {
   SHOAL_TRACE(8, "VlanInLifIntfSm::", __func__, " lag intf ", lag, " phy intf ", phyIntf);
   if (initialized()) {
      doUpdatePort(phyIntf);
   }
}

void VlanInLifIntfSm::handleInLifIntfCfgLagExp(InLifIntfKey const& key) {
   SHOAL_TRACE(8, "VlanInLifIntfSm::", __func__, " key: ", key);
   if (!inLifIntfCfgLagExp_->requestHas(key)) {
      handlePortFeatures(key);
   }
}

void VlanInLifIntfSm::handlePortFeatures(InLifIntfKey const& key) {
   IntfId phyIntf = key.intfId();
   if (initialized() && wordKey_.has(phyIntf) && wordKey_.get(phyIntf).tcamId() == key.tcamId()) {
      doUpdateWord(phyIntf);
   }
}

// Updates every port with the TCAM that serves it now.
void VlanInLifIntfSm::handlePortMapVersion() {
   SHOAL_TRACE(8, "VlanInLifIntfSm::", __func__);
   if (!initialized()) {
      return;
   }
   if (!shoalStatus()->portMapValid()) {
      SHOAL_TRACE(0, "VlanInLifIntfSm::", " portmap is not valid");
      return;
   }
   // All keys before the first port, so that no port loses its word temporarily.
   keys_.clear();
   std::vector<InLifIntfKey> vlanKeys;
   std::exception_ptr refused;
   for (auto const& [key, aggr] : inLifIntfCfg()->requestIter()) {
      if (isVlanIntf(key.intfId())) {
         try {
            keys_[placeOf(key)] = key;
            vlanKeys.push_back(key);
         } catch (Orv::RangeException const&) {
            // The key covers no port.
            refused = refused ? refused : std::current_exception();
         }
      }
   }
   for (auto const& [phyIntf, vlan] : vlan_.walk()) {
      doUpdatePort(phyIntf);
   }
   doRemoveLeftWords();
   for (InLifIntfKey key : vlanKeys) {
      doUpdateResponse(key);
   }
   doForgetWithdrawn(isVlanIntf);
   if (refused) {
      std::rethrow_exception(refused);
   }
}

IntfId VlanInLifIntfSm::lagOf(IntfId phyIntf) const {
   return lagPhyIntfMapping_ ? lagPhyIntfMapping_->phyIntfLag(phyIntf) : IntfId();
}

bool VlanInLifIntfSm::isJoining(IntfId phyIntf) const {
   IntfId lag = lagOf(phyIntf);
   return lag != IntfId() && !lagPhyIntfMapping_->isMember(lag, phyIntf);
}

VlanIdOrNone VlanInLifIntfSm::vlanOf(IntfId phyIntf) const {
   if (!untaggedVlanDir_ || isJoining(phyIntf)) {
      return VlanIdOrNone();
   }
   IntfId lag = lagOf(phyIntf);
   return untaggedVlanDir_->untaggedVlan(lag != IntfId() ? lag : phyIntf);
}

InLifIntfKey VlanInLifIntfSm::coveringKey(IntfId phyIntf) const {
   VlanIdOrNone vlan = vlan_.get(phyIntf);
   if (!shoalStatus()->portMapValid()) {
      InLifIntfKey key = wordKey_.get(phyIntf);
      bool stays = inLifIntfCfg()->requestHas(key) && vlanOfKey(key) == vlan;
      return stays ? key : InLifIntfKey();
   }
   static constexpr uint32_t noUnit = 0;
   for (uint32_t unit : {phyIntf.fields().unit, noUnit}) {
      if (auto found = keys_.find({unit, vlan, shoalStatus()->sysTcamId(phyIntf)});
          found != keys_.end()) {
         return found->second;
      }
   }
   return InLifIntfKey();
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
   if (!shoalStatus()->portMapValid() && isJoining(phyIntf)) {
      // The port stays in its VLAN until the member list includes it. If it were removed now, no
      // key could cover it again while the port map is not valid.
      return;
   }
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
   // The features of the VLAN come last, so that they win.
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
