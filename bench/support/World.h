// The switch of the benchmarks, and the interfaces for which policies are requested:
// sub-interfaces, 4000 per port and 200 ports per unit, or tunnels or ports, 800,000 per unit.
#pragma once

#include "platform/Hardware/Shoal/Ids.h"
#include "platform/Plexus/IntfId.h"

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace Bench {

using Hardware::Shoal::FapId;
using Plexus::IntfId;

enum class RequestKind { subInterfaces, tunnels, ports };

// The numbers below `count` in random order.
inline std::vector<std::size_t> shuffled(std::size_t count, unsigned seed) {
   std::vector<std::size_t> order(count);
   for (std::size_t i = 0; i < order.size(); ++i) {
      order[i] = i;
   }
   std::mt19937 random(seed);
   std::shuffle(order.begin(), order.end(), random);
   return order;
}

struct Port {
   IntfId intf;
   uint16_t unit;
   uint16_t unitPort;
   uint8_t domain;
};

struct Target {
   IntfId intf;
   uint16_t unit;
   IntfId port;  // of a sub-interface
   uint16_t tag; // of a sub-interface
};

struct World {
   std::vector<Port> ports;     // of the sub-interfaces
   std::vector<Target> targets; // in random order

   // Each run has its own interface and unit names: requests and keys are interned for the life of
   // the process, and each run has to pay for its own.
   World(RequestKind kind, std::size_t count, unsigned run) {
      auto unitAt = [&](std::size_t at) {
         return static_cast<uint16_t>((run * 2 + at / (perPort * perUnit)) % 128);
      };
      std::string prefix = "run" + std::to_string(run) + "/";
      for (std::size_t i = 0; i < count; ++i) {
         if (kind == RequestKind::tunnels) {
            targets.push_back({IntfId(prefix + "Tunnel" + std::to_string(i)), unitAt(i), {}, 0});
            continue;
         }
         if (kind == RequestKind::ports) {
            targets.push_back({IntfId(prefix + "Ethernet" + std::to_string(i)), unitAt(i), {}, 0});
            continue;
         }
         if (i % perPort == 0) {
            auto unitPort = static_cast<uint16_t>(ports.size() % perUnit);
            ports.push_back({IntfId(prefix + "Ethernet" + std::to_string(ports.size())), unitAt(i),
                             unitPort, static_cast<uint8_t>(unitPort + 1)});
         }
         IntfId port = ports.back().intf;
         auto tag = static_cast<uint16_t>(i % perPort + 1);
         targets.push_back(
             {IntfId(port.name() + "." + std::to_string(tag)), ports.back().unit, port, tag});
      }
      std::mt19937 random(run);
      std::shuffle(targets.begin(), targets.end(), random);
   }

   // The indices of the targets in another random order.
   std::vector<std::size_t> shuffled(unsigned seed) const {
      return Bench::shuffled(targets.size(), seed);
   }

 private:
   static constexpr std::size_t perPort = 4000;
   static constexpr std::size_t perUnit = 200;
};

} // namespace Bench
