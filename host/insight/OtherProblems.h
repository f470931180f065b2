// What is wrong, and is no request's: VLAN tags with two meanings, feature words that the chip does
// not have.
#pragma once

#include "host/wiring/Host.h"

#include <string>
#include <vector>

namespace ShoalHost {

struct Problem {
   std::string subject;
   std::string why; // a sentence
};

// Costs what there is of them; while the port map is not valid, what there is of words.
std::vector<Problem> otherProblems(Host const& host);

} // namespace ShoalHost
