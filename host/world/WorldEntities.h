// The entities around the library that the rest of a switch would write, mounted in Corestate.
//
// Each comment gives key -> value, then the writer: the operations of World that change the table.
// What World fills from the inventory at the start is written by the same steps.
#pragma once

#include "platform/Bridging/TaggedVlanDir.h"
#include "platform/Bridging/UntaggedVlanDir.h"
#include "platform/Corestate/Corestate.h"
#include "platform/Hardware/Shoal/LocalPortMapStatus.h"
#include "platform/Hardware/Shoal/Status.h"
#include "platform/Hardware/Shoal/VlanDomainStatus.h"
#include "platform/Hardware/ShoalTunnel/PortMapTables.h"
#include "platform/Hardware/ShoalTunnel/VlanTagToVsiMapper.h"
#include "platform/Interface/EthLagIntfStatus.h"
#include "platform/Interface/SubIntf.h"
#include "platform/IntfVlanId/Table.h"
#include "platform/Lag/Config.h"
#include "platform/Lag/LagPhyIntfMapping.h"

namespace ShoalHost {

struct WorldEntities {
   // Mounts each below "world/" under the name that it has here.
   WorldEntities();

   Corestate::Corestate corestate;

   // Units: FapId -> name while available (fapAvailableIs), type (fapTypeIs) and external look-up
   // type (extLkupTypeIs). Ports: interface -> system port (systemPortIs), system port -> place
   // (portMapIs), port -> TCAM (both). Versions and validity of the port map (portMapVersionInc,
   // portMapValidIs) and of the TCAM keys (tcamKeyVersionInc).
   Orv::Ptr<Hardware::Shoal::Status> shoalStatus;
   // Place -> VLAN domain of the port there, 1 to 254. vlanDomainIs for ports.
   Orv::Ptr<Hardware::Shoal::VlanDomainStatus> vlanDomainStatus;
   // Place -> the interface there. portMapIs, systemPortIs.
   Orv::Ptr<Hardware::ShoalTunnel::ShoalTunnelCommonSmData> scsd;
   // Port -> its unit, and the unit that it had before it last moved. portMapIs, systemPortIs.
   Orv::Ptr<Hardware::ShoalTunnel::ShoalTunnelPortMapHelper> portMapHelper;
   // Port -> its place. portMapIs, systemPortIs.
   Orv::Ptr<Hardware::Shoal::LocalPortMapStatus> localPortMapStatus;

   // Sub-interface -> configured tags; absent once deleted. encapsulationIs, subInterfaceDel.
   Orv::Ptr<Interface::SubIntfConfigDir> subIntfConfigDir;
   // Sub-interface -> programInHw and the kind of its encapsulation. programInHwIs, encapKindIs,
   // subInterfaceDel.
   Orv::Ptr<Interface::SubIntfStatusDir> subIntfStatusDir;
   // Sub-interface -> tags assigned at run time, which override. dynamicEncapsulationIs,
   // subInterfaceDel.
   Orv::Ptr<Interface::SubIntfDynDot1qEncap> dynSubIntfEncap;
   // Sub-interface -> the tags in force; each write is news of a change. Whoever changes either of
   // the two above.
   Orv::Ptr<Hardware::ShoalTunnel::SubIntfDot1qEncapChange> subIntfDot1qEncapChange;
   // Sub-interface, port and tags -> logical interface and in-LIF data. SubIntfEntries makes and
   // removes the entries; the library writes the data.
   Orv::Ptr<Hardware::ShoalTunnel::VlanTagToVsiMapperConfig> vtagToVsiConfig;

   // Routed port -> internal VLAN; 0: none, and still routed. internalVlanIs.
   Orv::Ptr<IntfVlanId::Table> intfVlanIdTable;
   // Port or port-channel -> the VLAN of untagged frames. untaggedVlanIs.
   Orv::Ptr<Bridging::UntaggedVlanDir> untaggedVlanDir;
   // The port or port-channel and VLAN pairs of tagged frames. taggedVlanIs.
   Orv::Ptr<Bridging::TaggedVlanDir> taggedVlanDir;

   // Port-channel -> active members. portChannelIs, memberIs.
   Orv::Ptr<Interface::EthLagIntfStatusDir> ethIntfStatusDir;
   // The port-channels that are configured. portChannelIs.
   Orv::Ptr<Lag::Config> lagConfig;
   // Port-channel -> members, and port -> port-channel. portChannelIs, memberIs.
   Orv::Ptr<Lag::LagPhyIntfMapping> lagPhyIntfMapping;
   // Port-channel and unit -> VLAN domain and the member ports there. vlanDomainIs for
   // port-channels, and whatever changes the members or their places.
   Orv::Ptr<Hardware::ShoalTunnel::VlanTagToVsiMapperSm> vlanTagToVsiMapperSm;
};

} // namespace ShoalHost
