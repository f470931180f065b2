// Where a request leads in the present state of the world: the hardware entries that programming it
// needs, and what it lacks.
#pragma once

#include "host/wiring/Host.h"

#include <string>

namespace ShoalHost {

// What a routed port without an internal VLAN lacks.
inline constexpr char const* noInternalVlan = "the interface has no internal VLAN";

struct Resolution {
   // The entries that the request leads to as far as its tags and VLAN domain are known, whether or
   // not its unit is available. At most one kind: ISEM, mapper (one per port) or tunnel.
   std::vector<PolicyKey> keys;
   std::string missing; // in words; empty: it can be programmed
   bool never = false;  // an interface of this kind will never have what is missing
   bool flag = false;   // all that is missing is program-in-hw
};
Resolution resolve(Host const& host, TcamSharingRequest request);

} // namespace ShoalHost
