// The registry of entity types: by full name, with a factory where a type can be made without
// arguments.
#pragma once

#include "platform/Export.h"
#include "platform/Orv/Ptr.h"

#include <string>
#include <string_view>
#include <type_traits>

namespace Orv {

class Entity;

class ORV_EXPORT Type {
 public:
   using Factory = Ptr<Entity> (*)();

   // The one Type object of this name in the process; registers it when new.
   static Type const& named(std::string_view name, Factory factory = nullptr);
   // null when no type of this name was registered.
   static Type const* find(std::string_view name);

   std::string const& name() const { return name_; }
   // A new entity; throws NoImplementationException for types that need arguments.
   Ptr<Entity> make() const;

   Type(std::string name, Factory factory) : name_(std::move(name)), factory_(factory) {}
   Type(Type const&) = delete;
   Type& operator=(Type const&) = delete;

 private:
   std::string name_;
   Factory factory_;
};

template<class T>
Type const& typeOf() {
   static Type const& type = [&]() -> Type const& {
      if constexpr (std::is_default_constructible_v<T>) {
         return Type::named(T::orvFullName, []() -> Ptr<Entity> { return Ptr<Entity>(new T()); });
      } else {
         return Type::named(T::orvFullName);
      }
   }();
   return type;
}

// Registers T when the program starts; ORV_ENTITY makes one.
template<class T>
struct TypeRegistration {
   TypeRegistration() { typeOf<T>(); }
};

} // namespace Orv
