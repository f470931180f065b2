// What the tables of VLAN tags should hold: which ports carry a tag, what it means there, and who
// uses it on a unit. By the facts of the world as they are; only which ports are published depends
// on what went before.
#pragma once

#include "ShoalTunnel/TcamSharingVlanTagMapSm/TcamSharingVlanTagMap.h"
#include "simulate/IsemModel.h"
#include "simulate/PublishedModel.h"

namespace Simulate {

class VlanTagModel {
 public:
   using Tag = uint16_t;
   using Ports = std::set<IntfId>;
   using XlateKey = Hardware::ShoalTunnel::VlanXlateKey;
   using Xlate = Hardware::ShoalTunnel::VlanXlate;
   using Pair = Hardware::ShoalTunnel::VlanTagKey;
   using Users = std::map<XlateKey, Xlate>;

   VlanTagModel(Context& context, PublishedModel const& published, IsemModel const& isem);

   // The VLANs or the internal VLAN of a port or port-channel.
   void interfaceChanged(IntfId intf);
   void subIntfChanged(IntfId subIntf);
   void membershipChanged(IntfId port) { changed_.add(port); }
   void systemPortChanged(IntfId port);
   void portMapVersionChanged();
   void portsMachineRestarts();

   // Brings the tables up to the events. Before that they are those of an earlier moment.
   void update();

   Table<Tag, Ports> const& vlans() const { return vlans_; }
   Table<Tag, Ports> const& subIntfTags() const { return subIntfTags_; }
   Table<XlateKey, Xlate> const& meanings() const { return meanings_; }
   // By unit, tag and domain: the ports, with what the tag means there.
   Table<Pair, Users> const& users() const { return users_; }
   // It is the tag of a sub-interface in its domain, and a VLAN of a port there.
   bool collide(Pair const& pair) const;
   // The sub-interfaces for which the shared entry of this tag is.
   std::set<IntfId> subIntfsOfEntry(Pair const& pair) const;
   // Where the tag of a port's sub-interface counts; the null unit: nowhere.
   Pair pairOf(IntfId subIntf) const;
   static bool isSubIntfOf(XlateKey const& key, Xlate const& meaning);

 private:
   struct Carried {
      std::set<Tag> vlans;
      std::set<Tag> subIntfTags;
      std::map<Tag, Pair> pairs; // of each tag that means something
   };

   World const& world() const { return context_.world; }
   // Whose list of members has the port; the empty interface: none has.
   IntfId lagOf(IntfId port) const;
   Ports portsOf(IntfId portOrLag) const;
   Bridging::Dot1qEncap tagsOf(IntfId subIntf) const;
   // By outer tag, those of the port and of its port-channel.
   std::map<Tag, std::vector<IntfId>> subIntfsAt(IntfId port) const;
   std::set<Tag> vlansAt(IntfId port) const;
   // Of a port with these VLANs and sub-interfaces.
   std::map<Tag, Xlate> meaningsAt(IntfId port, std::set<Tag> const& vlans,
                                   std::map<Tag, std::vector<IntfId>> const& subIntfsByTag) const;
   void update(IntfId port);
   void use(Pair const& pair, XlateKey key, Xlate const& meaning);
   void erase(Pair const& pair, XlateKey key);

   Context& context_;
   PublishedModel const& published_;
   IsemModel const& isem_;
   std::map<IntfId, std::vector<IntfId>> subIntfsOf_; // by parent
   std::set<IntfId> placed_;                          // those that are published
   std::map<IntfId, Carried> carried_;
   Touched<IntfId> changed_;
   Table<Tag, Ports> vlans_;
   Table<Tag, Ports> subIntfTags_;
   Table<XlateKey, Xlate> meanings_;
   Table<Pair, Users> users_;
};

} // namespace Simulate
