// The errors that the agent reports to its user.
#pragma once

#include "host/text/Errors.h"

#include <stdexcept>

namespace Agent {

// The agent speaks of what the host library has by its plain names.
using namespace ShoalHost;

// The configuration file cannot be read or is not valid JSON. The text begins with the place,
// "file:line:column: error: ".
class InventoryError : public std::runtime_error {
 public:
   using std::runtime_error::runtime_error;
};

// A command that cannot be carried out.
using CommandError = HostError;

// A condition that does not hold.
class ExpectationFailed : public std::runtime_error {
 public:
   using std::runtime_error::runtime_error;
};

} // namespace Agent
