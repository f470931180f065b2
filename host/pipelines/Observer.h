// The library's machines that a host can build again, and who is told of it.
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace ShoalHost {

class SharingPipeline;

enum class Machine {
   merge,
   intake,
   isem,
   mapper,
   tunnel,
   vlanDomain, // from here on: of VLAN tags
   vlanPorts,
   vlanXlate,
   vlanTagMap,
   featureRequests, // from here on: of in-LIF features
   featureResponses,
   portWords,
   vlanWords,
   mergedWords,
   subInterfaceWords,
   defaultMapping,
};
inline constexpr std::array<std::string_view, 16> machineNames{"merge",
                                                               "intake",
                                                               "isem",
                                                               "mapper",
                                                               "tunnel",
                                                               "vlan-domain",
                                                               "vlan-ports",
                                                               "vlan-xlate",
                                                               "vlan-tag-map",
                                                               "feature-requests",
                                                               "feature-responses",
                                                               "port-words",
                                                               "vlan-words",
                                                               "merged-words",
                                                               "sub-interface-words",
                                                               "default-mapping"};

// Watches a host's machines from the outside.
class Observer {
 public:
   virtual ~Observer() = default;
   // The machine was destroyed, and is about to be built again on the same entities.
   // `pipeline`: the one that it belongs to; null for none.
   virtual void handleGone(Machine machine, SharingPipeline* pipeline) = 0;
   // The machine was built again.
   virtual void handleBuilt(Machine machine, SharingPipeline* pipeline) = 0;
   // All machines of in-LIF features were built again, on empty tables.
   virtual void handleFeaturesFresh() = 0;
   // Whether this failure of an invariant is expected now.
   virtual bool stopsBy(std::string_view condition) const = 0;
};

} // namespace ShoalHost
