// Any bytes as an inventory: an error that names the place, or a switch that works.
#include "agent/command/ScenarioRunner.h"
#include "agent/inventory/InventoryReader.h"

#include <sstream>
#include <string>

namespace {

constexpr char const* scenario = R"(
feature-directory a add
feature a * own 1 3
request acl * own 5
settle
show summary
show words
problems --format json
show diagnostics
show tcam-layouts
)";

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
   try {
      Agent::AgentHost host(
          Agent::parseInventory(std::string(reinterpret_cast<char const*>(data), size), "fuzz"));
      std::ostringstream out;
      std::istringstream in(scenario);
      Agent::ScenarioRunner(host, out, out, {true, false}).run(in, "fuzz");
   } catch (Agent::InventoryError const&) {
      // As it should be.
   }
   return 0;
}
