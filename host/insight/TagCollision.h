// What a VLAN tag with two meanings means, in words.
#pragma once

#include "host/wiring/Host.h"

#include <string>

namespace ShoalHost {

// Whose tag it is, and which ports carry the VLAN of that number: "the tag of
// lc1/asic0/Ethernet0.1, and a VLAN that lc1/asic0/Ethernet4 carries". Of many the first ones are
// named. "" when only one of these is so.
std::string tagCollision(Host const& host, Hardware::ShoalTunnel::VlanTagKey const& tag);

// Where the tag of a port's sub-interface counts; the null unit: nowhere.
Hardware::ShoalTunnel::VlanTagKey tagOfSubIntf(Host const& host, IntfId subIntf);

} // namespace ShoalHost
