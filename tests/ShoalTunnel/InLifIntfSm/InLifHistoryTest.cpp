// Random histories: the tables of running machines must equal those of machines that start on the
// same inputs. A failure prints its seed and step.
#include "tests/ShoalTunnel/InLifIntfSm/InLifSwitch.h"

#include <map>
#include <random>

namespace Hardware::ShoalTunnel {
namespace {

// Everything that the machines publish, as text. Responses of port-channels are left out: a
// port-channel whose members are all on other TCAMs is answered only at a fresh start.
std::string published(InLifMachines const& of) {
   std::map<std::string, std::string> lines;
   auto add = [&](std::string const& table, auto&& collection) {
      for (auto const& [key, value] : collection) {
         std::ostringstream at;
         std::ostringstream text;
         at << table << " " << key;
         text << value;
         lines[at.str()] = text.str();
      }
   };
   add("port", of.ports->lifFeatureAttrIter());
   add("vlan", of.vlans->lifFeatureAttrIter());
   add("merged", of.merged->lifFeatureAttrIter());
   add("subIntf", of.subIntfs->lifFeatureAttrIter());
   for (auto const& [key, features] : of.expanded->requestIter()) {
      add("expanded " + key.intfId().name() + " " + std::to_string(key.tcamId().value()),
          features->featureAggIter());
   }
   add("response", of.responses->responseIter());
   std::string all;
   for (auto const& [key, value] : lines) {
      if (!key.starts_with("response") || key.find(": PortChannel") == std::string::npos) {
         all += key + " = " + value + "\n";
      }
   }
   return all;
}

class History : public InLifSwitch {
 public:
   explicit History(unsigned seed) : random(seed) {
      status->sysTcamIdIs(IntfId("lc1/Ethernet0"), SystemTcamId(1));
   }

   // A step after which the result has to equal that of a fresh start: ports that join
   // port-channels have no requests of their own, and requests of ports are on the port's TCAM.
   void orderlyStep() {
      switch (pick(9)) {
      case 0:
         return request("Ethernet" + pickOf({"0", "1"}), 1);
      case 1:
         return request("PortChannel" + pickOf({"1", "2"}), 1 + pick(2));
      case 2:
         return request(pickOf({"Vlan10", "Vlan11", "lc1/Vlan10"}), 1 + pick(2));
      case 3:
         return request(pickOf({"Ethernet0.5", "PortChannel1.5"}), 1 + pick(2));
      case 4:
      case 5:
         return move("Ethernet" + std::to_string(2 + pick(4)));
      case 6:
         return untag(
             pickOf({"Ethernet0", "Ethernet3", "lc1/Ethernet0", "PortChannel1", "PortChannel2"}),
             pick(3) == 0 ? 0 : 10 + pick(2));
      case 7:
         place(static_cast<uint16_t>(1 + pick(2)), 1 + pick(3), static_cast<uint16_t>(4 * pick(12)),
               0xf);
         return layoutChanged();
      default:
         return dissolve("PortChannel" + pickOf({"1", "2"}));
      }
   }
   // Any step, including ones that make the port map invalid and valid.
   void wildStep() {
      switch (pick(6)) {
      case 0:
         return request("Ethernet" + std::to_string(pick(6)), 1 + pick(2));
      case 1:
         return status->portMapValidIs(pick(2) == 0);
      case 2:
         return status->sysTcamIdIs(IntfId("Ethernet" + std::to_string(pick(6))),
                                    SystemTcamId(static_cast<uint16_t>(1 + pick(2))));
      default:
         return orderlyStep();
      }
   }

 private:
   unsigned pick(unsigned bound) { return static_cast<unsigned>(random() % bound); }
   std::string pickOf(std::vector<std::string> const& names) {
      return names[pick(static_cast<unsigned>(names.size()))];
   }
   void request(std::string const& intf, unsigned tcam) {
      unsigned type = 1 + pick(3);
      if (pick(3) == 0) {
         withdraw(intf, static_cast<uint16_t>(tcam), type);
      } else {
         ask(intf, static_cast<uint16_t>(tcam), type, pick(16));
      }
   }
   void move(std::string const& port) {
      leave(port);
      if (pick(3) != 0) {
         join("PortChannel" + pickOf({"1", "2"}), port);
      }
   }
   void dissolve(std::string const& lag) {
      if (auto members = mapping->lagPhyIntfConfig(IntfId(lag))) {
         for (auto const& [port, present] : members->phyIntfIter()) {
            mapping->phyIntfLagDel(port);
         }
         mapping->lagPhyIntfConfigDel(IntfId(lag));
      }
   }
   std::mt19937 random;
};

// Traces each history on a different channel, or on none: the result must not depend on it.
class TracedBySeed {
 public:
   explicit TracedBySeed(unsigned seed) { levelsAre(seed % 3 == 1, seed % 3 == 2); }
   ~TracedBySeed() { levelsAre(false, false); }

 private:
   static void levelsAre(bool text, bool blip) {
      for (unsigned level = 0; level < Trace::kLevels; ++level) {
         Trace::textLevelIs(level, text);
         Trace::blipLevelIs(level, blip);
      }
   }
};

TEST(InLifHistoryTest, OrderlyHistoriesEqualAFreshStartAtEveryStep) {
   for (unsigned seed = 0; seed < 60; ++seed) {
      TracedBySeed traced(seed);
      History history(seed);
      InLifMachines machines(history);
      for (unsigned step = 0; step < 120; ++step) {
         history.orderlyStep();
         ASSERT_EQ(published(machines), published(InLifMachines(history)))
             << "seed " << seed << ", step " << step;
      }
      // Aggregates the requests after the machines that watch them were started.
      InLifMachines followers(history, Orv::make<InLifIntfConfig>());
      followers.start();
      followers.inputDirSm = inLifFeatureRequestInputDirSmFactory(history.input, followers.config);
      ASSERT_EQ(published(machines), published(followers)) << "seed " << seed;
   }
}

TEST(InLifHistoryTest, APortMapChangeBringsWhatAFreshStartWouldGive) {
   for (unsigned seed = 0; seed < 60; ++seed) {
      TracedBySeed traced(seed);
      History history(seed);
      InLifMachines machines(history);
      for (unsigned round = 0; round < 12; ++round) {
         for (unsigned step = 0; step < 12; ++step) {
            history.wildStep();
         }
         history.status->portMapValidIs(true);
         history.portMapChanged();
         // On the same configuration, since the order of its keys matters: of two keys of one port
         // the last one counts.
         InLifMachines fresh(history, machines.config);
         fresh.start();
         ASSERT_EQ(published(machines), published(fresh)) << "seed " << seed << ", round " << round;
      }
   }
}

} // namespace
} // namespace Hardware::ShoalTunnel
