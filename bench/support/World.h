// The switch under the benchmarks, and who asks for a policy there: sub-interfaces, 4000 to a port
// and 200 ports to a unit, or as many tunnels or ports to a unit.
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

enum class Asking { subInterfaces, tunnels, ports };

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

struct Asker {
   IntfId intf;
   uint16_t unit;
   IntfId port;  // of a sub-interface
   uint16_t tag; // of a sub-interface
};

struct World {
   std::vector<Port> ports;   // that sub-interfaces ask on
   std::vector<Asker> askers; // in random order

   // Runs in one process name interfaces and units of their own: requests and keys are interned for
   // the life of the process, and a run is to pay for its own.
   World(Asking asking, std::size_t count, unsigned run) {
      auto unitAt = [&](std::size_t at) {
         return static_cast<uint16_t>((run * 2 + at / (perPort * perUnit)) % 128);
      };
      std::string prefix = "run" + std::to_string(run) + "/";
      for (std::size_t i = 0; i < count; ++i) {
         if (asking == Asking::tunnels) {
            askers.push_back({IntfId(prefix + "Tunnel" + std::to_string(i)), unitAt(i), {}, 0});
            continue;
         }
         if (asking == Asking::ports) {
            askers.push_back({IntfId(prefix + "Ethernet" + std::to_string(i)), unitAt(i), {}, 0});
            continue;
         }
         if (i % perPort == 0) {
            auto unitPort = static_cast<uint16_t>(ports.size() % perUnit);
            ports.push_back({IntfId(prefix + "Ethernet" + std::to_string(ports.size())), unitAt(i),
                             unitPort, static_cast<uint8_t>(unitPort + 1)});
         }
         IntfId port = ports.back().intf;
         auto tag = static_cast<uint16_t>(i % perPort + 1);
         askers.push_back(
             {IntfId(port.name() + "." + std::to_string(tag)), ports.back().unit, port, tag});
      }
      std::mt19937 random(run);
      std::shuffle(askers.begin(), askers.end(), random);
   }

   // The places of askers in another random order.
   std::vector<std::size_t> shuffled(unsigned seed) const {
      return Bench::shuffled(askers.size(), seed);
   }

 private:
   static constexpr std::size_t perPort = 4000;
   static constexpr std::size_t perUnit = 200;
};

} // namespace Bench
