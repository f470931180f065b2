// The facts that the VLAN tag map reads, its three machines one behind the other, and what they
// publish.
#pragma once

#include "ShoalTunnel/TcamSharingVlanTagMapSm/TcamSharingVlanTagMapSm.h"
#include "ShoalTunnel/TcamSharingVlanTagMapSm/VlanPhyIntfConfigSm.h"
#include "ShoalTunnel/TcamSharingVlanTagMapSm/VlanXlateStatusSm.h"

#include <gtest/gtest.h>
#include <map>
#include <set>
#include <sstream>

namespace Hardware::ShoalTunnel {

using Bridging::VlanIdOrNone;
using Plexus::IntfId;
using Shoal::FapId;
using Shoal::VlanDomain;

inline IntfId port(int i) {
   return IntfId("Ethernet" + std::to_string(i));
}
inline IntfId lag(int i) {
   return IntfId("PortChannel" + std::to_string(i));
}
inline IntfId sub(IntfId parent, int i) {
   return IntfId(parent.name() + "." + std::to_string(i));
}

class VlanTagSwitch : public testing::Test {
 public:
   static constexpr int kPorts = 4;

   VlanTagSwitch() {
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

} // namespace Hardware::ShoalTunnel
