// How in-LIF features are written in commands and in their output.
#pragma once

#include "agent/command/Names.h"

namespace Agent {

using Hardware::ShoalTunnel::InLifFeatureAttributes;
using Hardware::ShoalTunnel::InLifFeatureKey;
using Hardware::ShoalTunnel::InLifFeatureType;
using Hardware::ShoalTunnel::InLifIntfKey;

// 1 to 12, or "feature1" to "feature12".
InLifFeatureType parseFeatureType(Arguments& arguments);
// INTERFACE UNIT:CORE|own; INTERFACE may be a pattern. CommandError for interfaces that no machine
// serves. Never empty.
std::vector<InLifIntfKey> parseInLifKeys(Host const& host, Arguments& arguments);
// The same for one key.
InLifIntfKey parseInLifKey(Host const& host, Arguments& arguments);

// "feature4"
std::string formatType(InLifFeatureType type);
// "lc1/asic0/Ethernet0 on lc1/asic0:0"
std::string formatInLifKey(Host const& host, InLifIntfKey key);
// "feature1=3,feature4=7"
std::string formatFeatures(Hardware::ShoalTunnel::InLifIntfFeatureAggr const& aggregate);
// The 64-bit word in hexadecimal.
std::string formatWord(InLifFeatureAttributes const& word);
// "5 bits": of the mask of a field.
std::string formatWidth(uint32_t mask);
std::string_view formatFeatureStatus(Hardware::ShoalTunnel::InLifFeatureResponseStatus status);

} // namespace Agent
