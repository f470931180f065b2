// Options that shoal-agent and shoal-simulate have in common.
#pragma once

#include "agent/errors/Errors.h"
#include "host/world/Inventory.h"

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

namespace Agent {

inline constexpr int usageError = 2;

struct InventoryOptions {
   std::string path;
   bool strict = false;
   bool quiet = false;
};

void addInventoryOptions(CLI::App& app, InventoryOptions& options);
// Prints the inventory's diagnostics; none when they are errors. Throws InventoryError.
std::optional<Inventory> readInventory(InventoryOptions const& options);
// Numbers as in commands, instead of whatever the conversion makes of them.
CLI::Validator number(uint64_t min, uint64_t max);
// Reads the toggles once and prints what is wrong with them, before any copy of the process does.
void readToggles();

} // namespace Agent
