// The tags of all sub-interfaces, as in force: assigned at run time or, without such, configured.
//
// Notifies its follower of each sub-interface whose tags changed, after the change. Null
// directories read as empty. Event thread only.
#pragma once

#include "platform/Interface/SubIntf.h"
#include "platform/Orv/IndexedMap.h"
#include "ShoalTunnel/Export.h"

#include <map>
#include <memory>
#include <set>

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT SubIntfTags {
 public:
   class Follower {
    public:
      virtual void handleSubIntfTags(Plexus::IntfId subIntf, Bridging::Dot1qEncap previous) = 0;

    protected:
      ~Follower() = default;
   };

   // The follower has to outlive this object. It is not notified of the tags that there are.
   SubIntfTags(Orv::Ptr<Interface::SubIntfConfigDir const> subIntfConfigDir,
               Orv::Ptr<Interface::SubIntfDynDot1qEncap const> dynSubIntfEncap, Follower& follower);

   // Zero: none.
   Bridging::Dot1qEncap tags(Plexus::IntfId subIntf) const { return tags_.get(subIntf); }
   // The sub-interfaces with one outer tag; mostly one, which takes no memory of its own.
   class TCAM_SHARING_EXPORT SameTag {
    public:
      bool empty() const { return lowest() == Plexus::IntfId(); }
      // The one with the lowest id; the empty interface: there is none.
      Plexus::IntfId lowest() const { return several_ ? *several_->subIntfs.begin() : only_; }
      // Two have the same inner tag; one here has that of one there.
      bool repeats() const { return several_ && several_->repeated != 0; }
      bool meets(SameTag const& other) const;
      void add(Plexus::IntfId subIntf, uint16_t inner);
      void remove(Plexus::IntfId subIntf, uint16_t inner);

    private:
      struct Several {
         std::set<Plexus::IntfId> subIntfs;
         std::map<uint16_t, uint32_t> inner; // how many have each inner tag
         uint32_t repeated = 0;              // inner tags that more than one has
      };
      std::size_t tags() const { return several_ ? several_->inner.size() : empty() ? 0 : 1; }
      bool has(uint16_t inner) const {
         return several_ ? several_->inner.contains(inner) : !empty() && inner_ == inner;
      }
      void addToSeveral(Plexus::IntfId subIntf, uint16_t inner);

      Plexus::IntfId only_; // if there is one, with its inner tag
      uint16_t inner_ = 0;
      std::unique_ptr<Several> several_; // if there were more
   };
   // Those of a port or port-channel, by their outer tag.
   using ByTag = std::map<uint16_t, SameTag>;
   ByTag const& subIntfsOf(Plexus::IntfId parent) const;
   SameTag const& subIntfsOf(Plexus::IntfId parent, uint16_t outer) const;

   // The configuration of the sub-interface was added, replaced or removed.
   void handleSubIntfConfig(Plexus::IntfId const& subIntf);
   // Its tags may have changed.
   void handleTags(Plexus::IntfId const& subIntf);

 private:
   class OrvSubIntfConfig : public Orv::Reactor<>, public Orv::RefCounted {
    public:
      OrvSubIntfConfig(Plexus::IntfId subIntf,
                       Orv::Ptr<Interface::SubIntfConfig const> const& config, SubIntfTags* tags)
          : subIntf_(subIntf), tags_(tags) {
         config->dot1qEncapAttribute().watch(*this);
      }
      void handle() override { tags_->handleTags(subIntf_); }

    private:
      Plexus::IntfId subIntf_;
      SubIntfTags* tags_;
   };
   using OrvSubIntfConfigDir = Orv::ReactorFor<&SubIntfTags::handleSubIntfConfig>;
   using OrvDynSubIntfEncap = Orv::ReactorFor<&SubIntfTags::handleTags>;

   Bridging::Dot1qEncap inForce(Plexus::IntfId subIntf) const;
   // Returns the tags before.
   Bridging::Dot1qEncap doRecord(Plexus::IntfId subIntf);

   Orv::Ptr<Interface::SubIntfConfigDir const> subIntfConfigDir_;
   Orv::Ptr<Interface::SubIntfDynDot1qEncap const> dynSubIntfEncap_;
   Follower& follower_;
   Orv::KeyedByIndex<Plexus::IntfId, Bridging::Dot1qEncap> tags_; // those with tags
   Orv::IndexedMap<Plexus::IntfId, ByTag> byParent_;
   OrvSubIntfConfigDir orvSubIntfConfigDir_;
   OrvDynSubIntfEncap orvDynSubIntfEncap_;
   Orv::KeyedByIndex<Plexus::IntfId, Orv::Ptr<OrvSubIntfConfig>> subIntfConfig_;
};

} // namespace Hardware::ShoalTunnel
