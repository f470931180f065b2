// Value types: plain structs with one field list.
//
//    struct Range {
//       uint16_t first = 0;
//       uint16_t last = 0;
//       ORV_VALUE(Range, "Example::Range", first, last)
//    };
//
// The list gives equality, lexicographic order, Orv::hashOf(), and printing as
// "Value('Example::Range', ** {'first': 100, 'last': 0})".
#pragma once

#include <bit>
#include <compare>
#include <concepts>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>

// Expands to the full name, the names of the fields as one string, the tuple of the fields, and
// the operators made from it.
#define ORV_VALUE(Type, fullName, ...)                                                             \
   static constexpr char const* orvTypeName = fullName;                                            \
   static constexpr char const* orvFieldNames = #__VA_ARGS__;                                      \
   constexpr auto orvFields() const {                                                              \
      return std::tie(__VA_ARGS__);                                                                \
   }                                                                                               \
   [[maybe_unused]] friend constexpr bool operator==(Type const& a, Type const& b) {               \
      return a.orvFields() == b.orvFields();                                                       \
   }                                                                                               \
   [[maybe_unused]] friend constexpr auto operator<=>(Type const& a, Type const& b) {              \
      return a.orvFields() <=> b.orvFields();                                                      \
   }                                                                                               \
   friend std::ostream& operator<<(std::ostream& out, Type const& value) {                         \
      return Orv::printValue(out, value);                                                          \
   }

namespace Orv {

template<class T>
concept Value = requires(T const& value) {
   value.orvFields();
};

template<class T>
concept SelfHashing = requires(T const& value) {
   { value.hash() } -> std::convertible_to<uint64_t>;
};

// Finaliser with full avalanche: collections take both the top and the low bits of a hash.
constexpr uint64_t mixHash(uint64_t x) {
   x ^= x >> 32;
   x *= 0xd6e8feb86659fd93ULL;
   x ^= x >> 32;
   x *= 0xd6e8feb86659fd93ULL;
   x ^= x >> 32;
   return x;
}

template<class T>
uint64_t hashOf(T const& value) {
   if constexpr (SelfHashing<T>) {
      return value.hash();
   } else if constexpr (Value<T>) {
      return std::apply(
          [](auto const&... field) {
             uint64_t hash = 0;
             // The hashes of the fields are computed side by side; only this chain is serial.
             ((hash = (std::rotl(hash, 25) + hashOf(field)) * 0x9e3779b97f4a7c15ULL), ...);
             return mixHash(hash);
          },
          value.orvFields());
   } else if constexpr (std::is_integral_v<T> || std::is_enum_v<T>) {
      return mixHash(static_cast<uint64_t>(value));
   } else {
      return std::hash<T>{}(value);
   }
}

// A scoped enumeration with a stream operator of its own.
template<class T>
concept NamedEnum =
    std::is_enum_v<T> && !std::is_convertible_v<T, int> && requires(std::ostream & out, T value) {
   out << value;
};

// Prints one field of a value: bytes as numbers, flags as 0 or 1.
template<class T>
void printField(std::ostream& out, T const& field) {
   if constexpr (std::is_integral_v<T>) {
      out << +field;
   } else if constexpr (std::is_enum_v<T> && !NamedEnum<T>) {
      out << +static_cast<std::underlying_type_t<T>>(field);
   } else {
      out << field;
   }
}

template<Value T>
std::ostream& printValue(std::ostream& out, T const& value) {
   out << "Value('" << T::orvTypeName << "', ** {";
   std::string_view names = T::orvFieldNames;
   auto printOne = [&](auto const& field) {
      auto comma = names.find(',');
      std::string_view name = names.substr(0, comma);
      // The name of a private field is printed without its trailing underscore.
      if (name.ends_with('_')) {
         name.remove_suffix(1);
      }
      out << "'" << name << "': ";
      printField(out, field);
      names.remove_prefix(comma == std::string_view::npos ? names.size() : comma + 1);
      while (names.starts_with(' ')) {
         names.remove_prefix(1);
      }
      if (!names.empty()) {
         out << ", ";
      }
   };
   std::apply([&](auto const&... field) { (printOne(field), ...); }, value.orvFields());
   return out << "})";
}

} // namespace Orv
