#include "platform/Orv/Type.h"

#include <map>
#include <memory>

namespace Orv {

namespace {
// Function-local, since static objects of other files register types while they are constructed.
std::map<std::string, std::unique_ptr<Type>, std::less<>>& registry() {
   static std::map<std::string, std::unique_ptr<Type>, std::less<>> types;
   return types;
}
} // namespace

Type const& Type::named(std::string_view name) {
   auto found = registry().find(name);
   if (found == registry().end()) {
      std::string key(name);
      found = registry().emplace(key, std::make_unique<Type>(key)).first;
   }
   return *found->second;
}

Type const* Type::find(std::string_view name) {
   auto found = registry().find(name);
   return found == registry().end() ? nullptr : found->second.get();
}

} // namespace Orv
