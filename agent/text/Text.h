// Texts put together from parts.
#pragma once

#include <fmt/format.h>
#include <string>
#include <string_view>

namespace Agent {

// The texts that `format` makes of the items, with the separator between them.
template<class Range, class Format>
std::string join(Range&& items, std::string_view separator, Format format) {
   std::string text;
   bool first = true;
   for (auto const& item : items) {
      if (!first) {
         text += separator;
      }
      first = false;
      text += format(item);
   }
   return text;
}
template<class Range>
std::string join(Range&& items, std::string_view separator) {
   return join(items, separator, [](std::string_view item) { return item; });
}

// "1 request", "3 requests".
inline std::string counted(std::size_t count, std::string_view noun) {
   return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

// Adds a part behind what is there.
inline void append(std::string& text, std::string_view separator, std::string_view part) {
   text.append(text.empty() ? "" : separator).append(part);
}

} // namespace Agent
