// Ranges of the ids and names in an inventory.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Agent {

constexpr uint32_t maxUnit = 2047;
constexpr uint32_t maxSystemPort = 16383;
constexpr uint32_t maxUnitPort = 255;
constexpr uint32_t maxDomain = 254;
constexpr uint32_t maxVlan = 4094;
constexpr uint32_t portsPerCore = 64; // where core ports repeat per core
constexpr std::size_t longestName = 255;

} // namespace Agent
