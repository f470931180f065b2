#include "ShoalTunnel/TcamSharingVlanTagMapSm/VlanXlateStatusSm.h"

#include "platform/Orv/Failure.h"
#include "platform/Trace/Trace.h"

#include <vector>

namespace Hardware::ShoalTunnel {

using Bridging::Dot1qEncap;
using Bridging::VlanIdOrNone;
using Plexus::IntfId;

VlanXlateStatusSm::VlanXlateStatusSm(
    Orv::Ptr<VlanPhyIntfConfig const> vlanPhyIntfConfig,
    Orv::Ptr<VlanPhyIntfConfig const> subIntfTagPhyIntfConfig,
    Orv::Ptr<Interface::SubIntfConfigDir const> subIntfConfigDir,
    Orv::Ptr<Interface::SubIntfDynDot1qEncap const> dynSubIntfEncap,
    Orv::Ptr<Lag::LagPhyIntfMapping const> lagPhyIntfMapping,
    Orv::Ptr<IntfVlanId::Table const> intfVlanIdTable, Orv::Ptr<VlanXlateStatus> vlanXlateStatus)
    : vlanPhyIntfConfig_(ORV_NOT_NULL(vlanPhyIntfConfig)),
      subIntfTagPhyIntfConfig_(ORV_NOT_NULL(subIntfTagPhyIntfConfig)),
      lagPhyIntfMapping_(std::move(lagPhyIntfMapping)),
      intfVlanIdTable_(std::move(intfVlanIdTable)), vlanXlateStatus_(ORV_NOT_NULL(vlanXlateStatus)),
      subIntfTags_(std::move(subIntfConfigDir), std::move(dynSubIntfEncap), *this),
      orvVlanPhyIntf_(&vlanPhyIntfConfig_->vlanTagCollection(), this),
      orvSubIntfTagPhyIntf_(&subIntfTagPhyIntfConfig_->vlanTagCollection(), this),
      orvIntfVlanIdTable_(this), lagPhyIntfConfig_(lagPhyIntfMapping_, this) {
   if (intfVlanIdTable_) {
      intfVlanIdTable_->internalVlanIdCollection().watch(orvIntfVlanIdTable_);
   }
   handleInitialized();
}

VlanXlateStatusSm::~VlanXlateStatusSm() = default;

void VlanXlateStatusSm::handleInitialized() {
   SHOAL_TRACE(8, "VlanXlateStatusSm::", __func__);
   ORV_ASSERT(!initialized_, "!initialized()");
   initialized_ = true;
   if (intfVlanIdTable_) {
      for (auto const& [intfId, vlan] : intfVlanIdTable_->internalVlanIdIter()) {
         handleInternalVlan(intfId);
      }
   }
   for (auto const& config : {vlanPhyIntfConfig_, subIntfTagPhyIntfConfig_}) {
      for (auto const& [tag, ports] : config->vlanTagIter()) {
         for (auto const& [phyIntf, present] : ports->phyIntfIter()) {
            doUpdate(phyIntf, tag);
         }
      }
   }
   for (auto const& [key, meaning] : vlanXlateStatus_->vlanXlateIter()) {
      doUpdate(key.phyIntf, key.vlanTag);
   }
}

void VlanXlateStatusSm::handleVlanPhyIntf(uint16_t tag, IntfId phyIntf) {
   SHOAL_TRACE(8, "VlanXlateStatusSm::", __func__, ": vlanTag: ", tag, ", intfId: ", phyIntf);
   doUpdate(phyIntf, tag);
}

void VlanXlateStatusSm::handleSubIntfTags(IntfId subIntf, Dot1qEncap previous) {
   SHOAL_TRACE(8, "VlanXlateStatusSm::", __func__, ": intfId: ", subIntf);
   Dot1qEncap now = subIntfTags_.tags(subIntf);
   for (IntfId phyIntf : portsOf(lagPhyIntfMapping_, Plexus::SubIntfId::parentIntfId(subIntf))) {
      doUpdate(phyIntf, now.outer);
      doUpdate(phyIntf, previous.outer);
   }
}

void VlanXlateStatusSm::handleInternalVlan(IntfId const& intfId) {
   SHOAL_TRACE(8, "VlanXlateStatusSm::", __func__, ": intfId: ", intfId);
   IntfId changed = intfId;
   VlanIdOrNone previous = internalVlan_.get(changed);
   VlanIdOrNone now = intfVlanIdTable_->internalVlanId(changed);
   if (now.value() == 0) {
      internalVlan_.del(changed);
   } else {
      internalVlan_.set(changed, now);
   }
   for (IntfId phyIntf : portsOf(lagPhyIntfMapping_, changed)) {
      doUpdate(phyIntf, now.value());
      doUpdate(phyIntf, previous.value());
   }
}

void VlanXlateStatusSm::handleLagPhyIntf(IntfId lag, IntfId phyIntf) {
   SHOAL_TRACE(8, "VlanXlateStatusSm::", __func__, ": lag: ", lag, ", intfId: ", phyIntf);
   std::vector<uint16_t> tags{internalVlan_.get(lag).value()};
   for (auto const& [tag, subIntfs] : subIntfTags_.subIntfsOf(lag)) {
      tags.push_back(tag);
   }
   for (uint16_t tag : tags) {
      doUpdate(phyIntf, tag);
   }
}

VlanXlate VlanXlateStatusSm::meaningOf(VlanXlateKey const& key) const {
   VlanXlate meaning;
   int meanings = 0;
   IntfId lag = lagOf(lagPhyIntfMapping_, key.phyIntf);
   if (vlanPhyIntfConfig_->carries(key.phyIntf, key.vlanTag)) {
      meaning.vlan = VlanIdOrNone(key.vlanTag);
      ++meanings;
   }
   if (subIntfTagPhyIntfConfig_->carries(key.phyIntf, key.vlanTag)) {
      auto const& own = subIntfTags_.subIntfsOf(key.phyIntf, key.vlanTag);
      auto const& ofLag = subIntfTags_.subIntfsOf(lag, key.vlanTag);
      for (auto const* some : {&own, &ofLag}) {
         if (!some->empty() && (meaning.subIntf == IntfId() || some->lowest() < meaning.subIntf)) {
            meaning.subIntf = some->lowest();
         }
      }
      meaning.collision = own.repeats() || ofLag.repeats() || own.meets(ofLag);
   }
   meanings += meaning.subIntf != IntfId() ? 1 : 0;
   for (IntfId routed : {key.phyIntf, lag}) {
      if (meaning.routedPort == IntfId() && internalVlan_.get(routed).value() == key.vlanTag) {
         meaning.routedPort = routed;
         ++meanings;
      }
   }
   meaning.collision |= meanings > 1;
   return meaning;
}

void VlanXlateStatusSm::doUpdate(IntfId phyIntf, uint16_t tag) {
   if (tag == 0) {
      return;
   }
   VlanXlateKey key{phyIntf, tag};
   VlanXlate meaning = meaningOf(key);
   if (meaning == vlanXlateStatus_->vlanXlate(key)) {
      return;
   }
   SHOAL_TRACE(7, __func__, ": ", key, " means ", meaning);
   if (meaning.empty()) {
      vlanXlateStatus_->vlanXlateDel(key);
   } else {
      vlanXlateStatus_->vlanXlateIs(key, meaning);
   }
}

} // namespace Hardware::ShoalTunnel
