#include "ShoalTunnel/TcamSharingVlanTagMapSm/SubIntfTags.h"

#include <algorithm>

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

void SubIntfTags::SameTag::addToSeveral(IntfId subIntf, uint16_t inner) {
   several_->subIntfs.insert(subIntf);
   several_->repeated += ++several_->inner[inner] == 2 ? 1 : 0;
}

void SubIntfTags::SameTag::add(IntfId subIntf, uint16_t inner) {
   if (several_ == nullptr && empty()) {
      only_ = subIntf;
      inner_ = inner;
      return;
   }
   if (several_ == nullptr) {
      several_ = std::make_unique<Several>();
      addToSeveral(only_, inner_);
   }
   addToSeveral(subIntf, inner);
}

void SubIntfTags::SameTag::remove(IntfId subIntf, uint16_t inner) {
   if (several_ == nullptr) {
      only_ = IntfId();
      return;
   }
   several_->subIntfs.erase(subIntf);
   auto count = several_->inner.find(inner);
   several_->repeated -= --count->second == 1 ? 1 : 0;
   if (count->second == 0) {
      several_->inner.erase(count);
   }
   if (several_->subIntfs.size() == 1) {
      only_ = *several_->subIntfs.begin();
      inner_ = several_->inner.begin()->first;
      several_.reset();
   }
}

bool SubIntfTags::SameTag::meets(SameTag const& other) const {
   if (tags() > other.tags()) {
      return other.meets(*this);
   }
   if (several_ == nullptr) {
      return !empty() && other.has(inner_);
   }
   return std::any_of(several_->inner.begin(), several_->inner.end(),
                      [&](auto const& each) { return other.has(each.first); });
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
   ByTag const* found = byParent_.find(parent);
   return found == nullptr ? none : *found;
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
      ByTag& byTag = *byParent_.find(parent);
      auto sameTag = byTag.find(previous.outer);
      sameTag->second.remove(subIntf, previous.inner);
      if (sameTag->second.empty()) {
         byTag.erase(sameTag);
      }
      if (byTag.empty()) {
         byParent_.erase(parent);
      }
      tags_.del(subIntf);
   }
   if (!now.isZero()) {
      byParent_[parent][now.outer].add(subIntf, now.inner);
      tags_.set(subIntf, now);
   }
   return previous;
}

} // namespace Hardware::ShoalTunnel
