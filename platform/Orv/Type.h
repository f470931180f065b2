// The registry of entity types, by full name.
#pragma once

#include "platform/Orv/Export.h"

#include <string>
#include <string_view>
#include <utility>

namespace Orv {

class ORV_EXPORT Type {
 public:
   // The one Type object of this name in the process; registers it when new.
   static Type const& named(std::string_view name);
   // null when no type of this name was registered.
   static Type const* find(std::string_view name);

   std::string const& name() const { return name_; }

   explicit Type(std::string name) : name_(std::move(name)) {}
   Type(Type const&) = delete;
   Type& operator=(Type const&) = delete;

 private:
   std::string name_;
};

template<class T>
Type const& typeOf() {
   static Type const& type = Type::named(T::orvFullName);
   return type;
}

// Registers T when the program starts; ORV_ENTITY declares one.
template<class T>
struct TypeRegistration {
   TypeRegistration() { typeOf<T>(); }
};

} // namespace Orv
