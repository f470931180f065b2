#include "agent/inventory/InventoryReader.h"

#include "agent/inventory/FileContent.h"
#include "agent/inventory/InventoryBuilder.h"

namespace Agent {

Inventory parseInventory(std::string const& content, std::string const& file) {
   Inventory inventory;
   ConfigFile config(content, file, inventory);
   InventoryBuilder(config, inventory).build();
   return inventory;
}

Inventory readInventory(std::string const& path) {
   std::string reason;
   auto content = fileContent(path, &reason);
   if (!content) {
      throw InventoryError(path + ": error: cannot be read: " + reason);
   }
   return parseInventory(*content, path);
}

} // namespace Agent
