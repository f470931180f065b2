// The library's machines as the agent can build them again, and who wants to hear of it.
#pragma once

#include <array>
#include <string_view>

namespace Agent {

class SharingPipeline;

enum class Machine { merge, intake, isem, mapper, tunnel, vlanDomain };
inline constexpr std::array<std::string_view, 6> machineNames{"merge",  "intake", "isem",
                                                              "mapper", "tunnel", "vlan-domain"};

// Follows an agent's machines from the outside.
class Follower {
 public:
   virtual ~Follower() = default;
   // The machine is gone, and is about to be built on the entities that it left behind.
   // `pipeline`: the one that it belongs to; null for none.
   virtual void handleGone(Machine machine, SharingPipeline* pipeline) = 0;
   // It stands again.
   virtual void handleBuilt(Machine machine, SharingPipeline* pipeline) = 0;
};

} // namespace Agent
