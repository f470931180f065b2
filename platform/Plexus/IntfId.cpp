#include "platform/Plexus/IntfId.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <map>
#include <optional>

namespace Plexus {

constinit IntfIds intfIds;

namespace {

uint64_t hashName(std::string_view name) {
   return Orv::mixHash(std::hash<std::string_view>{}(name));
}

bool allDigits(std::string_view text) {
   return !text.empty() &&
          std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// The number of "Vlan<number>" without zero padding; nothing for other names. The number need not
// be a VLAN id: one of more than 16 bits gives 65535, so that it stays outside the range.
std::optional<uint16_t> vlanOf(std::string_view base) {
   // The name of a flood entry has its mark after the number.
   std::string_view digits = base.substr(4, std::min(base.size(), base.find("-L3Flood")) - 4);
   uint16_t vlan = 0;
   auto error = std::from_chars(digits.data(), digits.data() + digits.size(), vlan).ec;
   bool padded = digits.size() > 1 && digits.front() == '0';
   if (!allDigits(digits) || padded) {
      return std::nullopt;
   }
   return error == std::errc() ? vlan : std::numeric_limits<uint16_t>::max();
}

// Numbers units from 1, in the order in which their names are first used.
uint32_t unitOf(std::string_view unit) {
   static std::map<std::string, uint32_t, std::less<>> numbers;
   auto found = numbers.find(unit);
   return found != numbers.end()
              ? found->second
              : numbers.emplace(unit, static_cast<uint32_t>(numbers.size() + 1)).first->second;
}

IntfIdFields classify(std::string_view name) {
   IntfIdFields fields;
   fields.l3Flood = name.find("L3Flood") != std::string_view::npos;
   auto slash = name.rfind('/');
   std::string_view base = name;
   if (slash != std::string_view::npos) {
      base = name.substr(slash + 1);
      fields.unit = unitOf(name.substr(0, slash));
   }
   auto dot = name.rfind('.');
   bool dotInBase =
       dot != std::string_view::npos && (slash == std::string_view::npos || dot > slash);
   if (base.starts_with("Tunnel")) {
      fields.kind = IntfKind::tunnel;
      return fields;
   }
   if (dotInBase) {
      std::string_view number = name.substr(dot + 1);
      // The name of a flood entry may have its mark after the number.
      number = number.substr(0, number.find("-L3Flood"));
      IntfId parent(name.substr(0, dot));
      IntfKind kind = parent.fields().kind;
      bool numbered = allDigits(number) && number.size() <= 8 &&
                      number.find_first_not_of('0') != std::string_view::npos;
      if (numbered && !parent.fields().subIntf &&
          (kind == IntfKind::port || kind == IntfKind::portChannel)) {
         fields.subIntf = true;
         fields.kind = kind;
         fields.parentIndex = parent.index();
         return fields;
      }
   }
   if (base.starts_with("PortChannel")) {
      fields.kind = IntfKind::portChannel;
   } else if (auto vlan = base.starts_with("Vlan") ? vlanOf(base) : std::nullopt) {
      fields.kind = IntfKind::vlan;
      fields.vlanId = *vlan;
   } else if (base.starts_with("Ethernet")) {
      fields.kind = IntfKind::port;
   } else {
      fields.kind = base.empty() ? IntfKind::none : IntfKind::other;
   }
   return fields;
}

} // namespace

uint32_t IntfIds::intern(std::string_view name) {
   if (name.empty()) {
      return 0;
   }
   IntfIdFields fields;
   uint32_t index = names_.intern(
       hashName(name), [&](std::string const& other) { return other == name; },
       [&] {
          fields = classify(name); // which interns the parent first
          return std::string(name);
       });
   if (index > last_) {
      if (index >> kPageBits >= fields_.size()) {
         fields_.push_back(std::make_unique<IntfIdFields[]>(kPageMask + 1));
      }
      fields_[index >> kPageBits][index & kPageMask] = fields;
      last_ = index;
   }
   return index;
}

uint32_t IntfIds::find(std::string_view name) const {
   return names_.find(hashName(name), [&](std::string const& other) { return other == name; });
}

IntfId IntfId::existing(std::string_view name) {
   uint32_t found = intfIds.find(name);
   return found == Orv::kNil ? IntfId() : fromIndex(found);
}

} // namespace Plexus
