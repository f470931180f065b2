// Takes texts apart by templates in which '%' stands for a part.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Simulate {

using Parts = std::vector<std::string>;

// The parts of a text that fits the template; none: it does not fit.
inline std::optional<Parts> fit(std::string_view text, std::string_view shape) {
   Parts parts;
   auto literal = shape.substr(0, shape.find('%'));
   if (!text.starts_with(literal)) {
      return std::nullopt;
   }
   text.remove_prefix(literal.size());
   shape.remove_prefix(literal.size());
   while (!shape.empty()) {
      shape.remove_prefix(1);
      literal = shape.substr(0, shape.find('%'));
      shape.remove_prefix(literal.size());
      auto end = shape.empty() ? (text.ends_with(literal) ? text.size() - literal.size()
                                                          : std::string_view::npos)
                               : text.find(literal);
      if (end == std::string_view::npos) {
         return std::nullopt;
      }
      parts.emplace_back(text.substr(0, end));
      text.remove_prefix(end + literal.size());
   }
   return text.empty() ? std::optional(std::move(parts)) : std::nullopt;
}

inline Parts split(std::string_view text, std::string_view separator) {
   Parts parts;
   for (;;) {
      auto end = text.find(separator);
      parts.emplace_back(text.substr(0, end));
      if (end == std::string_view::npos) {
         return parts;
      }
      text.remove_prefix(end + separator.size());
   }
}

} // namespace Simulate
