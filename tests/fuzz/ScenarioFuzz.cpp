// Any bytes as a scenario: errors, but never the end of the agent.
//
// A scenario is carried out without rehearsals, which is fast and counts coverage. When that stops
// the library, the last change before must be one that the rehearsal refuses; else all is run again
// as the agent does it, and if that ends, so would the agent.
#include "agent/command/Advice.h"
#include "agent/command/Registry.h"
#include "agent/command/ScenarioRunner.h"
#include "agent/inventory/InventoryReader.h"
#include "platform/Orv/Exception.h"
#include "platform/Orv/Failure.h"
#include "platform/Trace/Trace.h"
#include "tests/fuzz/Rehearsals.h"

#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr char const* inventory = R"({
  "u|0": {"PORT": {"Ethernet0": {}, "Ethernet4": {}, "Ethernet8": {}}, "INTERFACE": {"Ethernet8": {}},
          "PORTCHANNEL": {"PortChannel1": {}}, "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet4": {}},
          "VLAN_INTERFACE": {"Vlan9": {}}, "VXLAN_TUNNEL": {"t": {}},
          "VLAN_SUB_INTERFACE": {"PortChannel1.1": {"vlan": 10}, "PortChannel1.2": {"vlan": 10}, "Ethernet0.5": {"vlan": 5}}},
  "u|1": {"PORT": {"Ethernet0": {"core_id": 1}, "Ethernet4": {}, "Ethernet8": {"core_id": 1}},
          "PORTCHANNEL": {"PortChannel3": {}},
          "PORTCHANNEL_MEMBER": {"PortChannel3|Ethernet4": {}, "PortChannel3|Ethernet8": {}},
          "VLAN_SUB_INTERFACE": {"Ethernet0.7": {"vlan": 7}, "PortChannel3.1": {"vlan": 10}},
          "VLAN": {"Vlan7": {}}, "VLAN_MEMBER": {"Vlan7|Ethernet0": {"tagging_mode": "untagged"}},
          "VLAN_INTERFACE": {"Vlan7": {}}, "VXLAN_TUNNEL": {"t": {}}, "SHOAL_UNIT": {"u|1": {"fap_type": 2}}},
  "u|2": {"PORT": {"Ethernet0": {}}, "SHOAL_UNIT": {"u|2": {"ext_lkup_type": 4}}}})";

constexpr std::size_t maxLines = 100;

using Lines = std::vector<std::string>;

// Thrown when an invariant of the library fails.
struct Stopped {};

// Words of a line that is a command; none for what is no more than an error.
std::vector<std::string> wordsOf(std::string const& line) {
   try {
      auto words = Agent::splitWords(line);
      if (!words.empty()) {
         auto rest = words;
         (void)Agent::commandRegistry().take(rest);
      }
      return words;
   } catch (Agent::CommandError const&) {
      return {};
   }
}

// Without those that write files of any name.
Lines linesOf(std::string const& text) {
   Lines lines;
   std::istringstream in(text);
   for (std::string line; lines.size() < maxLines && std::getline(in, line);) {
      auto words = wordsOf(line);
      if (words.size() < 2 || words[0] != "trace" || (words[1] != "file" && words[1] != "ring")) {
         lines.push_back(line);
      }
   }
   return lines;
}

class FuzzedAgent {
 public:
   FuzzedAgent() : host_(chassis()) { host_.traceFile().pathIs("/dev/null"); }
   FuzzedAgent(FuzzedAgent const&) = delete;
   FuzzedAgent& operator=(FuzzedAgent const&) = delete;
   // The levels are the process's.
   ~FuzzedAgent() { Trace::enabledLevels = 0; }

   Agent::AgentHost& host() { return host_; }

   // A command as it is, without rehearsal.
   void carryOut(std::vector<std::string> words) {
      auto const& command = Agent::commandRegistry().take(words);
      Agent::Arguments arguments(std::move(words));
      std::ostringstream out;
      command.run(host_, arguments, out);
   }

   void tryOut(std::string const& line) {
      auto words = wordsOf(line);
      if (words.empty()) {
         return;
      }
      try {
         carryOut(std::move(words));
      } catch (Orv::RangeException const&) {
         throw Stopped();
      } catch (std::exception const&) {
         // Told, and nothing changed.
      }
   }

 private:
   static Agent::Inventory const& chassis() {
      static auto const parsed = Agent::parseInventory(inventory, "fuzz");
      return parsed;
   }
   Agent::AgentHost host_;
};

// The line that stops the library, or at which it stops once time has passed.
std::optional<std::size_t> stopOf(Lines const& lines) {
   Orv::failureHookIs([](Orv::Failure const&) { throw Stopped(); });
   std::size_t at = 0;
   bool stopped = false;
   try {
      FuzzedAgent agent;
      for (; at < lines.size(); ++at) {
         agent.tryOut(lines[at]);
      }
      agent.host().settle();
   } catch (Stopped const&) {
      stopped = true;
   }
   Orv::failureHookIs(nullptr);
   return stopped ? std::optional(at) : std::nullopt;
}

bool changes(std::string const& line) {
   auto words = wordsOf(line);
   return !words.empty() && Agent::commandRegistry().take(words).changes();
}

// Whether the rehearsal of a line refuses it behind those in front of it.
bool refuses(Lines const& lines, std::size_t at) {
   FuzzedAgent agent;
   for (std::size_t i = 0; i < at; ++i) {
      agent.tryOut(lines[i]);
   }
   try {
      Agent::requireHarmless(agent.host(), [&] { agent.carryOut(wordsOf(lines[at])); });
   } catch (Agent::CommandError const&) {
      return true;
   }
   return false;
}

void runAsAgent(Lines const& lines) {
   FuzzedAgent agent;
   std::ostringstream told;
   Agent::ScenarioRunner runner(agent.host(), told, told, {true, true});
   for (std::size_t i = 0; i < lines.size(); ++i) {
      runner.runLine(lines[i], "fuzz", i + 1);
   }
   agent.host().settle();
}

} // namespace

// Forks are fast while there is little to copy.
extern "C" char const* __asan_default_options() {
   return "quarantine_size_mb=16";
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
   Fuzz::watchRehearsals();
   return 0;
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
   auto lines = linesOf({reinterpret_cast<char const*>(data), size});
   auto stop = stopOf(lines);
   if (!stop) {
      return 0;
   }
   std::size_t last = std::min(*stop + 1, lines.size());
   while (last > 0 && !changes(lines[last - 1])) {
      --last;
   }
   if (last == 0 || !refuses(lines, last - 1)) {
      runAsAgent(lines);
   }
   return 0;
}
