#include "host/text/Printable.h"

#include "host/text/Text.h"

#include <algorithm>

namespace ShoalHost {

namespace {

// No name of an inventory and hardly a path is longer.
constexpr std::size_t longestWord = 600;
constexpr std::size_t shownOfWord = 60;
constexpr std::size_t longestText = 16384;

std::string firstOf(std::string_view text, std::size_t size) {
   // Not in the middle of a character of UTF-8.
   while (size > 0 && (static_cast<unsigned char>(text[size]) & 0xc0) == 0x80) {
      --size;
   }
   return std::string(text.substr(0, size)) + "...";
}

std::string shortened(std::string_view text, std::size_t longest, std::size_t shown) {
   return text.size() <= longest
              ? std::string(text)
              : formatted("{} ({} characters)", firstOf(text, shown), text.size());
}

std::string shownWord(std::string_view word) {
   bool quoted = word.size() > longestWord && word.front() == '\'' && word.back() == '\'';
   if (!quoted) {
      return shortened(word, longestWord, shownOfWord);
   }
   word = word.substr(1, word.size() - 2);
   return formatted("'{}' ({} characters)", firstOf(word, shownOfWord), word.size());
}

} // namespace

std::string printable(std::string_view text) {
   std::string shown;
   for (std::size_t at = 0; at < text.size();) {
      std::size_t end = std::min(text.find_first_of(" \n", at), text.size());
      shown += shownWord(text.substr(at, end - at));
      shown += text.substr(end, 1);
      at = end + 1;
   }
   std::string escaped;
   for (char c : shortened(shown, longestText, longestText)) {
      if (isControl(c) && c != '\n') {
         constexpr char const* digits = "0123456789abcdef";
         auto byte = static_cast<unsigned char>(c);
         escaped.append("\\x") += digits[byte / 16];
         escaped += digits[byte % 16];
      } else {
         escaped += c;
      }
   }
   return escaped;
}

} // namespace ShoalHost
