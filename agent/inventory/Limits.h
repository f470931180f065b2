// Ranges of the ids and names in an inventory.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Agent {

constexpr uint32_t mostUnit = 2047;
constexpr uint32_t mostSystemPort = 16383;
constexpr uint32_t mostUnitPort = 255;
constexpr uint32_t mostDomain = 254;
constexpr uint32_t mostVlan = 4094;
constexpr uint32_t portsPerCore = 64; // where core ports repeat per core
constexpr std::size_t longestName = 255;

} // namespace Agent
