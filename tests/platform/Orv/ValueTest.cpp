#include "platform/Bridging/VlanId.h"
#include "platform/Corestate/Corestate.h"
#include "platform/Hardware/Shoal/Status.h"
#include "platform/Orv/Exception.h"
#include "platform/Plexus/IntfId.h"

#include <gtest/gtest.h>
#include <sstream>

namespace Orv {
namespace {

using Hardware::Shoal::FapId;
using Plexus::IntfId;
using Plexus::IntfKind;

struct PairFields {
   int first = 4;
   std::string second;
   ORV_VALUE(PairFields, "Test::Pair", first, second)
};
Interner<PairFields> pairs;
struct Pair : Interned<Pair, PairFields, pairs> {
   Pair() = default;
   Pair(int first, std::string second) : Interned(PairFields{first, std::move(second)}) {}
};

TEST(ValueTest, InternedValuesAreTheirFields) {
   Pair late(9, "a");
   Pair early(2, "z");
   EXPECT_EQ(Pair(9, "a"), late);
   EXPECT_EQ(Pair(9, "a").index(), late.index());
   EXPECT_LT(early, late) << "by fields, not by first use";
   EXPECT_EQ(Pair(4, ""), Pair());
   EXPECT_EQ(Pair().index(), 0U);
   EXPECT_EQ(hashOf(PairFields{9, "a"}), hashOf(late.fields()));
   EXPECT_NE(hashOf(PairFields{9, "a"}), hashOf(PairFields{9, "b"}));
   std::ostringstream text;
   text << late;
   EXPECT_EQ(text.str(), "Value('Test::Pair', ** {'first': 9, 'second': a})");
   for (int i = 0; i < 2000; ++i) {
      Pair(i, "many");
   }
   EXPECT_EQ(late.fields().second, "a") << "addresses and indices are stable";
}

TEST(ValueTest, OutOfRangeIdsThrowTheirFixedTexts) {
   auto error = [](auto&& make) -> std::string {
      try {
         make();
      } catch (RangeException const& thrown) {
         return thrown.what();
      }
      return "";
   };
   std::string vlan = "VlanId::value < 1 or > 4094 not allowed";
   EXPECT_EQ(error([] { Bridging::VlanId(0); }), vlan);
   EXPECT_EQ(error([] { Bridging::VlanId(4095); }), vlan);
   EXPECT_EQ(error([] { Bridging::VlanId(4094); }), "");
   EXPECT_EQ(error([] { Bridging::VlanIdOrNone(4095); }), "VlanIdOrNone::value > 4094 not allowed");
   EXPECT_EQ(error([] { Bridging::VlanIdOrNone(70000); }),
             "VlanIdOrNone::value > 4094 not allowed");
   EXPECT_EQ(error([] { FapId(2049); }), "FapId::value < FapId::min or > FapId::null not allowed");
   EXPECT_EQ(error([] { FapId(65536); }), "FapId::value < FapId::min or > FapId::null not allowed");
   EXPECT_TRUE(FapId(2048).isNull() && FapId().isNull());
   EXPECT_EQ(error([] { Hardware::Shoal::Vsi(8193); }),
             "Vsi::value < Vsi::min or > Vsi::invalid not allowed");
   EXPECT_EQ(error([] { Hardware::Shoal::Vsi(8192); }), "");
   EXPECT_TRUE(Hardware::Shoal::PortMap().isNull());
   EXPECT_FALSE((Hardware::Shoal::PortMap{FapId(), 255}.isNull()));
   EXPECT_FALSE((Hardware::Shoal::PortMap{FapId(1), 256}.isNull()));
   EXPECT_EQ(Hardware::Shoal::SystemTcamId().value(), 2048);
   EXPECT_EQ(Hardware::Shoal::SystemPhyPortId().value(), 16384);
   EXPECT_EQ(error([] { Hardware::Shoal::SystemPhyPortId(16384); }), "");
}

TEST(IntfIdTest, WhatAnInterfaceIsFollowsFromItsName) {
   struct Case {
      char const* name;
      IntfKind kind;
      char const* parent;
      uint16_t vlan;
      bool flood;
   };
   for (auto const& each : {
            Case{"Ethernet8", IntfKind::port, "", 0, false},
            Case{"lc3/asic0/Ethernet-BP4", IntfKind::port, "", 0, false},
            Case{"lc3/asic0/Ethernet8.99999999", IntfKind::port, "lc3/asic0/Ethernet8", 0, false},
            Case{"Ethernet8.100000000", IntfKind::port, "", 0, false},
            Case{"Ethernet8.1a", IntfKind::port, "", 0, false},
            Case{"PortChannel0001", IntfKind::portChannel, "", 0, false},
            Case{"PortChannel0001.7", IntfKind::portChannel, "PortChannel0001", 0, false},
            Case{"lc.1/Vlan4094", IntfKind::vlan, "", 4094, false},
            Case{"Vlan0", IntfKind::vlan, "", 0, false},
            Case{"Vlan00", IntfKind::other, "", 0, false},
            Case{"Vlan4095", IntfKind::vlan, "", 4095, false},
            Case{"Vlan70000", IntfKind::vlan, "", 65535, false},
            Case{"lc1/Vlan99999999999", IntfKind::vlan, "", 65535, false},
            Case{"Vlan7x", IntfKind::other, "", 0, false},
            Case{"Vlan07", IntfKind::other, "", 0, false},
            Case{"Vlan", IntfKind::other, "", 0, false},
            Case{"Vlan5.7", IntfKind::other, "", 0, false},
            Case{"u/Tunnel-a.b", IntfKind::tunnel, "", 0, false},
            Case{"Ethernet8-L3Flood", IntfKind::port, "", 0, true},
            Case{"Ethernet8.5-L3Flood", IntfKind::port, "Ethernet8", 0, true},
            Case{"Vlan7-L3Flood", IntfKind::vlan, "", 7, true},
            Case{"Vlan-L3Flood", IntfKind::other, "", 0, true},
            Case{"Ethernet8.5.6", IntfKind::port, "", 0, false},
            Case{"Ethernet8.00", IntfKind::port, "", 0, false},
            Case{"cpu0", IntfKind::other, "", 0, false},
        }) {
      IntfId id(each.name);
      EXPECT_EQ(id.name(), each.name);
      EXPECT_EQ(id.fields().kind, each.kind) << each.name;
      EXPECT_EQ(Plexus::SubIntfId::parentIntfId(id), IntfId(each.parent)) << each.name;
      EXPECT_EQ(Plexus::SubIntfId::isSubIntfId(id), each.parent[0] != '\0') << each.name;
      EXPECT_EQ(Plexus::VlanIntfId::vlanId(id), each.vlan) << each.name;
      EXPECT_EQ(Plexus::VlanIntfId::isVlanIntfId(id), each.kind == IntfKind::vlan) << each.name;
      EXPECT_EQ(Plexus::PortChannelIntfId::isPortChannelIntfId(id),
                each.kind == IntfKind::portChannel);
      EXPECT_EQ(Plexus::TunnelIntfId::isTunnelIntfId(id), each.kind == IntfKind::tunnel)
          << each.name;
      EXPECT_EQ(id.l3Flood(), each.flood) << each.name;
      EXPECT_EQ(IntfId(each.name), id);
      EXPECT_EQ(IntfId::existing(each.name), id);
   }
   EXPECT_EQ(IntfId(""), IntfId());
   EXPECT_EQ(IntfId::existing("never mentioned"), IntfId());
   EXPECT_NE(IntfId("PortChannel1"), IntfId("PortChannel01"));
}

struct Counter : Entity {
   ORV_ENTITY(Counter, "Test::Counter")
   explicit Counter(int start) : start_(start) {}
   int start_;
};

TEST(CorestateTest, MountsByPathAndRefusesInvalidPaths) {
   Corestate::Corestate state;
   auto status = make<Hardware::Shoal::Status>();
   state.mount("hw/shoal/status", status);
   state.mount("hw/shoal/counter", make<Counter>(5));
   EXPECT_EQ(state.entity("hw/shoal/status"), Ptr<Entity>(status));
   EXPECT_EQ(state.entity("hw/shoal/status/x"), nullptr);
   EXPECT_EQ(state.entity("hw/other"), nullptr);
   EXPECT_EQ(state.entity("hw/shoal")->orvType().name(), "Orv::Dir");
   EXPECT_THROW(state.mount("hw/shoal/status", status), std::invalid_argument);
   EXPECT_THROW(state.mount("hw/shoal", status), std::invalid_argument);
   EXPECT_THROW(state.mount("hw/shoal/status/new/x", status), std::invalid_argument);
   EXPECT_THROW(state.mount("a//b", status), std::invalid_argument);
   EXPECT_THROW(state.mount("", status), std::invalid_argument);
   EXPECT_THROW(state.mount("x", nullptr), NullArgumentException);
   EXPECT_EQ(state.entity("a"), nullptr) << "a refused mount leaves nothing behind";
   auto mounted = state.mounted();
   ASSERT_EQ(mounted.size(), 2U);
   EXPECT_EQ(mounted[0].path, "hw/shoal/counter");
}

TEST(TypeTest, TypesAreRegisteredByName) {
   EXPECT_EQ(Type::find("Test::None"), nullptr);
   Type const* counter = Type::find("Test::Counter");
   ASSERT_NE(counter, nullptr);
   EXPECT_EQ(counter, &make<Counter>(1)->orvType());
   EXPECT_EQ(&make<Hardware::Shoal::Status>()->orvType(), Type::find("Hardware::Shoal::Status"));
}

TEST(StatusTest, SystemTcamsOfUnitsDifferAndAreNeverTheUnsetOne) {
   auto status = make<Hardware::Shoal::Status>();
   std::set<uint16_t> seen{2048};
   for (uint32_t unit = 0; unit < 2048; ++unit) {
      for (uint32_t core = 0; core < Hardware::Shoal::kCoresPerFap; ++core) {
         auto id = Hardware::Shoal::fapLocalCoreIdToSystemTcamId(status, FapId(unit), core);
         EXPECT_EQ(Hardware::Shoal::fapOf(id), FapId(unit));
         EXPECT_TRUE(seen.insert(id.value()).second) << unit;
      }
   }
   EXPECT_EQ(Hardware::Shoal::fapLocalCoreIdToSystemTcamId(status, FapId(), 0).value(), 2048);
   EXPECT_EQ(Hardware::Shoal::fapLocalCoreIdToSystemTcamId(status, FapId(1), 2).value(), 2048);
}

} // namespace
} // namespace Orv
