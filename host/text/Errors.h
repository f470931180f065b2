// The error that the host reports to its user.
#pragma once

#include "host/text/Text.h"

#include <stdexcept>

namespace ShoalHost {

// What was asked for cannot be done. The text gives the reason and, where there is one, the way
// out. Nothing was changed. What the text repeats of the input is printable (see printable()).
class HostError : public std::runtime_error {
 public:
   explicit HostError(std::string const& text);
   template<class First, class... Rest>
   explicit HostError(Pattern<std::type_identity_t<First>, std::type_identity_t<Rest>...> pattern,
                      First const& first, Rest const&... rest)
       : HostError(formatted<First, Rest...>(pattern, first, rest...)) {}
};

} // namespace ShoalHost
