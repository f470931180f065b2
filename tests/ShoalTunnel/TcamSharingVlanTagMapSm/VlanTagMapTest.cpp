// The three machines of the VLAN tag map, one behind the other, beside what the facts say.
#include "ShoalTunnel/TcamSharingVlanTagMapSm/TcamSharingVlanTagMapSm.h"
#include "ShoalTunnel/TcamSharingVlanTagMapSm/VlanPhyIntfConfigSm.h"
#include "ShoalTunnel/TcamSharingVlanTagMapSm/VlanXlateStatusSm.h"

#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>
#include <sstream>

namespace Hardware::ShoalTunnel {
namespace {

using Bridging::VlanIdOrNone;
using Plexus::IntfId;
using Shoal::FapId;
using Shoal::VlanDomain;
using testing::ElementsAre;

IntfId port(int i) {
   return IntfId("Ethernet" + std::to_string(i));
}
IntfId lag(int i) {
   return IntfId("PortChannel" + std::to_string(i));
}
IntfId sub(IntfId parent, int i) {
   return IntfId(parent.name() + "." + std::to_string(i));
}

class VlanTagMapTest : public testing::Test {
 public:
   static constexpr int kPorts = 4;

   VlanTagMapTest() {
      for (int i = 0; i < kPorts; ++i) {
         place(i, true);
         fap->intfToFapIs(port(i), FapId(1));
         domain->vlanDomainIs(port(i), VlanDomain(static_cast<uint8_t>(1 + i % 2)));
      }
      for (int i : {1, 2}) {
         lags->lagPhyIntfConfigIs(lag(i));
      }
      start();
   }
   void start(int machine = -1) {
      if (machine <= 0) {
         ports = nullptr;
         ports = Orv::make<VlanPhyIntfConfigSm>(status, configs, assigned, lags, untagged, tagged,
                                                vlanPorts, tagPorts);
      }
      if (machine == 1 || machine == -1) {
         xlate = nullptr;
         xlate = Orv::make<VlanXlateStatusSm>(vlanPorts, tagPorts, configs, assigned, lags,
                                              internal, meanings);
      }
      if (machine == 2 || machine == -1) {
         map = nullptr;
         map = Orv::make<TcamSharingVlanTagMapSm>(fap, domain, common, meanings, pairs);
      }
   }
   void place(int i, bool present) {
      auto number = static_cast<uint16_t>(i + 1);
      Shoal::SystemPhyPortId systemPort(number);
      status->portMapIs(systemPort, present ? Shoal::PortMap{FapId(1), number} : Shoal::PortMap());
      status->sysPhyPortIdIs(port(i), systemPort);
   }
   void version() { status->portMapVersionIs(status->portMapVersion() + 1); }
   void join(int l, int i) {
      lags->phyIntfLagIs(port(i), lag(l));
      lags->lagPhyIntfConfigIs(lag(l))->phyIntfIs(port(i));
   }
   void leave(int i) {
      IntfId of = lags->phyIntfLag(port(i));
      lags->phyIntfLagDel(port(i));
      if (auto members = lags->lagPhyIntfConfig(of)) {
         members->phyIntfDel(port(i));
      }
   }
   // 0: none.
   void tags(IntfId subIntf, uint16_t outer, uint16_t inner = 0) {
      if (outer == 0) {
         configs->subIntfConfigDel(subIntf);
         return;
      }
      auto config = configs->subIntfConfig(subIntf);
      if (!config) {
         config = Orv::make<Interface::SubIntfConfig>();
         config->dot1qEncapIs({outer, inner});
         configs->subIntfConfigIs(subIntf, config);
      }
      config->dot1qEncapIs({outer, inner});
   }
   void vlan(IntfId intf, uint32_t vlanId, bool present = true) {
      tagged->taggedVlanIs({intf, VlanIdOrNone(vlanId)}, present);
   }
   void entry(TcamSharingRequest request, uint32_t tag, uint8_t vlanDomain) {
      if (tag == 0) {
         common->tcamRequestToIsemKeyMappingDel(request);
         return;
      }
      AradISemKeyTcamSharing key{Bridging::VlanId(tag), VlanDomain(vlanDomain)};
      common->tcamRequestToIsemKeyMappingIs(request, {key.key(), request.fapId()});
   }

