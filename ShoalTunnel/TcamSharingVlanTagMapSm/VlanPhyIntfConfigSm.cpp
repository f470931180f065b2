#include "ShoalTunnel/TcamSharingVlanTagMapSm/VlanPhyIntfConfigSm.h"

#include "platform/Orv/Failure.h"
#include "platform/Trace/Trace.h"

namespace Hardware::ShoalTunnel {

using Bridging::VlanIdOrNone;
using Plexus::IntfId;

namespace {

void addKeys(std::set<uint16_t>& tags, SubIntfTags::ByTag const& byTag) {
   for (auto const& [tag, subIntfs] : byTag) {
      tags.insert(tag);
   }
}

} // namespace

VlanPhyIntfConfigSm::VlanPhyIntfConfigSm(
    Orv::Ptr<Shoal::Status const> shoalStatus,
    Orv::Ptr<Interface::SubIntfConfigDir const> subIntfConfigDir,
    Orv::Ptr<Interface::SubIntfDynDot1qEncap const> dynSubIntfEncap,
    Orv::Ptr<Lag::LagPhyIntfMapping const> lagPhyIntfMapping,
    Orv::Ptr<Bridging::UntaggedVlanDir const> untaggedVlanDir,
    Orv::Ptr<Bridging::TaggedVlanDir const> taggedVlanDir,
    Orv::Ptr<VlanPhyIntfConfig> vlanPhyIntfConfig,
    Orv::Ptr<VlanPhyIntfConfig> subIntfTagPhyIntfConfig)
    : shoalStatus_(ORV_NOT_NULL(shoalStatus)), lagPhyIntfMapping_(std::move(lagPhyIntfMapping)),
      untaggedVlanDir_(std::move(untaggedVlanDir)), taggedVlanDir_(std::move(taggedVlanDir)),
      subIntfTags_(std::move(subIntfConfigDir), std::move(dynSubIntfEncap), *this),
      publishedVlans_(ORV_NOT_NULL(vlanPhyIntfConfig)),
      publishedTags_(ORV_NOT_NULL(subIntfTagPhyIntfConfig)), orvShoalStatus_(this),
      orvUntaggedVlanDir_(this), orvTaggedVlanDir_(this),
      lagPhyIntfConfig_(lagPhyIntfMapping_, this) {
   shoalStatus_->sysPhyPortIdCollection().watch(orvShoalStatus_.sysPhyPortId);
   shoalStatus_->portMapVersionAttribute().watch(orvShoalStatus_.portMapVersion);
   if (untaggedVlanDir_) {
      untaggedVlanDir_->untaggedVlanCollection().watch(orvUntaggedVlanDir_);
   }
   if (taggedVlanDir_) {
      taggedVlanDir_->taggedVlanCollection().watch(orvTaggedVlanDir_);
   }
   handleInitialized();
}

VlanPhyIntfConfigSm::~VlanPhyIntfConfigSm() = default;

void VlanPhyIntfConfigSm::handleInitialized() {
   SHOAL_TRACE(8, "VlanPhyIntfConfigSm::", __func__);
   ORV_ASSERT(!initialized_, "!initialized()");
   initialized_ = true;
   if (untaggedVlanDir_) {
      for (auto const& [intfId, vlan] : untaggedVlanDir_->untaggedVlanIter()) {
         untaggedVlan_.set(intfId, vlan);
      }
   }
   if (taggedVlanDir_) {
      for (auto const& [member, present] : taggedVlanDir_->taggedVlanIter()) {
         doRecordTagged(member);
      }
   }
   for (Published* published : {&publishedVlans_, &publishedTags_}) {
      published->read();
      published->byPort().forEach(
          [this](IntfId phyIntf, Tags const&) { placed_.set(phyIntf, true); });
   }
   if (shoalStatus_->portMapValid()) {
      handlePortMapVersion();
      return;
   }
   for (auto const& [phyIntf, placed] : placed_.walk()) {
      doUpdatePort(phyIntf);
   }
}

void VlanPhyIntfConfigSm::handlePortMapVersion() {
   SHOAL_TRACE(8, "VlanPhyIntfConfigSm::", __func__);
   if (!shoalStatus_->portMapValid()) {
      return;
   }
   for (auto const& [phyIntf, port] : shoalStatus_->sysPhyPortIdIter()) {
      if (hasPlace(phyIntf)) {
         placed_.set(phyIntf, true);
      }
   }
   for (auto const& [phyIntf, placed] : placed_.walk()) {
      if (!shoalStatus_->portMapValid()) {
         return; // a handler has made it so
      }
      if (!hasPlace(phyIntf)) {
         placed_.del(phyIntf);
      }
      doUpdatePort(phyIntf);
   }
}

void VlanPhyIntfConfigSm::handleSysPhyPortId(IntfId const& phyIntf) {
   SHOAL_TRACE(8, "VlanPhyIntfConfigSm::", __func__, ": intfId: ", phyIntf);
   if (shoalStatus_->portMapValid() && hasPlace(phyIntf) && !placed_.has(phyIntf)) {
      IntfId port = phyIntf;
      placed_.set(port, true);
      doUpdatePort(port);
   }
}

void VlanPhyIntfConfigSm::handleUntaggedVlan(IntfId const& intfId) {
   SHOAL_TRACE(8, "VlanPhyIntfConfigSm::", __func__, ": intfId: ", intfId);
   IntfId changed = intfId;
   VlanIdOrNone previous = untaggedVlan_.get(changed);
   VlanIdOrNone now = untaggedVlanDir_->untaggedVlan(changed);
   if (now.value() == 0) {
      untaggedVlan_.del(changed);
   } else {
      untaggedVlan_.set(changed, now);
   }
   for (IntfId phyIntf : portsOf(lagPhyIntfMapping_, changed)) {
      doUpdateVlan(phyIntf, now.value());
      doUpdateVlan(phyIntf, previous.value());
   }
}

void VlanPhyIntfConfigSm::handleTaggedVlan(Bridging::VlanMember const& member) {
   Bridging::VlanMember changed = member;
   SHOAL_TRACE(8, "VlanPhyIntfConfigSm::", __func__, ": intfId: ", changed.intfId,
               ", vlanId: ", changed.vlanId.value());
   doRecordTagged(changed);
   for (IntfId phyIntf : portsOf(lagPhyIntfMapping_, changed.intfId)) {
      doUpdateVlan(phyIntf, changed.vlanId.value());
   }
}

void VlanPhyIntfConfigSm::handleLagPhyIntf(IntfId lag, IntfId phyIntf) {
   SHOAL_TRACE(8, "VlanPhyIntfConfigSm::", __func__, ": lag: ", lag, ", intfId: ", phyIntf);
   doUpdatePort(phyIntf);
}

void VlanPhyIntfConfigSm::handleSubIntfTags(IntfId subIntf, Bridging::Dot1qEncap previous) {
   SHOAL_TRACE(8, "VlanPhyIntfConfigSm::", __func__, ": intfId: ", subIntf);
   Bridging::Dot1qEncap now = subIntfTags_.tags(subIntf);
   for (IntfId phyIntf : portsOf(lagPhyIntfMapping_, Plexus::SubIntfId::parentIntfId(subIntf))) {
      doUpdateSubIntfTag(phyIntf, now.outer);
      doUpdateSubIntfTag(phyIntf, previous.outer);
   }
}

bool VlanPhyIntfConfigSm::hasPlace(IntfId phyIntf) const {
   return !shoalStatus_->portMap(shoalStatus_->sysPhyPortId(phyIntf)).isNull();
}

IntfId VlanPhyIntfConfigSm::memberOf(IntfId phyIntf) const {
   bool alone = !lagPhyIntfMapping_ || lagPhyIntfMapping_->phyIntfLag(phyIntf) == IntfId();
   return alone ? phyIntf : lagOf(lagPhyIntfMapping_, phyIntf);
}

bool VlanPhyIntfConfigSm::publishesVlan(IntfId phyIntf, uint16_t vlanId) const {
   if (!placed_.has(phyIntf)) {
      return false;
   }
   IntfId member = memberOf(phyIntf);
   if (untaggedVlan_.get(member).value() == vlanId) {
      return true;
   }
   Tags const* tagged = taggedVlans_.find(member);
   return tagged != nullptr && tagged->contains(vlanId);
}

bool VlanPhyIntfConfigSm::publishesSubIntfTag(IntfId phyIntf, uint16_t tag) const {
   if (!placed_.has(phyIntf)) {
      return false;
   }
   IntfId lag = lagOf(lagPhyIntfMapping_, phyIntf);
   return !subIntfTags_.subIntfsOf(phyIntf, tag).empty() ||
          (lag != IntfId() && !subIntfTags_.subIntfsOf(lag, tag).empty());
}

void VlanPhyIntfConfigSm::doRecordTagged(Bridging::VlanMember const& member) {
   if (taggedVlanDir_->taggedVlan(member)) {
      taggedVlans_[member.intfId].insert(member.vlanId.value());
   } else if (Tags* found = taggedVlans_.find(member.intfId)) {
      found->erase(member.vlanId.value());
      if (found->empty()) {
         taggedVlans_.erase(member.intfId);
      }
   }
}

void VlanPhyIntfConfigSm::doUpdateVlan(IntfId phyIntf, uint16_t vlanId) {
   if (vlanId != 0) {
      publishedVlans_.set(phyIntf, vlanId, publishesVlan(phyIntf, vlanId));
   }
}

void VlanPhyIntfConfigSm::doUpdateSubIntfTag(IntfId phyIntf, uint16_t tag) {
   if (tag != 0) {
      publishedTags_.set(phyIntf, tag, publishesSubIntfTag(phyIntf, tag));
   }
}

void VlanPhyIntfConfigSm::doUpdatePort(IntfId phyIntf) {
   IntfId lag = lagOf(lagPhyIntfMapping_, phyIntf);
   IntfId member = memberOf(phyIntf);
   Tags vlans = publishedVlans_.tagsOf(phyIntf);
   if (Tags const* tagged = taggedVlans_.find(member)) {
      vlans.insert(tagged->begin(), tagged->end());
   }
   vlans.insert(untaggedVlan_.get(member).value());
   Tags tags = publishedTags_.tagsOf(phyIntf);
   addKeys(tags, subIntfTags_.subIntfsOf(phyIntf));
   addKeys(tags, subIntfTags_.subIntfsOf(lag));
   // What comes before what goes: a tag that is a VLAN of the port no longer, and that of a
   // sub-interface now, stays in use.
   for (bool comes : {true, false}) {
      for (uint16_t vlanId : vlans) {
         if (publishesVlan(phyIntf, vlanId) == comes) {
            doUpdateVlan(phyIntf, vlanId);
         }
      }
      for (uint16_t tag : tags) {
         if (publishesSubIntfTag(phyIntf, tag) == comes) {
            doUpdateSubIntfTag(phyIntf, tag);
         }
      }
   }
}

void VlanPhyIntfConfigSm::Published::read() {
   for (auto const& [tag, ports] : config_->vlanTagIter()) {
      for (auto const& [phyIntf, present] : ports->phyIntfIter()) {
         byPort_[phyIntf].insert(tag);
      }
   }
}

VlanPhyIntfConfigSm::Tags VlanPhyIntfConfigSm::Published::tagsOf(IntfId phyIntf) const {
   Tags const* found = byPort_.find(phyIntf);
   return found == nullptr ? Tags() : *found;
}

bool VlanPhyIntfConfigSm::Published::has(IntfId phyIntf, uint16_t tag) const {
   Tags const* port = byPort_.find(phyIntf);
   return port != nullptr && port->contains(tag);
}

void VlanPhyIntfConfigSm::Published::set(IntfId phyIntf, uint16_t tag, bool carries) {
   if (carries) {
      if (!byPort_[phyIntf].insert(tag).second) {
         return;
      }
      SHOAL_TRACE(7, "VlanPhyIntfConfigSm: ", phyIntf, " carries ", tag);
      while (has(phyIntf, tag)) {
         auto ports = config_->vlanTagIs(tag); // which notifies, if it makes them
         if (has(phyIntf, tag) && config_->vlanTag(tag) == ports) {
            ports->phyIntfIs(phyIntf);
            return;
         }
      }
      return;
   }
   Tags* port = byPort_.find(phyIntf);
   if (port == nullptr || port->erase(tag) == 0) {
      return;
   }
   if (port->empty()) {
      byPort_.erase(phyIntf);
   }
   SHOAL_TRACE(7, "VlanPhyIntfConfigSm: ", phyIntf, " does not carry ", tag);
   if (auto ports = config_->vlanTag(tag)) {
      ports->phyIntfDel(phyIntf);
   }
   // Looked up again: a handler may have added a port meanwhile.
   if (auto ports = config_->vlanTag(tag); ports && ports->phyIntfs() == 0) {
      config_->vlanTagDel(tag);
   }
}

} // namespace Hardware::ShoalTunnel
