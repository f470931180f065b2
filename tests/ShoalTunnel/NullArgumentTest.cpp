// A machine that is constructed without an entity that it needs aborts and names the argument.
#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifFeatureRequestInputDirSm.h"
#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifFeatureResponseSm.h"
#include "ShoalTunnel/InLifIntfSm/DefaultLifFeatureMergeSm.h"
#include "ShoalTunnel/InLifIntfSm/DefaultMappingSm.h"
#include "ShoalTunnel/InLifIntfSm/PortInLifIntfSm.h"
#include "ShoalTunnel/InLifIntfSm/SubIntfInLifIntfSm.h"
#include "ShoalTunnel/InLifIntfSm/VlanInLifIntfSm.h"
#include "ShoalTunnel/TcamSharing/TcamSharingCodef.h"
#include "ShoalTunnel/TcamSharing/TcamSharingInLifSm.h"
#include "ShoalTunnel/TcamSharing/TcamSharingMergeSm.h"
#include "ShoalTunnel/TcamSharing/TcamSharingSemSm.h"
#include "ShoalTunnel/TcamSharing/TcamSharingTunnelInLifSm.h"
#include "ShoalTunnel/TcamSharingVlanTagMapSm/TcamSharingVlanTagMapSm.h"
#include "ShoalTunnel/TcamSharingVlanTagMapSm/VlanPhyIntfConfigSm.h"
#include "ShoalTunnel/TcamSharingVlanTagMapSm/VlanXlateStatusSm.h"
#include "ShoalTunnel/VlanDomainSm/VlanDomainSm.h"

#include <array>
#include <gtest/gtest.h>