   // "5/2: Ethernet1+v, Ethernet3+s !", a line for each pair (tag/domain of unit 1), in order:
   // s: a sub-interface's tag there, v: a VLAN, r: an internal VLAN, x: they collide on the port,
   // !: in the domain. Requests as their interface.
   std::string published() const {
      std::map<VlanTagKey, std::string> lines;
      for (auto const& [pair, users] : pairs->vlanTagIter()) {
         std::set<std::string> names;
         for (auto const& [key, present] : users->xlateIter()) {
            VlanXlate meaning = meanings->vlanXlate(key);
            names.insert(key.phyIntf.name() + "+" + (meaning.subIntf != IntfId() ? "s" : "") +
                         (meaning.vlan.value() != 0 ? "v" : "") +
                         (meaning.routedPort != IntfId() ? "r" : "") +
                         (meaning.collision ? "x" : ""));
         }
         for (auto const& [request, present] : users->requestIter()) {
            names.insert(request.intfId().name());
         }
         std::string& line = lines[pair];
         for (std::string const& name : names) {
            line += " " + name;
         }
         line += pairs->collision(pair) ? " !" : "";
      }
      return text(lines);
   }
   static std::string text(std::map<VlanTagKey, std::string> const& lines) {
      std::ostringstream out;
      for (auto const& [pair, line] : lines) {
         out << (pair.fapId == FapId(1) ? "" : "other unit ") << pair.vlanTag << "/"
             << +pair.vlanDomain.value() << ":" << line << "\n";
      }
      return out.str();
   }

   Orv::Ptr<Shoal::Status> status = Orv::make<Shoal::Status>();
   Orv::Ptr<Interface::SubIntfConfigDir> configs = Orv::make<Interface::SubIntfConfigDir>();
   Orv::Ptr<Interface::SubIntfDynDot1qEncap> assigned =
       Orv::make<Interface::SubIntfDynDot1qEncap>();
   Orv::Ptr<Lag::LagPhyIntfMapping> lags = Orv::make<Lag::LagPhyIntfMapping>();
   Orv::Ptr<Bridging::UntaggedVlanDir> untagged = Orv::make<Bridging::UntaggedVlanDir>();
   Orv::Ptr<Bridging::TaggedVlanDir> tagged = Orv::make<Bridging::TaggedVlanDir>();
   Orv::Ptr<IntfVlanId::Table> internal = Orv::make<IntfVlanId::Table>();
   Orv::Ptr<IntfToFapIdStatus> fap = Orv::make<IntfToFapIdStatus>();
   Orv::Ptr<IntfToVlanDomainStatus> domain = Orv::make<IntfToVlanDomainStatus>();
   Orv::Ptr<TcamSharingSemCommon> common = Orv::make<TcamSharingSemCommon>("test");

