#include "ShoalTunnel/TcamSharingVlanTagMapSm/SubIntfTags.h"

namespace Hardware::ShoalTunnel {

using Bridging::Dot1qEncap;
using Plexus::IntfId;

SubIntfTags::SubIntfTags(Orv::Ptr<Interface::SubIntfConfigDir const> subIntfConfigDir,
                         Orv::Ptr<Interface::SubIntfDynDot1qEncap const> dynSubIntfEncap,
                         Follower& follower)
    : subIntfConfigDir_(std::move(subIntfConfigDir)), dynSubIntfEncap_(std::move(dynSubIntfEncap)),
      follower_(follower), orvSubIntfConfigDir_(this), orvDynSubIntfEncap_(this) {
   if (dynSubIntfEncap_) {
      dynSubIntfEncap_->dot1qEncapCollection().watch(orvDynSubIntfEncap_);
   }
   if (subIntfConfigDir_) {
      subIntfConfigDir_->subIntfConfigCollection().watch(orvSubIntfConfigDir_);
      for (auto const& [subIntf, config] : subIntfConfigDir_->subIntfConfigIter()) {
         subIntfConfig_.set(subIntf, Orv::make<OrvSubIntfConfig>(subIntf, config, this));
         doRecord(subIntf);
      }
   }
}

Dot1qEncap SubIntfTags::inForce(IntfId subIntf) const {
   auto config = subIntfConfigDir_ ? subIntfConfigDir_->subIntfConfig(subIntf) : nullptr;
   if (!config) {
      return {};
   }
   Dot1qEncap assigned = dynSubIntfEncap_ ? dynSubIntfEncap_->dot1qEncap(subIntf) : Dot1qEncap();
   return assigned.isZero() ? config->dot1qEncap() : assigned;
}

SubIntfTags::ByTag const& SubIntfTags::subIntfsOf(IntfId parent) const {
   static ByTag const none;
   auto found = byParent_.find(parent);
   return found == byParent_.end() ? none : found->second;
}

SubIntfTags::SameTag const& SubIntfTags::subIntfsOf(IntfId parent, uint16_t outer) const {
   static SameTag const none;
   ByTag const& byTag = subIntfsOf(parent);
   auto found = byTag.find(outer);
   return found == byTag.end() ? none : found->second;
}

void SubIntfTags::handleSubIntfConfig(IntfId const& subIntf) {
   if (auto config = subIntfConfigDir_->subIntfConfig(subIntf)) {
      subIntfConfig_.set(subIntf, Orv::make<OrvSubIntfConfig>(subIntf, config, this));
   } else {
      subIntfConfig_.del(subIntf);
   }
   handleTags(subIntf);
}

void SubIntfTags::handleTags(IntfId const& subIntf) {
   IntfId changed = subIntf;
   if (Dot1qEncap previous = doRecord(changed); previous != tags(changed)) {
      follower_.handleSubIntfTags(changed, previous);
   }
}

Dot1qEncap SubIntfTags::doRecord(IntfId subIntf) {
   Dot1qEncap previous = tags(subIntf);
   Dot1qEncap now = inForce(subIntf);
   if (now == previous) {
      return previous;
   }
   IntfId parent = Plexus::SubIntfId::parentIntfId(subIntf);
   if (!previous.isZero()) {
      auto byTag = byParent_.find(parent);
      auto sameTag = byTag->second.find(previous.outer);
      auto inner = sameTag->second.inner.find(previous.inner);
      sameTag->second.repeated -= --inner->second == 1 ? 1 : 0;
      if (inner->second == 0) {
         sameTag->second.inner.erase(inner);
      }
      sameTag->second.subIntfs.erase(subIntf);
      if (sameTag->second.subIntfs.empty()) {
         byTag->second.erase(sameTag);
      }
      if (byTag->second.empty()) {
         byParent_.erase(byTag);
      }
      tags_.del(subIntf);
   }
   if (!now.isZero()) {
      SameTag& sameTag = byParent_[parent][now.outer];
      sameTag.subIntfs.insert(subIntf);
      sameTag.repeated += ++sameTag.inner[now.inner] == 2 ? 1 : 0;
      tags_.set(subIntf, now);
   }
   return previous;
}

} // namespace Hardware::ShoalTunnel