namespace Hardware::ShoalTunnel {
namespace {

template<class T>
Orv::Ptr<T> a() {
   return Orv::make<T>();
}

// Constructs the machine once per argument with that argument null. Arguments without a name may be
// null.
template<class Machine, class... Args>
void expectNames(std::array<char const*, sizeof...(Args)> names, Args const&... args) {
   for (std::size_t missing = 0; missing < sizeof...(Args); ++missing) {
      auto made = [&](auto... given) {
         std::size_t at = 0;
         ((at++ == missing ? void(given = nullptr) : void()), ...);
         Orv::make<Machine>(given...);
      };
      if (names[missing] != nullptr) {
         EXPECT_DEATH(made(args...), std::string("^Failed.") + names[missing] + " != nullptr")
             << names[missing];
      } else {
         made(args...);
      }
   }
}

TEST(NullArgumentDeathTest, MachinesOfThePipelinesNameIt) {
   Orv::Timers timers;
   auto clock = Orv::make<Orv::Clock>(timers);
   auto status = a<Shoal::Status>();
   auto config = a<TcamSharingConfig>();
   auto responses = a<TcamSharingStatus>();
   auto manager = a<VlanTagToVsiMapperSm>();
   auto subIntfs = a<Interface::SubIntfConfigDir>();
   auto subIntfStatus = a<Interface::SubIntfStatusDir>();
   auto vlans = a<IntfVlanId::Table>();
   auto domains = a<Shoal::VlanDomainStatus>();
   expectNames<TcamSharingHelper>({"scsd", "shoalStatus", "vlanDomainStatus", "subIntfConfigDir",
                                   "intfVlanIdTable", "ethIntfStatusDir", "portMapHelper",
                                   "vlanTagToVsiMapperSm", "subIntfStatusDir", "dynSubIntfEncap"},
                                  a<ShoalTunnelCommonSmData>(), status, domains, subIntfs, vlans,
                                  a<Interface::EthLagIntfStatusDir>(),
                                  a<ShoalTunnelPortMapHelper>(), manager, subIntfStatus,
                                  a<Interface::SubIntfDynDot1qEncap>());
   auto helper = Orv::make<TcamSharingHelper>(a<ShoalTunnelCommonSmData>(), status, domains,
                                              subIntfs, vlans, a<Interface::EthLagIntfStatusDir>(),
                                              a<ShoalTunnelPortMapHelper>(), manager, subIntfStatus,
                                              a<Interface::SubIntfDynDot1qEncap>());
   expectNames<TcamSharingMergeSm>(
       {nullptr, nullptr, nullptr, "tcamSharingMergedConfig", "tcamSharingShoalAclStatus",
        "tcamSharingShoalLumenStatus", "tcamSharingShoalRampartStatus", nullptr, "shoalStatus"},
       config, config, config, config, responses, responses, responses, responses, status);
   auto sem = Orv::make<TcamSharingSemCommon>("sem");
   expectNames<TcamSharingCodef>(
       {"clock", "tcamSharingConfigIn", "retryClock", "intfVlanIdTable", "tcamSharingCommon",
        "subIntfDot1qEncapChange", "shoalStatus", "subIntfConfigDir", "subIntfStatusDir",
        "tcamSharingHelper", "tcamSharingSelector", "tcamSharingStatus"},
       clock, config, clock, vlans, sem, a<SubIntfDot1qEncapChange>(), status, subIntfs,
       subIntfStatus, helper, Orv::make<TcamSharingSemSelector>(config), responses);
   expectNames<TcamSharingSemSm>({"shoalStatus", nullptr, "tcamSharingStatus", "tcamSharingHelper",
                                  "isemBTableConfig", nullptr, "tcamSharingCommon"},
                                 status, config, responses, helper, a<SemTableConfig>(),
                                 a<SemTableStatus>(), sem);
   auto inLif = Orv::make<TcamSharingInLifCommon>("inLif");
   expectNames<TcamSharingInLifSm>({"shoalStatus", nullptr, "tcamSharingStatus",
                                    "tcamSharingHelper", "vtagToVsiConfig", nullptr,
                                    "tcamSharingCommon"},
                                   status, config, responses, helper, a<VlanTagToVsiMapperConfig>(),
                                   a<VlanTagToVsiMapperStatus>(), inLif);
   expectNames<TcamSharingTunnelInLifSm>(
       {"shoalStatus", nullptr, "tcamSharingStatus", "tcamSharingHelper", "tunnelToPolicyConfig",
        nullptr, "tcamSharingCommon"},
       status, config, responses, helper, a<TunnelPolicyMapperConfig>(),
       a<TunnelPolicyMapperStatus>(), inLif);
   expectNames<VlanDomainSm>(
       {"shoalStatus", nullptr, "intfToVlanDomainStatus", "intfToFapIdStatus"}, status, domains,
       a<IntfToVlanDomainStatus>(), a<IntfToFapIdStatus>());
   auto ports = a<VlanPhyIntfConfig>();
   auto dynamic = a<Interface::SubIntfDynDot1qEncap>();
   auto members = a<Lag::LagPhyIntfMapping>();
   expectNames<VlanPhyIntfConfigSm>({"shoalStatus", nullptr, nullptr, nullptr, nullptr, nullptr,
                                     "vlanPhyIntfConfig", "subIntfTagPhyIntfConfig"},
                                    status, subIntfs, dynamic, members,
                                    a<Bridging::UntaggedVlanDir>(), a<Bridging::TaggedVlanDir>(),
                                    ports, ports);
   expectNames<VlanXlateStatusSm>({"vlanPhyIntfConfig", "subIntfTagPhyIntfConfig", nullptr, nullptr,
                                   nullptr, nullptr, "vlanXlateStatus"},
                                  ports, ports, subIntfs, dynamic, members, vlans,
                                  a<VlanXlateStatus>());
   expectNames<TcamSharingVlanTagMapSm>({"intfToFapIdStatus", "intfToVlanDomainStatus", nullptr,
                                         "vlanXlateStatus", "tcamSharingVlanTagMap"},
                                        a<IntfToFapIdStatus>(), a<IntfToVlanDomainStatus>(), sem,
                                        a<VlanXlateStatus>(), a<TcamSharingVlanTagMap>());
}

TEST(NullArgumentDeathTest, MachinesOfInLifFeaturesNameIt) {
   auto status = a<Shoal::Status>();
   auto config = a<InLifIntfConfig>();
   auto handled = a<InLifIntfStatus>();
   auto words = a<DefaultLifFeatureConfig>();
   auto mapping = a<Lag::LagPhyIntfMapping>();
   expectNames<InLifFeatureRequestAggSm>({nullptr, "inLifIntfCfg"},
                                         Orv::make<InLifFeatureRequestDir>("acl"), config);
   expectNames<InLifFeatureRequestInputDirSm>({nullptr, "inLifIntfCfg"}, a<Orv::Dir>(), config);
   expectNames<InLifFeatureResponseSm>({"inLifIntfStatus", "inLifIntfCfg", "statusDir"}, handled,
                                       config, a<InLifFeatureStatus>());
   expectNames<PortInLifIntfSm>({"inLifIntfCfg", "inLifIntfStatus", "shoalStatus",
                                 "defaultPortLifFeatureCfg", "inLifIntfCfgLagExp",
                                 "lagPhyIntfMapping", nullptr, nullptr},
                                config, handled, status, words, config, mapping, a<Lag::Config>(),
                                a<Shoal::LocalPortMapStatus>());
   expectNames<VlanInLifIntfSm>(
       {"inLifIntfCfg", "inLifIntfStatus", "shoalStatus", "defaultVlanLifFeatureCfg",
        "inLifIntfCfgLagExp", nullptr, nullptr},
       config, handled, status, words, config, mapping, a<Bridging::UntaggedVlanDir>());
   expectNames<SubIntfInLifIntfSm>(
       {"inLifIntfCfg", "inLifIntfStatus", "shoalStatus", "subIntfLifFeatureCfg"}, config, handled,
       status, a<SubIntfLifFeatureConfig>());
   expectNames<DefaultLifFeatureMergeSm>({nullptr, nullptr, "defaultMergedLifFeatureCfg"}, words,
                                         words, words);
   expectNames<DefaultMappingSm>({"shoalStatus", "defaultMergedLifFeatureCfg",
                                  "subIntfLifFeatureCfg", "defaultMappingConfig",
                                  "subIntfMappingConfig"},
                                 status, a<DefaultLifFeatureConfig>(), a<SubIntfLifFeatureConfig>(),
                                 a<DefaultMappingConfig>(), a<SubIntfMappingConfig>());
}

} // namespace
} // namespace Hardware::ShoalTunnel
