// Rules of interface names in configuration files.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace ShoalHost {

// "Eth0.10" -> "Ethernet0.10", "Po1" -> "PortChannel1"; other names, prefixes up to the last '/'
// and zero padding stay as they are.
std::string longName(std::string_view name);

// Whether the name stands for itself in a command: not empty, and without blanks, quotes, comment
// marks, wildcards and control characters.
bool plainName(std::string_view name);

// The part behind the last '/'.
std::string_view bareName(std::string_view name);

struct SubInterfaceName {
   std::string parent; // long form
   uint32_t id;        // 1 to 99999999
};
// None when the name is not <parent>.<id>.
std::optional<SubInterfaceName> parseSubInterface(std::string_view name);

// The N of "VlanN", unpadded; none for other names. May be out of range.
std::optional<uint64_t> parseVlanName(std::string_view name);

// Whether one slip of the finger (a letter too much, too few, or another) parts the two.
bool alike(std::string_view a, std::string_view b);

// By digits where both have digits, so Ethernet4 stands before Ethernet12.
bool naturalLess(std::string_view a, std::string_view b);

} // namespace ShoalHost
