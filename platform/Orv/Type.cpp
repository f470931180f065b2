#include "platform/Orv/Type.h"

#include "platform/Orv/Entity.h"
#include "platform/Orv/Exception.h"

#include <map>
#include <memory>

namespace Orv {

namespace {
// Function-local: types register while other static objects are still being made.
std::map<std::string, std::unique_ptr<Type>, std::less<>>& registry() {
   static std::map<std::string, std::unique_ptr<Type>, std::less<>> types;
   return types;
}
} // namespace

Type const& Type::named(std::string_view name, Factory factory) {
   auto found = registry().find(name);
   if (found == registry().end()) {
      std::string key(name);
      found = registry().emplace(key, std::make_unique<Type>(key, factory)).first;
   }
   return *found->second;
}

Type const* Type::find(std::string_view name) {
   auto found = registry().find(name);
   return found == registry().end() ? nullptr : found->second.get();
}

Ptr<Entity> Type::make() const {
   if (factory_ == nullptr) {
      throw NoImplementationException(name_ + " cannot be made without arguments");
   }
   return factory_();
}

} // namespace Orv
