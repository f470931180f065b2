#include "tests/ShoalTunnel/TcamSharingVlanTagMapSm/VlanTagSwitch.h"

#include <random>

namespace Hardware::ShoalTunnel {
namespace {

// Random facts; what is published is compared with what they say. Now and then a handler of what is
// published changes a fact, too.
class VlanTagMapHistory : public VlanTagSwitch {
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
