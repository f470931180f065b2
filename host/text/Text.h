// Texts put together from parts.
#pragma once

#include <concepts>
#include <string>
#include <string_view>
#include <type_traits>

namespace ShoalHost {

inline std::string const& asText(std::string const& text) {
   return text;
}
inline std::string_view asText(std::string_view text) {
   return text;
}
inline std::string_view asText(char const* text) {
   return text;
}
template<std::integral T>
std::string asText(T number) {
   return std::to_string(number);
}

// A text with a "{}" for each of the arguments, which the compiler counts.
template<class... Args>
class Pattern {
 public:
   template<std::size_t size>
   consteval Pattern(char const (&text)[size]) : text_(text, size - 1) {
      std::size_t count = 0;
      for (std::size_t i = 0; i + 1 < text_.size(); ++i) {
         count += text_[i] == '{' && text_[i + 1] == '}' ? 1 : 0;
      }
      if (count != sizeof...(Args)) {
         throw "the text has another number of {}";
      }
   }
   std::string_view text() const { return text_; }

 private:
   std::string_view text_;
};

// The pattern with each "{}" replaced by the next argument: text or an integer.
template<class... Args>
std::string formatted(Pattern<std::type_identity_t<Args>...> pattern, Args const&... args) {
   std::string result;
   std::string_view rest = pattern.text();
   [[maybe_unused]] auto add = [&](std::string_view part) {
      auto place = rest.find("{}");
      result.append(rest.substr(0, place)).append(part);
      rest.remove_prefix(place + 2);
   };
   auto addAll = [&](auto const&... parts) {
      result.reserve((rest.size() + ... + std::string_view(parts).size()));
      (add(parts), ...);
   };
   addAll(asText(args)...);
   return result.append(rest);
}

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
   return formatted("{} {}{}", count, noun, count == 1 ? "" : "s");
}

// Adds a part behind what is there.
inline void append(std::string& text, std::string_view separator, std::string_view part) {
   text.append(text.empty() ? "" : separator).append(part);
}

} // namespace ShoalHost
