#include "tests/ShoalTunnel/TcamSharing/Pipeline.h"

namespace Hardware::ShoalTunnel {
namespace {

// The state of the sub-interface when its encapsulation changes.
struct Situation {
   char const* name;
   char const* intf; // Ethernet1.10: its unit is known; PortChannel7.10: it is not
   bool add;
   bool configured;
   bool tags;
   bool domain;
   std::vector<std::string> traces; // in this order
   bool requeued;
   bool withdrawn;

   friend void PrintTo(Situation const& row, std::ostream* out) { *out << row.name; }
};

class EncapChangeTest : public Pipeline, public testing::WithParamInterface<Situation> {};

TEST_P(EncapChangeTest, FollowsItsRowOfTheTable) {
   Situation const& row = GetParam();
   IntfId intf(row.intf);
   bool onPort = std::string(row.intf).starts_with("Ethernet");
   addLag("PortChannel7", 1, 17, "Ethernet1");
   addSubIntf("PortChannel7.10", 10);
   // Requests of the interface on its unit and on another, and one of a neighbour.
   for (char const* name : {row.intf, "Ethernet1.20"}) {
      output->requestIs(request(name), policy(5));
      ask(name, 5);
   }
   output->requestIs(request(row.intf, 2), policy(5));
   ask(row.intf, 5, 2);
   encapChange->dot1qEncapIs(intf, {10, 0});
   run();
   ASSERT_EQ(codef->backlogSize(), 0U);

   if (!row.tags) {
      configDir->subIntfConfig(intf)->dot1qEncapIs({});
   }
   if (!row.configured) {
      configDir->subIntfConfigDel(intf);
   }
   if (!row.domain && onPort) {
      domains->portTunnelDataDel({FapId(1), 1});
   } else if (!row.domain) {
      lagDir->ethLagIntfStatus(IntfId("PortChannel7"))->memberDelAll();
   }
   std::string text = traced([&] {
      if (row.add) {
         encapChange->dot1qEncapIs(intf, {30, 0});
      } else {
         encapChange->dot1qEncapDel(intf);
      }
   });

   std::size_t at = 0;
   std::string head =
       std::string(
           "handleDot1qEncapChange: dot1qEncap: Value('Bridging::Dot1qEncap', ** {'outer': ") +
       (row.add ? "30" : "0") + ", 'inner': 0}), add: " + (row.add ? "1" : "0");
   std::vector<std::string> traces{
       std::string("8 TcamSharingCodef::handleDot1qEncapChange: intfId: ") + row.intf, head,
       std::string("handleDot1qEncapChange: parentIntfId: ") +
           (onPort ? "Ethernet1" : "PortChannel7")};
   traces.insert(traces.end(), row.traces.begin(), row.traces.end());
   for (auto const& trace : traces) {
      auto found = text.find(trace, at);
      EXPECT_NE(found, std::string::npos) << trace << " in\n" << text;
      at = found == std::string::npos ? at : found + trace.size();
   }
   // With a known unit only the requests on that unit are affected; without one, all.
   std::size_t meant = onPort ? 1 : 2;
   EXPECT_EQ(codef->backlogSize(), row.requeued ? meant : 0) << text;
   EXPECT_EQ(codef->backlog(request(row.intf)), row.requeued);
   EXPECT_EQ(output->requests(), row.withdrawn ? 3 - meant : 3) << text;
   EXPECT_EQ(output->requestHas(request(row.intf)), !row.withdrawn);
   EXPECT_EQ(codef->clockNotifiee().waiting(), row.requeued) << "a slice is asked for";
   EXPECT_TRUE(output->requestHas(request("Ethernet1.20")));
   EXPECT_EQ(merged->requests(), 3U);
}

constexpr char const* port = "Ethernet1.10";
constexpr char const* lag = "PortChannel7.10";
std::string const updating =
    "handleDot1qEncapChange: updating dot1qEncap: Value('Bridging::Dot1qEncap', ** {'outer': 30";
std::string const noUnitAdd = "handleDot1qEncapChange: parentFap not found: add: 1, fapId: 2048";
std::string const noUnitDel = "handleDot1qEncapChange: parentFap not found: add: 0, fapId: 2048";
std::string const noAction = "handleDot1qEncapChange: not disable encap, no action.";
std::string const noConfig = "handleDot1qEncapChange: config does not exist: ";
std::string const tRemoving = "handleDot1qEncapChange: t-removing intf: ";
std::string const dRemoving = "handleDot1qEncapChange: d-removing intf: ";
std::string const noDomain = "handleDot1qEncapChange: vlanDomain not found for intf ";
std::string const stillHere = "handleDot1qEncapChange: parent vlanDomain is still here: ";

INSTANTIATE_TEST_SUITE_P(
    Table, EncapChangeTest,
    testing::Values(
        Situation{"portAdded", port, true, true, true, true, {updating}, true, false},
        Situation{"portAddedNoDomain", port, true, true, true, false, {updating}, true, false},
        Situation{"portAddedNoConfig", port, true, false, true, true, {updating}, true, false},
        Situation{"lagAdded", lag, true, true, true, true, {noUnitAdd, updating}, true, false},
        Situation{"lagAddedNoDomain",
                  lag,
                  true,
                  true,
                  true,
                  false,
                  {noUnitAdd, noDomain + lag + ", on fapId: 1", updating,
                   noDomain + lag + ", on fapId: 2", updating},
                  true,
                  false},
        Situation{"portRemovedNoConfig",
                  port,
                  false,
                  false,
                  true,
                  true,
                  {noConfig + port, tRemoving + port},
                  false,
                  true},
        Situation{"portRemovedNoConfigNoDomain",
                  port,
                  false,
                  false,
                  true,
                  false,
                  {noConfig + port, tRemoving + port},
                  false,
                  true},
        Situation{"portRemovedWithTags", port, false, true, true, true, {noAction}, false, false},
        Situation{"portRemovedWithTagsNoDomain",
                  port,
                  false,
                  true,
                  true,
                  false,
                  {noAction},
                  false,
                  false},
        Situation{"portDisabled", port, false, true, false, true, {stillHere + "11"}, false, false},
        Situation{"portDisabledNoDomain",
                  port,
                  false,
                  true,
                  false,
                  false,
                  {noDomain + port + ", on fapId: 1", dRemoving + port + ", fap: 1"},
                  false,
                  true},
        Situation{"lagRemovedNoConfig",
                  lag,
                  false,
                  false,
                  true,
                  true,
                  {noUnitDel, noConfig + lag, tRemoving + lag, tRemoving + lag},
                  false,
                  true},
        Situation{"lagRemovedWithTags",
                  lag,
                  false,
                  true,
                  true,
                  true,
                  {noUnitDel, noAction},
                  false,
                  false},
        Situation{"lagDisabledNoDomain",
                  lag,
                  false,
                  true,
                  false,
                  false,
                  {noUnitDel, noDomain + lag, dRemoving + lag + ", fap: 1", noDomain + lag,
                   dRemoving + lag + ", fap: 2"},
                  false,
                  true}),
    [](auto const& info) { return std::string(info.param.name); });

TEST_F(Pipeline, APortChannelWithADomainOnOneUnitKeepsTheRequestThere) {
   addLag("PortChannel7", 1, 17, "Ethernet1");
   addSubIntf("PortChannel7.10", 10);
   for (uint32_t unit : {1U, 2U}) {
      output->requestIs(request("PortChannel7.10", unit), policy(5));
      ask("PortChannel7.10", 5, unit);
   }
   encapChange->dot1qEncapIs(IntfId("PortChannel7.10"), {10, 0});
   run();
   configDir->subIntfConfig(IntfId("PortChannel7.10"))->dot1qEncapIs({});
   encapChange->dot1qEncapDel(IntfId("PortChannel7.10"));
   EXPECT_TRUE(output->requestHas(request("PortChannel7.10", 1)));
   EXPECT_FALSE(output->requestHas(request("PortChannel7.10", 2)));
}

TEST_F(Pipeline, ARecordWithoutTagsIsAChange) {
   program("Ethernet1.10", 5, key(10, 11));
   encapChange->dot1qEncapIs(IntfId("Ethernet1.10"), {10, 0});
   run();
   domains->portTunnelDataDel({FapId(1), 1});
   configDir->subIntfConfig(IntfId("Ethernet1.10"))->dot1qEncapIs({});
   std::string text = traced([&] { encapChange->dot1qEncapIs(IntfId("Ethernet1.10"), {}); });
   EXPECT_THAT(text, testing::HasSubstr("'outer': 0, 'inner': 0}), add: 1"));
   EXPECT_TRUE(codef->backlog(request("Ethernet1.10")));
   EXPECT_TRUE(output->requestHas(request("Ethernet1.10"))) << "nothing is withdrawn";
   run();
   EXPECT_EQ(answer("Ethernet1.10"), response(tcamSharingInProgress, 5));
}

TEST_F(Pipeline, ARemovalThatAffectsNoRequestIsIgnored) {
   encapChange->dot1qEncapIs(IntfId("Ethernet1.10"), {10, 0});
   configDir->subIntfConfigDel(IntfId("Ethernet1.10"));
   std::string text = traced([&] { encapChange->dot1qEncapDel(IntfId("Ethernet1.10")); });
   EXPECT_THAT(text, testing::HasSubstr("7 handleDot1qEncapChange: dont care removal\n"));
   EXPECT_THAT(text, testing::Not(testing::HasSubstr("config does not exist")));
}

} // namespace
} // namespace Hardware::ShoalTunnel
