#include "host/world/InterfaceName.h"

#include "host/text/Printable.h"

#include <algorithm>
#include <charconv>

namespace ShoalHost {

namespace {

bool isDigit(char c) {
   return c >= '0' && c <= '9';
}

std::optional<uint64_t> wholeNumber(std::string_view digits) {
   uint64_t number = 0;
   auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
   if (error != std::errc() || end != digits.data() + digits.size() || digits.empty()) {
      return std::nullopt;
   }
   return number;
}

std::string_view digitsAt(std::string_view text, std::size_t at) {
   std::size_t end = at;
   while (end < text.size() && isDigit(text[end])) {
      ++end;
   }
   return text.substr(at, end - at);
}

} // namespace

bool plainName(std::string_view name) {
   return !name.empty() && name.find_first_of(" \"#*?") == std::string_view::npos &&
          std::none_of(name.begin(), name.end(), isControl);
}

std::string_view bareName(std::string_view name) {
   auto slash = name.rfind('/');
   return slash == std::string_view::npos ? name : name.substr(slash + 1);
}

std::string longName(std::string_view name) {
   std::string_view bare = bareName(name);
   std::string prefix(name.substr(0, name.size() - bare.size()));
   auto expanded = [&](std::string_view shortForm, std::string_view longForm) {
      return bare.starts_with(shortForm) && bare.size() > shortForm.size() &&
                     isDigit(bare[shortForm.size()])
                 ? std::optional(prefix + std::string(longForm) +
                                 std::string(bare.substr(shortForm.size())))
                 : std::nullopt;
   };
   if (auto port = expanded("Eth", "Ethernet")) {
      return *port;
   }
   return expanded("Po", "PortChannel").value_or(std::string(name));
}

std::optional<SubInterfaceName> parseSubInterface(std::string_view name) {
   auto dot = name.rfind('.');
   if (dot == std::string_view::npos || dot == 0) {
      return std::nullopt;
   }
   auto id = wholeNumber(name.substr(dot + 1));
   if (!id || *id < 1 || *id > 99999999 || name.size() - dot - 1 > 8) {
      return std::nullopt;
   }
   return SubInterfaceName{longName(name.substr(0, dot)), static_cast<uint32_t>(*id)};
}

std::optional<uint64_t> parseVlanName(std::string_view name) {
   if (!name.starts_with("Vlan") || name.size() == 4 || name[4] == '0') {
      return std::nullopt;
   }
   return wholeNumber(name.substr(4));
}

bool alike(std::string_view a, std::string_view b) {
   if (a.size() > b.size()) {
      std::swap(a, b);
   }
   if (b.size() - a.size() > 1) {
      return false;
   }
   auto [left, right] = std::mismatch(a.begin(), a.end(), b.begin());
   if (left == a.end()) {
      return true;
   }
   return std::equal(a.size() == b.size() ? left + 1 : left, a.end(), right + 1, b.end());
}

bool naturalLess(std::string_view a, std::string_view b) {
   // What both begin with decides nothing, but for a number that goes on behind it.
   std::size_t shorter = std::min(a.size(), b.size());
   std::size_t differs = 0;
   while (differs < shorter && a[differs] == b[differs]) {
      ++differs;
   }
   std::size_t same = differs;
   while (same > 0 && isDigit(a[same - 1])) {
      --same;
   }
   if (differs < shorter && a[same] != '0' && b[same] != '0') {
      // Without padding the longer number is greater; of one length they compare as text.
      std::size_t left = digitsAt(a, same).size();
      std::size_t right = digitsAt(b, same).size();
      return left != right && left != 0 && right != 0 ? left < right : a[differs] < b[differs];
   }
   std::size_t i = same;
   std::size_t j = same;
   while (i < a.size() && j < b.size()) {
      if (isDigit(a[i]) && isDigit(b[j])) {
         std::string_view left = digitsAt(a, i);
         std::string_view right = digitsAt(b, j);
         i += left.size();
         j += right.size();
         left.remove_prefix(std::min(left.find_first_not_of('0'), left.size()));
         right.remove_prefix(std::min(right.find_first_not_of('0'), right.size()));
         if (left.size() != right.size()) {
            return left.size() < right.size();
         }
         if (left != right) {
            return left < right;
         }
      } else if (a[i] != b[j]) {
         return a[i] < b[j];
      } else {
         ++i;
         ++j;
      }
   }
   // Names that differ in zero padding only keep an order of their own.
   return a.size() - i != b.size() - j ? a.size() - i < b.size() - j : a < b;
}

} // namespace ShoalHost
