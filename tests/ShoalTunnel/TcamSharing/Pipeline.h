// The ISEM pipeline with a chip whose answers the test gives.
#pragma once

#include "ShoalTunnel/TcamSharing/TcamSharingCodef.h"
#include "ShoalTunnel/TcamSharing/TcamSharingMergeSm.h"
#include "ShoalTunnel/TcamSharing/TcamSharingSemSm.h"
#include "tests/ShoalTunnel/TcamSharing/Switch.h"

namespace Hardware::ShoalTunnel {

// The switch with arad units.
class Pipeline : public Switch {
 public:
   Pipeline() : Switch(Shoal::fapTypeArad) { start(); }

   // Makes the machines in the order in which a host does. stop() keeps the entities.
   void start() {
      merge = Orv::make<TcamSharingMergeSm>(acl, lumen, rampart, merged, aclStatus, lumenStatus,
                                            rampartStatus, mergedStatus, status);
      codef = tcamSharingCodefFactory(Orv::make<Orv::Clock>(timers), merged,
                                      Orv::make<Orv::Clock>(timers), vlans, common, encapChange,
                                      status, configDir, statusDir, helper,
                                      Orv::make<TcamSharingSemSelector>(output), mergedStatus);
      sem = Orv::make<TcamSharingSemSm>(status, output, mergedStatus, helper, table, tableStatus,
                                        common);
      merge->handleInitialized();
   }
   void stop() {
      merge = nullptr;
      codef = nullptr;
      sem = nullptr;
   }

   static AradSemKeyAndFap key(uint32_t vlan, uint8_t domain, uint32_t unit = 1) {
      return {AradISemKeyTcamSharing(Bridging::VlanId(vlan), VlanDomain(domain)).key(),
              FapId(unit)};
   }
   // The chip's answers: the present content of the entry, or its absence.
   void ok(AradSemKeyAndFap of) { tableStatus->statusIs(of, {1, table->config(of)}); }
   void refuse(AradSemKeyAndFap of) { tableStatus->statusIs(of, {2, table->config(of)}); }
   void gone(AradSemKeyAndFap of) { tableStatus->statusDel(of); }

   // Requests a policy and lets the chip accept it.
   void program(std::string const& intf, uint64_t value, AradSemKeyAndFap of) {
      ask(intf, value);
      run();
      ok(of);
      ASSERT_EQ(answer(intf), response(tcamSharingSuccess, value));
   }

   Orv::Ptr<TcamSharingConfig> output = Orv::make<TcamSharingConfig>();
   Orv::Ptr<TcamSharingSemCommon> common = Orv::make<TcamSharingSemCommon>("sem");
   Orv::Ptr<SemTableConfig> table = Orv::make<SemTableConfig>();
   Orv::Ptr<SemTableStatus> tableStatus = Orv::make<SemTableStatus>();

   Orv::Ptr<TcamSharingMergeSm> merge;
   Orv::Ptr<TcamSharingCodef> codef;
   Orv::Ptr<TcamSharingSemSm> sem;
};

} // namespace Hardware::ShoalTunnel
