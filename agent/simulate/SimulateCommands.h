// The commands that a written history has beyond those of an operator: checks.
#pragma once

#include "agent/command/Registry.h"

namespace Agent {

void addSimulateCommands(Registry& registry);

} // namespace Agent
