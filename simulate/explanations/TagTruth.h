// What is told of a VLAN tag with two meanings.
#pragma once

#include "simulate/VlanTagModel.h"

#include <string>

namespace Simulate {

// "the tag of A, and a VLAN that B carries"; empty: it has one meaning.
std::string collisionOf(VlanTagModel const& tags, VlanTagModel::Pair const& tag);

} // namespace Simulate
