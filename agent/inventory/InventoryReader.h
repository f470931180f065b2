// Reads CONFIG_DB JSON into an Inventory.
#pragma once

#include "agent/errors/Errors.h"
#include "host/world/Inventory.h"

namespace Agent {

// Throws InventoryError, "path:line:column: error: reason" for content that is not a JSON object
// and "path: error: reason" for a file that cannot be read. Everything else that is wrong becomes a
// diagnostic. Cost: linear in the file (times a logarithm).
Inventory readInventory(std::string const& path);
// The same for content at hand; `file` is the name that diagnostics carry.
Inventory parseInventory(std::string const& content, std::string const& file);

} // namespace Agent