   Orv::Ptr<VlanPhyIntfConfig> vlanPorts = Orv::make<VlanPhyIntfConfig>();
   Orv::Ptr<VlanPhyIntfConfig> tagPorts = Orv::make<VlanPhyIntfConfig>();
   Orv::Ptr<VlanXlateStatus> meanings = Orv::make<VlanXlateStatus>();
   Orv::Ptr<TcamSharingVlanTagMap> pairs = Orv::make<TcamSharingVlanTagMap>();
   Orv::Ptr<VlanPhyIntfConfigSm> ports;
   Orv::Ptr<VlanXlateStatusSm> xlate;
   Orv::Ptr<TcamSharingVlanTagMapSm> map;
};

TEST_F(VlanTagMapTest, WhatATagMeansAndWhereItCollides) {
   tags(sub(port(0), 1), 5);
   EXPECT_EQ(published(), "5/1: Ethernet0+s\n");
   // A VLAN of that number, in another domain, then in the same on another port.
   vlan(port(1), 5);
   EXPECT_EQ(published(), "5/1: Ethernet0+s\n5/2: Ethernet1+v\n");
   vlan(port(2), 5);
   EXPECT_EQ(published(), "5/1: Ethernet0+s Ethernet2+v !\n5/2: Ethernet1+v\n");
   vlan(port(2), 5, false);
   vlan(port(1), 5, false);
   // One inner tag each: no collision. The same tags twice: one.
   tags(sub(port(0), 2), 5, 7);
   EXPECT_EQ(published(), "5/1: Ethernet0+s\n");
   assigned->dot1qEncapIs(sub(port(0), 2), {5, 0});
   EXPECT_EQ(published(), "5/1: Ethernet0+sx\n");
   assigned->dot1qEncapDel(sub(port(0), 2));
   internal->internalVlanIdIs(port(0), VlanIdOrNone(5));
   EXPECT_EQ(published(), "5/1: Ethernet0+srx\n");
   internal->internalVlanIdIs(port(0), VlanIdOrNone(6));
   untagged->untaggedVlanIs(port(0), VlanIdOrNone(6));
   EXPECT_EQ(published(), "5/1: Ethernet0+s\n6/1: Ethernet0+vrx\n");
}

// Its entry is in the domain of the port-channel, which only the entry tells.
TEST_F(VlanTagMapTest, ASubInterfaceOfAPortChannelCollidesThroughItsEntry) {
   join(1, 0);
   tags(sub(lag(1), 1), 5);
   vlan(port(1), 5);
   vlan(port(2), 5);
   EXPECT_EQ(published(), "5/1: Ethernet0+s Ethernet2+v\n5/2: Ethernet1+v\n");
   TcamSharingRequest request(sub(lag(1), 1), FapId(1));
   entry(request, 5, 2);
   EXPECT_EQ(published(), "5/1: Ethernet0+s Ethernet2+v\n5/2: Ethernet1+v PortChannel1.1 !\n");
   start(2);
   EXPECT_EQ(published(), "5/1: Ethernet0+s Ethernet2+v\n5/2: Ethernet1+v PortChannel1.1 !\n");
   entry(request, 0, 0);
   EXPECT_EQ(published(), "5/1: Ethernet0+s Ethernet2+v\n5/2: Ethernet1+v\n");
}

TEST_F(VlanTagMapTest, PortsWithoutADomainShareNone) {
   tags(sub(port(0), 1), 5);
   vlan(port(2), 5);
   for (int i : {0, 2}) {
      domain->vlanDomainDel(port(i));
   }
   EXPECT_EQ(published(), "5/0: Ethernet0+s Ethernet2+v\n");
   for (int i : {0, 2}) {
      domain->vlanDomainIs(port(i), VlanDomain(3));
   }
   EXPECT_EQ(published(), "5/3: Ethernet0+s Ethernet2+v !\n");
   // A new machine counts all users before it tells of collisions.
   struct Changes : Orv::Reactor<VlanTagKey> {
      void handle(VlanTagKey const&) override { ++count; }
      int count = 0;
   } changes;
   pairs->collisionCollection().watch(changes);
   start(2);
   EXPECT_EQ(changes.count, 0);
}

TEST_F(VlanTagMapTest, APairComesAlongAndGoesWithItsLastUser) {
   TcamSharingRequest request(sub(port(0), 1), FapId(1));
   tags(sub(port(0), 1), 5);
   entry(request, 5, 1);
   EXPECT_EQ(published(), "5/1: Ethernet0+s Ethernet0.1\n");
   domain->vlanDomainIs(port(0), VlanDomain(9));
   EXPECT_EQ(published(), "5/1: Ethernet0.1\n5/9: Ethernet0+s\n");
   entry(request, 5, 9);
   EXPECT_EQ(published(), "5/9: Ethernet0+s Ethernet0.1\n");
   fap->intfToFapIs(port(0), FapId(2));
   EXPECT_EQ(published(), "5/9: Ethernet0.1\nother unit 5/9: Ethernet0+s\n");
   fap->intfToFapDel(port(0));
   entry(request, 0, 0);
   EXPECT_EQ(published(), "");
}

// The pairs that went.
struct Removals : Orv::Reactor<VlanTagKey> {
   explicit Removals(TcamSharingVlanTagMap const& of) : map(of) {
      map.vlanTagCollection().watch(*this);
   }
   void handle(VlanTagKey const& pair) override {
      if (!map.vlanTag(pair)) {
         tags.push_back(pair.vlanTag);
      }
   }
   TcamSharingVlanTagMap const& map;
   std::vector<uint16_t> tags;
};

// In both directions: the VLAN becomes the tag of a sub-interface, and back.
TEST_F(VlanTagMapTest, APairStaysWhileItsTagChangesItsMeaning) {
   vlan(port(0), 5);
   tags(sub(lag(1), 1), 5);
   Removals removals(*pairs);
   join(1, 0);
   EXPECT_EQ(published(), "5/1: Ethernet0+s\n");
   leave(0);
   EXPECT_EQ(published(), "5/1: Ethernet0+v\n");
   EXPECT_THAT(removals.tags, ElementsAre());
}

// While the port map is being rewritten, nothing goes; with its version, what is gone.
TEST_F(VlanTagMapTest, AVersionTakesNothingFromWhatStays) {
   for (int i : {0, 1}) {
      tags(sub(port(i), 1), 5);
      vlan(port(i), 7);
   }
   std::string const before = published();
   Removals removals(*pairs);
   status->portMapValidIs(false);
   place(0, false);
   place(1, false);
   version();
   EXPECT_EQ(published(), before);
   place(1, true);
   status->portMapValidIs(true);
   EXPECT_EQ(published(), before);
   version();
   EXPECT_EQ(published(), "5/2: Ethernet1+s\n7/2: Ethernet1+v\n");
   EXPECT_THAT(removals.tags, ElementsAre(7, 5));
   // A machine that is built again keeps what is still so, and removes what is not.
   for (int machine : {0, 1, 2, -1}) {
      removals.tags.clear();
      start(machine);
      EXPECT_THAT(removals.tags, ElementsAre());
   }
   map = nullptr;
   xlate = nullptr;
   ports = nullptr;
   tags(sub(port(1), 1), 6);
   vlan(port(1), 6);
   start();
   EXPECT_EQ(published(), "6/2: Ethernet1+svx !\n7/2: Ethernet1+v\n");
}

// A handler that undoes a change while it is being published.
TEST_F(VlanTagMapTest, AHandlerMayUndoWhatItIsToldOf) {
   tags(sub(port(0), 1), 5);
   struct Undo : Orv::Reactor<VlanTagKey> {
      void handle(VlanTagKey const& pair) override {
         if (pair.vlanTag == at && pair.vlanDomain == VlanDomain(9)) {
            at = 0;
            undo();
         }
      }
      uint16_t at = 0;
      std::function<void()> undo;
   } handler;
   pairs->vlanTagCollection().watch(handler);
   TcamSharingRequest request(sub(port(1), 1), FapId(1));
   entry(request, 5, 1);
   std::string const before = published();
   handler.undo = [&] { domain->vlanDomainIs(port(0), VlanDomain(1)); };
   handler.at = 5;
   domain->vlanDomainIs(port(0), VlanDomain(9));
   EXPECT_EQ(published(), before);
   handler.undo = [&] { entry(request, 5, 1); };
   handler.at = 5;
   entry(request, 5, 9);
   EXPECT_EQ(published(), before);
   tags(sub(port(0), 1), 0);
   entry(request, 0, 0);
   EXPECT_EQ(published(), "");
}

// Random facts; what is published is compared with what they say. Now and then a handler of what is
// published changes a fact, too.
class VlanTagMapHistory : public VlanTagMapTest {
 public:
   VlanTagMapHistory() {
      pairs->vlanTagCollection().watch(onPair_);
      meanings->vlanXlateCollection().watch(onMeaning_);
      vlanPorts->vlanTagCollection().watch(onTag_);
      tagPorts->vlanTagCollection().watch(onSubIntfTag_);
   }
   void interfere() {
      if (depth_ == 1 && draw(6) == 0) {
         ++depth_;
         if (draw(10) == 0) {
            renewPort(anyPort());
         } else {
            change(draw(9));
         }
         --depth_;
      }
   }
   void step() {
      ++depth_;
      change(draw(11));
      --depth_;
   }
   void change(uint32_t what) {
      switch (what) {
      case 0:
      case 1:
         tags(anySub(), anyTag(), static_cast<uint16_t>(draw(2)));
         break;
      case 2:
         if (uint16_t tag = anyTag(); tag != 0) {
            assigned->dot1qEncapIs(anySub(), {tag, 0});
         } else {
            assigned->dot1qEncapDel(anySub());
         }
         break;
      case 3:
         vlan(anyIntf(), 1 + draw(3), draw(2) == 0);
         break;
      case 4:
         untagged->untaggedVlanIs(anyIntf(), VlanIdOrNone(anyTag()));
         break;
      case 5:
         internal->internalVlanIdIs(anyIntf(), VlanIdOrNone(anyTag()));
         break;
      case 6:
         if (draw(6) == 0) {
            deleteLag(lag(1 + static_cast<int>(draw(2))));
         } else if (int i = anyPort(); lags->phyIntfLagHas(port(i))) {
            leave(i);
         } else {
            join(1 + static_cast<int>(draw(2)), i);
         }
         break;
      case 7:
         if (draw(3) != 0) {
            domain->vlanDomainIs(port(anyPort()), VlanDomain(static_cast<uint8_t>(draw(3))));
         } else if (uint32_t unit = draw(3); unit != 0) {
            fap->intfToFapIs(port(anyPort()), FapId(unit));
         } else {
            fap->intfToFapDel(port(anyPort()));
         }
         break;
      case 8:
         entry({anySub(), FapId(1 + draw(2))}, anyTag(), static_cast<uint8_t>(draw(3)));
         break;
      case 9:
         movePort();
         break;
      default:
         rebuild(static_cast<int>(draw(4)) - 1);
      }
   }
   std::string expected() const {
      std::map<VlanTagKey, std::set<std::string>> users;
      std::map<VlanTagKey, std::set<char>> kinds;
      for (int i = 0; i < kPorts; ++i) {
         IntfId of = lags->phyIntfLag(port(i));
         for (uint16_t tag = 1; tag < 4; ++tag) {
            std::string meaning = meaningOf(i, of, tag);
            if (!meaning.empty() && fap->intfToFapHas(port(i))) {
               VlanTagKey pair{fap->intfToFap(port(i)), tag, domain->vlanDomain(port(i))};
               users[pair].insert(port(i).name() + "+" + meaning);
               std::set<char> kindsHere(meaning.begin(), meaning.end());
               if (auto subIntfs = subIntfsOf(i, of, tag);
                   !subIntfs.empty() &&
                   Plexus::SubIntfId::parentIntfId(subIntfs.begin()->first) != port(i)) {
                  kindsHere.erase('s'); // it counts through its request
               }
               kinds[pair].merge(kindsHere);
            }
         }
      }
      for (auto const& [request, key] : common->tcamRequestToIsemKeyMappingIter()) {
         AradISemKeyTcamSharing fields(key.key());
         VlanTagKey pair{key.fapId(), fields.vlanId(), fields.vlanDomain()};
         users[pair].insert(request.intfId().name());
         kinds[pair].insert('s');
      }
      std::map<VlanTagKey, std::string> lines;
      for (auto const& [pair, names] : users) {
         for (std::string const& name : names) {
            lines[pair] += " " + name;
         }
         bool both = kinds[pair].contains('s') && kinds[pair].contains('v');
         lines[pair] += both && pair.vlanDomain != VlanDomain() ? " !" : "";
      }
      return text(lines);
   }

