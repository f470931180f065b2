#include "agent/inventory/InventoryReader.h"

#include "agent/inventory/InventoryBuilder.h"

#include <fstream>
#include <iterator>

namespace Agent {

Inventory parseInventory(std::string const& content, std::string const& file) {
   Inventory inventory;
   ConfigFile config(content, file, inventory);
   InventoryBuilder(config, inventory).build();
   return inventory;
}

Inventory readInventory(std::string const& path) {
   std::ifstream in(path, std::ios::binary);
   if (!in) {
      throw InventoryError(path + ": error: cannot be read");
   }
   std::string content{std::istreambuf_iterator<char>(in), {}};
   if (in.bad()) {
      throw InventoryError(path + ": error: cannot be read");
   }
   return parseInventory(content, path);
}

} // namespace Agent
