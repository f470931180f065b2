#include "platform/Orv/Failure.h"

#include <cstdlib>
#include <iostream>

namespace Orv {

namespace {
FailureHook failureHook = nullptr;
} // namespace

void failureHookIs(FailureHook hook) {
   failureHook = hook;
}

void fail(Failure const& failure) {
   if (failureHook != nullptr) {
      failureHook(failure);
   }
   std::cerr << "Failed(" << failure.condition << ") " << failure.explanation << "\n   in "
             << failure.function << " (" << failure.file << ":" << failure.line << ")" << std::endl;
   std::abort();
}

} // namespace Orv
