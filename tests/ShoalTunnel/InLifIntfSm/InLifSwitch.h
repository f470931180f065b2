// A switch with two TCAMs, and the machines of in-LIF features on it, of which a test may make
// several sets.
#pragma once

#include "platform/ShoalTcam/TcamDbStatusInterface.h"
#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifFeatureRequestInputDirSm.h"
#include "ShoalTunnel/InLifIntfFeatureAggSm/InLifFeatureResponseSm.h"
#include "ShoalTunnel/InLifIntfSm/DefaultLifFeatureMergeSm.h"
#include "ShoalTunnel/InLifIntfSm/PortInLifIntfSm.h"
#include "ShoalTunnel/InLifIntfSm/SubIntfInLifIntfSm.h"
#include "ShoalTunnel/InLifIntfSm/VlanInLifIntfSm.h"
#include "tests/ShoalTunnel/Traced.h"

#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Hardware::ShoalTunnel {

using Bridging::VlanIdOrNone;
using Plexus::IntfId;
using Shoal::SystemTcamId;
using Type = InLifFeatureType;

// Calls a function at each change of a collection.
template<class K>
class Hearer : public Orv::Reactor<K> {
 public:
   template<class Of>
   Hearer(Of const& collection, std::function<void(K const&)> action) : action_(std::move(action)) {
      collection.watch(*this);
   }
   void handle(K const& key) override { action_(key); }

 private:
   std::function<void(K const&)> action_;
};

// What the machines read. Ethernet0 to Ethernet2 are on TCAM 1, Ethernet3 to Ethernet5 on TCAM 2;
// feature n has 4 bits at offset 4 * (n - 1) on TCAM 1, and at offset 4 * n on TCAM 2.
struct InLifSwitch {
   InLifSwitch() {
      layouts->inLifDataDelAll();
      for (uint16_t tcam : {1, 2}) {
         for (uint16_t type = 1; type <= 12; ++type) {
            place(tcam, type, static_cast<uint16_t>(4 * (type + tcam - 2)), 0xf);
         }
      }
      for (int port = 0; port < 6; ++port) {
         status->sysTcamIdIs(IntfId("Ethernet" + std::to_string(port)),
                             SystemTcamId(port < 3 ? 1 : 2));
      }
      input->entryIs("acl", acl);
   }

   static InLifIntfKey key(std::string const& intf, uint16_t tcam) {
      return {IntfId(intf), SystemTcamId(tcam)};
   }
   void place(uint16_t tcam, unsigned type, uint16_t offset, uint32_t mask) {
      layouts->inLifDataIs(SystemTcamId(tcam))
          ->tcamShareQualInfoIs(static_cast<Type>(type), {offset, mask});
   }
   void ask(std::string const& intf, uint16_t tcam, unsigned type, uint32_t value) {
      acl->requestIs({InLifFeatureKey(key(intf, tcam), static_cast<Type>(type)), value});
   }
   void withdraw(std::string const& intf, uint16_t tcam, unsigned type) {
      acl->requestDel(InLifFeatureKey(key(intf, tcam), static_cast<Type>(type)));
   }
   void join(std::string const& lag, std::string const& port) {
      mapping->phyIntfLagIs(IntfId(port), IntfId(lag));
      mapping->lagPhyIntfConfigIs(IntfId(lag))->phyIntfIs(IntfId(port));
   }
   void leave(std::string const& port) {
      IntfId lag = mapping->phyIntfLag(IntfId(port));
      mapping->phyIntfLagDel(IntfId(port));
      if (auto members = mapping->lagPhyIntfConfig(lag)) {
         members->phyIntfDel(IntfId(port));
      }
   }
   void untag(std::string const& intf, uint32_t vlan) {
      vlans->untaggedVlanIs(IntfId(intf), VlanIdOrNone(vlan));
   }
   void portMapChanged() { status->portMapVersionIs(status->portMapVersion() + 1); }
   void layoutChanged() { status->tcamKeyVersionIs(status->tcamKeyVersion() + 1); }

   Orv::Ptr<ShoalTcam::TcamDbStatusInterface> layouts =
       ShoalTcam::TcamDbStatusInterface::tcamDbStatusInterface();
   Orv::Ptr<Shoal::Status> status = Orv::make<Shoal::Status>();
   Orv::Ptr<Lag::LagPhyIntfMapping> mapping = Orv::make<Lag::LagPhyIntfMapping>();
   Orv::Ptr<Bridging::UntaggedVlanDir> vlans = Orv::make<Bridging::UntaggedVlanDir>();
   Orv::Ptr<Orv::Dir> input = Orv::make<Orv::Dir>();
   Orv::Ptr<InLifFeatureRequestDir> acl = Orv::make<InLifFeatureRequestDir>("acl");
};

