#include "tests/ShoalTunnel/TcamSharing/Pipeline.h"

#include "platform/Orv/Exception.h"

namespace Hardware::ShoalTunnel {
namespace {

using testing::HasSubstr;

// Ethernet1.10 (A) and Ethernet1.11 (B) share the key (10, 11).
class SemTest : public Pipeline {
 public:
   AradSemKeyAndFap shared = key(10, 11);
   TcamSharingRequest a = request("Ethernet1.10");
   TcamSharingRequest b = request("Ethernet1.11");
   void askB(uint64_t value) { ask("Ethernet1.11", value); }
   void encapsulate(std::string const& intf, uint16_t outer, uint16_t inner = 0) {
      configDir->subIntfConfig(IntfId(intf))->dot1qEncapIs({outer, inner});
      encapChange->dot1qEncapIs(IntfId(intf), {outer, inner});
   }
   std::size_t pendingOf(AradSemKeyAndFap of, bool isInsert) {
      auto write = common->pendingSemWrite({of, isInsert});
      return write ? write->pendingSharingEntrys() : 0;
   }
   std::size_t usersOf(AradSemKeyAndFap of) {
      auto users = common->semToRequest(of);
      return users ? users->requests() : 0;
   }
};

TEST_F(SemTest, AWriteIsRecordedWrittenAndAnsweredLater) {
   ask("Ethernet1.10", 0x1ffff);
   std::string text = traced([&] { run(); });
   for (char const* line :
        {"8 TcamSharingSemSm::handleTcamSharingConfig\n",
         "7 handleTcamSharingConfig: policyId: 131071\n",
         "7 handleTcamSharingConfig: fapAvailable: 1\n",
         "5 handleTcamSharingConfig: vlanDomain: 11\n", "5 handleTcamSharingConfig: vlanId: 10\n",
         "7 handleTcamSharingConfig: finished on Value("}) {
      EXPECT_THAT(text, HasSubstr(line));
   }
   EXPECT_EQ(shared.key().value(), 10U << 8 | 11U);
   EXPECT_EQ(static_cast<int>(shared.key().keyType()), 11);
   EXPECT_EQ(table->config(shared).value, (0x1ffffU << 3 & 0xffff8U) | 1U);
   EXPECT_EQ(common->tcamRequestToIsemKeyMapping(a), shared);
   EXPECT_EQ(usersOf(shared), 1U);
   EXPECT_EQ(pendingOf(shared, true), 1U);
   EXPECT_FALSE(mergedStatus->responseHas(a)) << "the answer comes with the table's status";
   text = traced([&] { ok(shared); });
   EXPECT_THAT(text, HasSubstr("7 handleIsemBTableStatus: successful isem status\n"));
   EXPECT_EQ(answer("Ethernet1.10"), response(tcamSharingSuccess, 0x1ffff));
   EXPECT_FALSE(common->pendingSemWriteHas({shared, true}));
   EXPECT_EQ(sem->numOfIsemBStatusHandled(), 1U);
   text = traced([&] { ok(shared); });
   EXPECT_THAT(text, HasSubstr("7 handleIsemBTableStatus: response we can safely ignore\n"));
   EXPECT_EQ(sem->numOfIsemBStatusHandled(), 1U);

   withdraw("Ethernet1.10");
   text = traced([&] { run(); });
   EXPECT_THAT(text, HasSubstr(": deleting successful req\n"));
   EXPECT_THAT(text, HasSubstr(": removing keyToDel: "));
   EXPECT_FALSE(table->configHas(shared));
   EXPECT_EQ(common->pendingSemWrite({shared, false})->pendingSharingEntry(),
             TcamSharingEntry(a, policy(0)));
   EXPECT_FALSE(common->tcamRequestToIsemKeyMappingHas(a));
   EXPECT_EQ(common->semToRequests(), 0U);
   EXPECT_TRUE(mergedStatus->responseHas(a)) << "until the chip says so";
   text = traced([&] { gone(shared); });
   EXPECT_THAT(text, HasSubstr("7 handleIsemBTableStatus: responseDel\n"));
   EXPECT_FALSE(mergedStatus->responseHas(a));
   EXPECT_EQ(sem->numOfIsemBStatusHandled(), 2U);
}

TEST_F(SemTest, AnEqualWriteIsBypassedAndADifferentOneQueued) {
   program("Ethernet1.10", 5, shared);
   askB(5);
   std::string text = traced([&] { run(); });
   EXPECT_THAT(
       text,
       HasSubstr("7 handleTcamSharingConfig: bypassing isem programming, no change required for "));
   EXPECT_EQ(answer("Ethernet1.11"), response(tcamSharingSuccess, 5));
   EXPECT_EQ(usersOf(shared), 1U) << "the bypass records no mapping";
   EXPECT_FALSE(common->tcamRequestToIsemKeyMappingHas(b));

   askB(6);
   run();
   ask("Ethernet1.10", 7);
   run();
   EXPECT_EQ(pendingOf(shared, true), 2U);
   EXPECT_EQ(usersOf(shared), 2U);
   ok(shared);
   EXPECT_EQ(answer("Ethernet1.11"), response(tcamSharingSuccess, 6)) << "oldest first";
   EXPECT_EQ(answer("Ethernet1.10"), response(tcamSharingSuccess, 5));
   refuse(shared);
   EXPECT_EQ(answer("Ethernet1.10"), response(tcamSharingFailed, 7));
}

TEST_F(SemTest, ARefusalKeepsKeyAndMappingAndIsWithdrawnLikeASuccess) {
   ask("Ethernet1.10", 5);
   run();
   std::string text = traced([&] { refuse(shared); });
   EXPECT_THAT(text, HasSubstr(" handleIsemBTableStatus: write failure isem status\n"));
   EXPECT_EQ(answer("Ethernet1.10"), response(tcamSharingFailed, 5));
   EXPECT_EQ(usersOf(shared), 1U);
   // Asked for again with the same payload, the table's content answers, not the chip.
   codef->doMaybeUpdateMappingsForIntf(IntfId("Ethernet1.10"));
   run();
   EXPECT_EQ(answer("Ethernet1.10"), response(tcamSharingSuccess, 5));
   ask("Ethernet1.10", 6);
   run();
   refuse(shared);
   withdraw("Ethernet1.10");
   text = traced([&] { run(); });
   EXPECT_THAT(text, HasSubstr(": deleting previously failed req\n"));
   EXPECT_EQ(answer("Ethernet1.10"), response(tcamSharingFailed, 6)) << "until the chip says so";
   gone(shared);
   EXPECT_EQ(mergedStatus->responses(), 0U)
       << "the status entry of the refusal went, which is an answer";
}

TEST_F(SemTest, WhatCannotBeResolvedWaitsOnTheRetryListAndLeavesWithoutTheChip) {
   auto waits = [&](char const* intf, std::string const& missing) {
      ask(intf, 5);
      std::string text = traced([&] { run(); });
      EXPECT_THAT(
          text,
          HasSubstr("5 handleTcamSharingConfig: posting in progress for pending entry missing: " +
                    missing));
      EXPECT_EQ(answer(intf), response(tcamSharingInProgress, 5));
      EXPECT_TRUE(common->retryList({request(intf), policy(5)}));
   };
   waits("Ethernet1", "fapAvailable: 1, vlanDomain.success: 1, vlanId.success: 0\n");
   domains->portTunnelDataDel({FapId(1), 2});
   waits("Ethernet2.10", "fapAvailable: 1, vlanDomain.success: 0, vlanId.success: 1\n");
   status->fapNameDel(FapId(1));
   waits("Ethernet1.10", "fapAvailable: 0, vlanDomain.success: 1, vlanId.success: 1\n");
   EXPECT_EQ(table->configs() + common->tcamRequestToIsemKeyMappings(), 0U);
   withdraw("Ethernet1.10");
   std::string text = traced([&] { run(); });
   EXPECT_THAT(text, HasSubstr(": del of in progress status\n"));
   EXPECT_FALSE(mergedStatus->responseHas(a));
}

TEST_F(SemTest, QinQIsNeitherProgrammedNorAnswered) {
   encapsulate("Ethernet1.10", 10, 7);
   ask("Ethernet1.10", 5);
   std::string text = traced([&] { run(); });
   EXPECT_THAT(text, HasSubstr(": QinQ L3 subinterface dot1qEncap:Value('Bridging::Dot1qEncap', ** "
                               "{'outer': 10, 'inner': 7})\n"));
   EXPECT_EQ(table->configs() + mergedStatus->responses() + common->retryLists(), 0U);
   // It was in progress before and stays so; nothing is pending.
   status->fapNameDel(FapId(1));
   ask("Ethernet1.10", 6);
   run();
   status->fapNameIs(FapId(1), "back");
   runTo(10);
   EXPECT_EQ(answer("Ethernet1.10"), response(tcamSharingInProgress, 6));
   EXPECT_EQ(common->retryLists(), 0U);
}

TEST_F(SemTest, ARequestMovesOffAKeyThatIsItsOwn) {
   program("Ethernet1.10", 5, shared);
   encapsulate("Ethernet1.10", 30);
   std::string text = traced([&] { run(); });
   EXPECT_THAT(text, HasSubstr(": del prevKey: "));
   EXPECT_FALSE(table->configHas(shared));
   EXPECT_EQ(common->tcamRequestToIsemKeyMapping(a), key(30, 11));
   EXPECT_EQ(usersOf(shared), 0U);
   EXPECT_EQ(pendingOf(shared, false), 0U) << "the removal's answer is nobody's";
   gone(shared);
   EXPECT_EQ(answer("Ethernet1.10"), response(tcamSharingSuccess, 5))
       << "of the old key, until the new one answers";
   refuse(key(30, 11));
   EXPECT_EQ(answer("Ethernet1.10"), response(tcamSharingFailed, 5));
   // A programmed request that no longer resolves is in progress; its key is kept.
   domains->portTunnelDataDel({FapId(1), 1});
   ask("Ethernet1.10", 6);
   run();
   EXPECT_EQ(answer("Ethernet1.10"), response(tcamSharingInProgress, 6));
   EXPECT_TRUE(table->configHas(key(30, 11)));
}

TEST_F(SemTest, WithdrawingOneSharerTakesTheEntryOfBoth) {
   program("Ethernet1.10", 5, shared);
   askB(6);
   run();
   ok(shared);
   withdraw("Ethernet1.10");
   run();
   EXPECT_FALSE(table->configHas(shared));
   EXPECT_EQ(answer("Ethernet1.11"), response(tcamSharingSuccess, 6));
   EXPECT_EQ(common->tcamRequestToIsemKeyMapping(b), shared);
   gone(shared);
   // B's key is no longer configured, so its response goes at once.
   withdraw("Ethernet1.11");
   std::string text = traced([&] { run(); });
   EXPECT_THAT(text, HasSubstr(": no longer in isemConfig, deleting TcamSharingStatus directly\n"));
   EXPECT_EQ(mergedStatus->responses() + common->semToRequests() + common->pendingSemWrites(), 0U);
}

TEST_F(SemTest, ALostOrLateAnswerShiftsTheAnswersBehindIt) {
   // Both are withdrawn before the second insertion is answered: a response without a request.
   program("Ethernet1.10", 5, shared);
   askB(6);
   run();
   withdraw("Ethernet1.10");
   withdraw("Ethernet1.11");
   run();
   ok(shared);
   EXPECT_EQ(answer("Ethernet1.11"), response(tcamSharingSuccess, 6));
   EXPECT_FALSE(merged->requestHas(b));
   gone(shared);
   EXPECT_EQ(mergedStatus->responses(), 1U) << "and it stays";

   // A change to a policy with the same payload before the answer: answered at once, then
   // overwritten by the answer for the older policy.
   ask("Ethernet2.10", 5);
   run();
   ask("Ethernet2.10", 5 | 1ULL << 30);
   run();
   EXPECT_EQ(answer("Ethernet2.10"), response(tcamSharingSuccess, 5 | 1ULL << 30));
   ok(key(10, 12));
   EXPECT_EQ(answer("Ethernet2.10"), response(tcamSharingSuccess, 5));

   // The lost answer of an insertion stays pending and takes the next answer.
   ask("Ethernet2.20", 1);
   run();
   ask("Ethernet2.20", 2);
   run();
   ok(key(20, 12)); // the chip's second answer
   EXPECT_EQ(answer("Ethernet2.20"), response(tcamSharingSuccess, 1));
   EXPECT_EQ(pendingOf(key(20, 12), true), 1U);
}

TEST_F(SemTest, WithStatusIgnoredNothingIsAnswered) {
   sem->ignoreIsemStatusIs(true);
   ask("Ethernet1.10", 5);
   run();
   std::string text = traced([&] { ok(shared); });
   EXPECT_THAT(text,
               HasSubstr("7 handleIsemBTableStatus: ignoring ISEM status, breadth test only\n"));
   EXPECT_EQ(pendingOf(shared, true), 1U);
   EXPECT_EQ(mergedStatus->responses() + sem->numOfIsemBStatusHandled(), 0U);
}

TEST_F(SemTest, BookkeepingOutlivesTheMachine) {
   ask("Ethernet1.10", 5);
   run();
   sem->orvDoZombieReactors(true);
   ok(shared);
   EXPECT_EQ(pendingOf(shared, true), 1U) << "torn down: no handler is called";
   for (int times = 0; times < 2; ++times) {
      sem->orvDoZombieReactors(false);
   }
   sem = nullptr;
   sem = Orv::make<TcamSharingSemSm>(status, output, mergedStatus, helper, table, tableStatus,
                                     common);
   EXPECT_EQ(answer("Ethernet1.10"), response(tcamSharingSuccess, 5))
       << "handled once more: the table holds it";
   ok(shared);
   EXPECT_EQ(pendingOf(shared, true), 0U) << "the write of the machine before is answered";
   withdraw("Ethernet1.10");
   run();
   gone(shared);
   EXPECT_EQ(mergedStatus->responses(), 0U);
   // Without tables to watch.
   sem = Orv::make<TcamSharingSemSm>(status, nullptr, mergedStatus, helper, table, nullptr, common);
   sem->orvDoZombieReactors(true);
   sem->orvDoZombieReactors(false);
   ask("Ethernet1.10", 6);
   run();
   EXPECT_EQ(table->configs() + mergedStatus->responses(), 0U);
}

TEST_F(SemTest, RangesOfTheKey) {
   auto error = [&](auto&& action) -> std::string {
      try {
         action();
         run();
      } catch (Orv::RangeException const& thrown) {
         return thrown.what();
      }
      return "";
   };
   encapsulate("Ethernet1.10", 4095);
   EXPECT_EQ(error([&] { ask("Ethernet1.10", 5); }), "VlanId::value < 1 or > 4094 not allowed");
   EXPECT_EQ(error([&] { ask("Vlan0", 5); }), "VlanId::value < 1 or > 4094 not allowed");
   status->fapNameIs(FapId(129), "far");
   status->fapNameIs(FapId(128), "near");
   EXPECT_EQ(error([&] { ask("Ethernet1.20", 5, 129); }),
             "FapId::value < FapId::min or > FapId::null not allowed");
   EXPECT_EQ(error([&] { ask("Ethernet2.20", 5, 128); }), "");
   EXPECT_TRUE(table->configHas(key(20, 12, 128)));
}

using SemDeathTest = SemTest;

TEST_F(SemDeathTest, InvariantsOfSharedEntries) {
   std::string noMapping =
       "Failed\\(keyToDel != AradSemKeyAndFap\\(\\)\\)  we should have stored a mapping for ";
   program("Ethernet1.10", 5, shared);
   askB(5);
   run();
   EXPECT_DEATH(
       {
          withdraw("Ethernet1.11");
          run();
       },
       noMapping + "successful request: Value\\('Hardware::ShoalTunnel::TcamSharingRequest', "
                   "\\*\\* \\{'intfId': Ethernet1.11");
   mergedStatus->responseIs(b, response(tcamSharingFailed, 5));
   EXPECT_DEATH(
       {
          withdraw("Ethernet1.11");
          run();
       },
       noMapping + "failed request: ");
   askB(6);
   run();
   EXPECT_DEATH(
       {
          encapsulate("Ethernet1.10", 30);
          run();
       },
       "Failed\\(tcamSharingCommon\\(\\)->semToRequest\\( prevKey \\) == NULL\\) If we are "
       "deleting a stale mapping, then "
       "ensure no request is still using it");
   common->tcamRequestToIsemKeyMappingIs(a, AradSemKeyAndFap({AradSemKeyType::none, 5}, FapId(1)));
   EXPECT_DEATH(
       {
          ask("Ethernet1.10", 7);
          run();
       },
       "Failed\\(prevKey.key\\(\\).keyType\\(\\) == AradSemKeyType::isemTcamSharing_\\) We expect "
       "all keyTypes to be "
       "TcamSharing in this SM.");
   common->pendingSemWriteIs({key(1, 1), true});
   EXPECT_DEATH(tableStatus->statusIs(key(1, 1), {1, {}}),
                "Failed\\(pendingSemWrite->pendingSharingEntrys\\(\\) != 0\\)  we forgot to "
                "cleanup pendingSemWrite queue for ");
}

TEST(TypesTest, RequestsEntriesAndPolicies) {
   TcamSharingPolicyId packed(0x1f | 2 << 5 | 3 << 10 | 4 << 17);
   EXPECT_EQ(std::tuple(packed.qosPolicy(), packed.pbrPolicy(), packed.aclLabel(),
                        packed.lumenAclLabel()),
             std::tuple(31U, 2U, 3U, 4U));
   packed.valueIs(6);
   EXPECT_EQ(packed, TcamSharingPolicyId(6));
   IntfId first("TypesFirst");
   IntfId second("TypesSecond");
   TcamSharingRequest low(first, FapId(1));
   EXPECT_EQ(low, TcamSharingRequest(first, FapId(1), VlanIdOrNone(0)));
   EXPECT_LT(low, TcamSharingRequest(first, FapId(1), VlanIdOrNone(1)));
   EXPECT_LT(TcamSharingRequest(first, FapId(9)), TcamSharingRequest(second, FapId(0)));
   EXPECT_EQ(TcamSharingRequest(), TcamSharingRequest(IntfId(), FapId(), {}));
   auto common = Orv::make<TcamSharingInLifCommon>("lif");
   TcamSharingEntry five(low, TcamSharingPolicyId(5));
   common->retryListIs(five, true);
   common->retryListIs({low, TcamSharingPolicyId(6)}, true);
   common->retryListDel(five);
   EXPECT_TRUE(common->retryList({low, TcamSharingPolicyId(6)}));
   EXPECT_EQ(common->name(), "lif");
   common->tcamSharingEntryRefCountDec(five, 1);
   EXPECT_FALSE(common->tcamSharingEntryRefCountHas(five));
   common->tcamSharingEntryRefCountInc(five, 2);
   common->tcamSharingEntryRefCountDec(five, 3);
   EXPECT_TRUE(common->tcamSharingEntryRefCountHas(five));
   EXPECT_EQ(common->tcamSharingEntryRefCount(five), 0U);
   auto mapping = common->tcamRequestToVlanTagToVsiKeyMappingIs(low);
   EXPECT_EQ(common->tcamRequestToVlanTagToVsiKeyMappingIs(low), mapping);
   EXPECT_EQ(mapping->request(), low);
   auto type = [](auto const& entity) { return entity->orvType().name(); };
   std::string space = "Hardware::ShoalTunnel::";
   EXPECT_EQ(type(mapping), space + "TcamRequestToVlanTagToVsiKeyMapping");
   EXPECT_EQ(type(Orv::make<TcamSharingCommonBase>("")), space + "TcamSharingCommonBase");
   auto sem = Orv::make<TcamSharingSemCommon>("sem");
   EXPECT_EQ(type(sem->semToRequestIs({})), space + "SemToRequestMapping");
   EXPECT_EQ(type(sem->pendingSemWriteIs({})), space + "TcamSharingPendingSemWrite");
   std::ostringstream text;
   text << five << PendingSemWriteKey{AradSemKeyAndFap(), true};
   EXPECT_EQ(
       text.str(),
       "Value('Hardware::ShoalTunnel::TcamSharingEntry', ** {'intfId': TypesFirst, 'fapId': 1, "
       "'l3FloodPortVlanId': 0, 'policyId': 5})"
       "Value('Hardware::ShoalTunnel::PendingSemWriteKey', ** {'semKeyAndFap': "
       "Value('Hardware::ShoalTunnel::AradSemKeyAndFap', ** {'key': "
       "Value('Hardware::ShoalTunnel::AradSemKey', ** {'keyType': 0, 'value': 0}), 'fapId': "
       "2048}), "
       "'isInsert': 1})");
}

} // namespace
} // namespace Hardware::ShoalTunnel
