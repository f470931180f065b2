// How in-LIF features are written in commands.
#pragma once

#include "agent/command/Names.h"

namespace Agent {

// 1 to 12, or "feature1" to "feature12".
InLifFeatureType parseFeatureType(Arguments& arguments);
// INTERFACE UNIT:CORE|own; INTERFACE may be a pattern. CommandError for interfaces that no machine
// serves. Never empty.
std::vector<InLifIntfKey> parseInLifKeys(AgentHost const& host, Arguments& arguments);
// The same for one key.
InLifIntfKey parseInLifKey(AgentHost const& host, Arguments& arguments);

} // namespace Agent
