// Why an entry that is configured rightly is not in the chip, in words.
#pragma once

#include "host/driver/SeamTable.h"

#include <string>

namespace ShoalHost {

// What follows "the chip refused it", as far as that is known.
std::string whyRefused(Outcome outcome);
// `entry`: its key, as it is printed.
std::string chipReason(std::string const& entry, EntryMemory const& memory);

} // namespace ShoalHost