// The machines and what they write.
struct InLifMachines {
   explicit InLifMachines(InLifSwitch& of, bool started = true)
       : InLifMachines(of, Orv::make<InLifIntfConfig>()) {
      inputDirSm = inLifFeatureRequestInputDirSmFactory(of.input, config);
      if (started) {
         start();
      }
   }
   // On a configuration that is aggregated elsewhere.
   InLifMachines(InLifSwitch& of, Orv::Ptr<InLifIntfConfig> aggregated)
       : config(std::move(aggregated)),
         portSm(portInLifIntfSmFactory(config, handled, of.status, ports, expanded, of.mapping,
                                       Orv::make<Lag::Config>(),
                                       Orv::make<Shoal::LocalPortMapStatus>())),
         vlanSm(vlanInLifIntfSmFactory(config, handled, of.status, vlans, expanded, of.mapping,
                                       of.vlans)),
         subIntfSm(subIntfInLifIntfSmFactory(config, handled, of.status, subIntfs)) {}
   void start() {
      portSm->handleInitialized();
      vlanSm->handleInitialized();
      subIntfSm->handleInitialized();
   }

   static uint64_t word(InLifFeatureAttributes of) {
      return of.data0 | static_cast<uint64_t>(of.data1) << 16 | static_cast<uint64_t>(of.eei) << 32;
   }
   static uint64_t word(Orv::Ptr<DefaultLifFeatureConfig> const& table, std::string const& intf) {
      return word(table->lifFeatureAttr(IntfId(intf)));
   }
   // The responses of a key: types and statuses.
   std::string answers(InLifIntfKey key) {
      std::ostringstream text;
      for (Type type : inLifFeatureTypes) {
         if (auto of = InLifFeatureKey::existing(key, type); responses->responseHas(of)) {
            text << type << ":" << static_cast<uint32_t>(responses->response(of).status) << " ";
         }
      }
      return text.str();
   }

   Orv::Ptr<InLifIntfConfig> config;
   Orv::Ptr<InLifIntfConfig> expanded = Orv::make<InLifIntfConfig>();
   Orv::Ptr<InLifIntfStatus> handled = Orv::make<InLifIntfStatus>();
   Orv::Ptr<InLifFeatureStatus> responses = Orv::make<InLifFeatureStatus>();
   Orv::Ptr<DefaultLifFeatureConfig> ports = Orv::make<DefaultLifFeatureConfig>();
   Orv::Ptr<DefaultLifFeatureConfig> vlans = Orv::make<DefaultLifFeatureConfig>();
   Orv::Ptr<DefaultLifFeatureConfig> merged = Orv::make<DefaultLifFeatureConfig>();
   Orv::Ptr<SubIntfLifFeatureConfig> subIntfs = Orv::make<SubIntfLifFeatureConfig>();

   Orv::Ptr<InLifFeatureRequestInputDirSm> inputDirSm;
   Orv::Ptr<InLifFeatureResponseSm> responseSm =
       inLifFeatureResponseSmFactory(handled, config, responses);
   Orv::Ptr<PortInLifIntfSm> portSm;
   Orv::Ptr<VlanInLifIntfSm> vlanSm;
   Orv::Ptr<SubIntfInLifIntfSm> subIntfSm;
   Orv::Ptr<DefaultLifFeatureMergeSm> mergeSm = DefaultLifFeatureMergeSmIs(ports, vlans, merged);
};

class InLifTest : public testing::Test, protected InLifSwitch, protected InLifMachines {
 protected:
   InLifTest() : InLifMachines(static_cast<InLifSwitch&>(*this)) {}
   uint64_t portWord(std::string const& intf) { return word(ports, intf); }
   uint64_t vlanWord(std::string const& intf) { return word(InLifMachines::vlans, intf); }
   std::string answers(std::string const& intf, uint16_t tcam) {
      return InLifMachines::answers(key(intf, tcam));
   }
   static std::string keyText(std::string const& intf, uint16_t tcam) {
      std::ostringstream text;
      text << key(intf, tcam);
      return text.str();
   }
};

} // namespace Hardware::ShoalTunnel
