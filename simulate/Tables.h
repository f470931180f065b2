// Reads the library's tables into plain maps.
#pragma once

#include "simulate/FeatureModel.h"

#include <map>
#include <type_traits>
#include <utility>

namespace Simulate {

// A table of the library as a map; `value` converts each member to the model's type.
template<class Collection, class Read>
auto read(Collection const& collection, Read value) {
   using Member = std::remove_cvref_t<decltype(*collection.walk().begin())>;
   using Key = std::remove_cvref_t<decltype(Member::key)>;
   using Value = std::remove_cvref_t<decltype(value(std::declval<Member>().value))>;
   std::map<Key, Value> table;
   for (auto const& [key, present] : collection.walk()) {
      table.emplace(key, value(present));
   }
   return table;
}

inline constexpr auto asIs = [](auto const& value) { return value; };
inline constexpr auto number = [](auto const& value) { return static_cast<uint32_t>(value); };
inline constexpr auto data = [](auto const& result) {
   return uint64_t{result.inLifAdditionalData};
};
inline constexpr auto word = [](InLifFeatureAttributes const& attributes) {
   return static_cast<uint64_t>(attributes.eei) << 32 |
          static_cast<uint64_t>(attributes.data1) << 16 | attributes.data0;
};
inline constexpr auto aggregate = [](auto const& present) {
   Aggregate read;
   read.version = present->version();
   for (auto const& [type, value] : present->featureAggIter()) {
      read.features[type] = value;
   }
   return read;
};

} // namespace Simulate
