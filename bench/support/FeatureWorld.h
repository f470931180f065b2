// The requests of the in-LIF feature benchmarks: twelve feature types, each in the request
// directory of its type.
#pragma once

#include "bench/support/World.h"
#include "platform/Hardware/ShoalTunnel/InLifFeatureType.h"

namespace Bench {

// One request per sub-interface or port, or all twelve types on every sub-interface.
enum class FeatureRequestKind { subInterfaces, ports, allTypes };

struct FeatureWorld {
   // Each directory has its own types.
   static constexpr std::size_t directories = 4;
   static constexpr unsigned types = Hardware::ShoalTunnel::inLifFeatureTypes.size();
   // A feature's field in the word.
   static constexpr uint16_t width = 5;
   static constexpr uint32_t mask = (1U << width) - 1;
   static uint16_t offsetOf(unsigned type) { return static_cast<uint16_t>((type - 1) * width); }

   struct Request {
      IntfId intf;
      uint16_t tcam;
      uint8_t type; // from 1
      std::size_t directory() const { return type % directories; }
   };
   std::vector<Request> requests; // in random order

   FeatureWorld(FeatureRequestKind kind, std::size_t count, unsigned run) {
      unsigned perKey = kind == FeatureRequestKind::allTypes ? types : 1;
      World world(kind == FeatureRequestKind::ports ? RequestKind::ports
                                                    : RequestKind::subInterfaces,
                  (count + perKey - 1) / perKey, run);
      for (std::size_t at : Bench::shuffled(count, run)) {
         requests.push_back({world.targets[at / perKey].intf, tcamAt(at / perKey),
                             static_cast<uint8_t>(at % types + 1)});
      }
   }
   std::vector<std::size_t> shuffled(unsigned seed) const {
      return Bench::shuffled(requests.size(), seed);
   }
   static constexpr uint16_t tcams = 16;

 private:
   static uint16_t tcamAt(std::size_t at) { return static_cast<uint16_t>(at % tcams); }
};

} // namespace Bench
