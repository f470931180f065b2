// The switch under the benchmarks: ports with 4000 sub-interfaces each, 200 ports to a unit.
#pragma once

#include "platform/Hardware/ShoalTunnel/SemTable.h"
#include "platform/Plexus/IntfId.h"
#include "ShoalTunnel/TcamSharing/TcamSharingRequest.h"

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace Bench {

using Hardware::Shoal::FapId;
using Plexus::IntfId;

struct Port {
   IntfId intf;
   uint16_t unit;
   uint16_t unitPort;
   uint8_t domain;
};

struct SubInterface {
   IntfId intf;
   std::size_t port; // in ports
   uint16_t tag;
};

struct World {
   std::vector<Port> ports;
   std::vector<SubInterface> subInterfaces; // in random order

   // Each run names interfaces and units of its own: requests and keys are interned for the life of
   // the process, and a run is to pay for its own.
   World(std::size_t count, unsigned run) {
      constexpr std::size_t perPort = 4000;
      constexpr std::size_t perUnit = 200;
      std::string prefix = "run" + std::to_string(run) + "/Ethernet";
      for (std::size_t p = 0; p * perPort < count; ++p) {
         std::string name = prefix + std::to_string(p);
         auto unitPort = static_cast<uint16_t>(p % perUnit);
         ports.push_back({IntfId(name), static_cast<uint16_t>((run * 2 + p / perUnit) % 128),
                          unitPort, static_cast<uint8_t>(unitPort + 1)});
         for (std::size_t s = 1; s <= perPort && subInterfaces.size() < count; ++s) {
            subInterfaces.push_back(
                {IntfId(name + "." + std::to_string(s)), p, static_cast<uint16_t>(s)});
         }
      }
      std::mt19937 random(run);
      std::shuffle(subInterfaces.begin(), subInterfaces.end(), random);
   }

   // The places of subInterfaces in another random order.
   std::vector<std::size_t> shuffled(unsigned seed) const {
      std::vector<std::size_t> order(subInterfaces.size());
      for (std::size_t i = 0; i < order.size(); ++i) {
         order[i] = i;
      }
      std::mt19937 random(seed);
      std::shuffle(order.begin(), order.end(), random);
      return order;
   }
};

} // namespace Bench
