// The errors that the agent reports to its user.
#pragma once

#include "agent/text/Text.h"

#include <stdexcept>
#include <string>

namespace Agent {

// The configuration file cannot be read or is not valid JSON. The text begins with the place,
// "file:line:column: error: ".
class InventoryError : public std::runtime_error {
 public:
   using std::runtime_error::runtime_error;
};

// A command that cannot be carried out. The text gives the reason and, where there is one, the way
// out. Nothing was changed. What the text repeats of the input is printable (see printable()).
class CommandError : public std::runtime_error {
 public:
   explicit CommandError(std::string const& text);
   template<class First, class... Rest>
   explicit CommandError(fmt::format_string<First, Rest...> format, First&& first, Rest&&... rest)
       : CommandError(
             fmt::format(format, std::forward<First>(first), std::forward<Rest>(rest)...)) {}
};

// A condition that does not hold.
class ExpectationFailed : public std::runtime_error {
 public:
   using std::runtime_error::runtime_error;
};

} // namespace Agent
