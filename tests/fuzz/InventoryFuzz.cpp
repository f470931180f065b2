// Any bytes as an inventory: an error that names the place, or a switch that can be built.
#include "agent/host/Host.h"
#include "agent/inventory/InventoryReader.h"

#include <string>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
   try {
      Agent::Host host(
          Agent::parseInventory(std::string(reinterpret_cast<char const*>(data), size), "fuzz"));
   } catch (Agent::InventoryError const&) {
      // As it should be.
   }
   return 0;
}
