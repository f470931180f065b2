#include "agent/command/ProgramOptions.h"

#include "agent/command/Registry.h"
#include "agent/inventory/InventoryReader.h"
#include "platform/Toggle/Toggle.h"
#include "ShoalTunnel/TcamSharing/DynamicISemData.h"

#include <iostream>

namespace Agent {

void addInventoryOptions(CLI::App& app, InventoryOptions& options) {
   app.add_option("--inventory", options.path, "CONFIG_DB JSON file")
       ->type_name("FILE")
       ->required();
   app.add_flag("--strict", options.strict, "a diagnostic of the inventory is an error");
   app.add_flag("--quiet", options.quiet, "do not print the diagnostics of the inventory");
}

std::optional<Inventory> readInventory(InventoryOptions const& options) {
   Inventory inventory = readInventory(options.path);
   if (!options.quiet || options.strict) {
      for (auto const& each : inventory.diagnostics) {
         std::cerr << each.file << ": " << each.table << " " << each.key
                   << (options.strict ? ": error: " : ": warning: ") << each.text << "\n";
      }
   }
   if (options.strict && !inventory.diagnostics.empty()) {
      return std::nullopt;
   }
   return inventory;
}

CLI::Validator number(uint64_t min, uint64_t max) {
   return {[=](std::string& text) {
              try {
                 text = std::to_string(parseNumber(text, "it", min, max));
                 return std::string();
              } catch (CommandError const& error) {
                 return std::string(error.what());
              }
           },
           "", "number"};
}

void readToggles() {
   (void)Hardware::ShoalTunnel::toggleDynamicISemDataEnabled();
   for (std::string const& warning : Toggle::warnings()) {
      std::cerr << warning << "\n";
   }
}

} // namespace Agent