 private:
   // Those of the port and of its port-channel that have the tag.
   std::map<IntfId, Bridging::Dot1qEncap> subIntfsOf(int i, IntfId of, uint16_t tag) const {
      std::map<IntfId, Bridging::Dot1qEncap> found;
      for (IntfId parent : {port(i), of}) {
         for (int s = 1; s < 4 && parent != IntfId(); ++s) {
            auto config = configs->subIntfConfig(sub(parent, s));
            if (!config) {
               continue;
            }
            auto atRunTime = assigned->dot1qEncap(sub(parent, s));
            auto encap = atRunTime.isZero() ? config->dot1qEncap() : atRunTime;
            if (encap.outer == tag) {
               found[sub(parent, s)] = encap;
            }
         }
      }
      return found;
   }
   std::string meaningOf(int i, IntfId of, uint16_t tag) const {
      std::multiset<Bridging::Dot1qEncap> encaps;
      for (auto const& [subIntf, encap] : subIntfsOf(i, of, tag)) {
         encaps.insert(encap);
      }
      IntfId member = of == IntfId() ? port(i) : of;
      bool carries = untagged->untaggedVlan(member).value() == tag ||
                     tagged->taggedVlan({member, VlanIdOrNone(tag)});
      bool routed = internal->internalVlanId(port(i)).value() == tag ||
                    (of != IntfId() && internal->internalVlanId(of).value() == tag);
      std::string meaning;
      if (placed_.contains(i)) {
         meaning += encaps.empty() ? "" : "s";
         meaning += carries ? "v" : "";
      }
      meaning += routed ? "r" : "";
      bool twice = std::any_of(encaps.begin(), encaps.end(),
                               [&](auto const& encap) { return encaps.count(encap) > 1; });
      bool seen = meaning.starts_with("s");
      return meaning + (meaning.size() > 1 || (seen && twice) ? "x" : "");
   }
   void movePort() {
      int i = anyPort();
      switch (draw(4)) {
      case 0:
         status->portMapValidIs(!status->portMapValid());
         break;
      case 1:
         version();
         if (status->portMapValid()) {
            placedAtVersion();
         }
         break;
      case 2:
         place(i, false);
         break;
      default:
         renewPort(i);
      }
   }
   void renewPort(int i) {
      status->sysPhyPortIdDel(port(i));
      place(i, true);
      if (status->portMapValid()) {
         placed_.insert(i);
      }
   }
   // Its ports leave, and its list with the last members in it.
   void deleteLag(IntfId of) {
      for (int i = 0; i < kPorts; ++i) {
         if (lags->phyIntfLag(port(i)) == of) {
            lags->phyIntfLagDel(port(i));
         }
      }
      lags->lagPhyIntfConfigDel(of);
   }
   // Facts may change while a machine is away.
   void rebuild(int machine) {
      if (machine <= 0) {
         ports = nullptr;
      }
      if (machine == 1 || machine == -1) {
         xlate = nullptr;
      }
      if (machine == 2 || machine == -1) {
         map = nullptr;
      }
      change(draw(9));
      if (machine <= 0 && status->portMapValid()) {
         placedAtVersion();
      } else if (machine <= 0) {
         // The new machine knows of the ports that are published.
         std::erase_if(placed_, [&](int i) {
            for (uint16_t tag = 1; tag < 4; ++tag) {
               if (vlanPorts->carries(port(i), tag) || tagPorts->carries(port(i), tag)) {
                  return false;
               }
            }
            return true;
         });
      }
      start(machine);
   }
   void placedAtVersion() {
      placed_.clear();
      for (int i = 0; i < kPorts; ++i) {
         if (!status->portMap(status->sysPhyPortId(port(i))).isNull()) {
            placed_.insert(i);
         }
      }
   }
   uint32_t draw(uint32_t bound) { return static_cast<uint32_t>(random_()) % bound; }
   int anyPort() { return static_cast<int>(draw(kPorts)); }
   uint16_t anyTag() { return static_cast<uint16_t>(draw(4)); }
   IntfId anyIntf() { return draw(3) == 0 ? lag(1 + static_cast<int>(draw(2))) : port(anyPort()); }
   IntfId anySub() { return sub(anyIntf(), 1 + static_cast<int>(draw(3))); }

   std::mt19937 random_{7};
   int depth_ = 0;
   std::set<int> placed_{0, 1, 2, 3};

   template<class Key>
   struct Interference : Orv::Reactor<Key> {
      explicit Interference(VlanTagMapHistory* history) : of(history) {}
      void handle(Key const&) override { of->interfere(); }
      VlanTagMapHistory* of;
   };
   Interference<VlanTagKey> onPair_{this};
   Interference<VlanXlateKey> onMeaning_{this};
   Interference<uint16_t> onTag_{this};
   Interference<uint16_t> onSubIntfTag_{this};
};

TEST_F(VlanTagMapHistory, WhatIsPublishedIsWhatTheFactsSay) {
   for (int i = 0; i < 4000; ++i) {
      step();
      ASSERT_EQ(published(), expected()) << "step " << i;
   }
}

} // namespace
} // namespace Hardware::ShoalTunnel
