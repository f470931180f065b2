// Invariant failures: bugs in the program, not conditions of its environment. A failure prints a
// message and aborts the process.
#pragma once

#include "platform/Orv/Export.h"

#include <sstream>
#include <string>
#include <utility>

namespace Orv {

struct Failure {
   char const* condition;
   std::string explanation;
   char const* function;
   char const* file;
   int line;
};

// Called before the message is printed; it may end the process itself. For a program that tries a
// change in a forked copy of itself. nullptr removes the hook.
using FailureHook = void (*)(Failure const& failure);
ORV_EXPORT void failureHookIs(FailureHook hook);

// Writes "Failed(" condition ") " explanation, then function and place, to standard error, and
// aborts.
[[noreturn]] ORV_EXPORT void fail(Failure const& failure);

template<class... Parts>
[[noreturn, gnu::cold, gnu::noinline]] void failWith(char const* condition, char const* function,
                                                     char const* file, int line,
                                                     Parts const&... parts) {
   std::ostringstream explanation;
   ((explanation << parts), ...);
   fail(Failure{condition, explanation.str(), function, file, line});
}

template<class Pointer>
Pointer notNull(Pointer pointer, char const* condition, char const* function, char const* file,
                int line) {
   if (!pointer) [[unlikely]] {
      failWith(condition, function, file, line);
   }
   return pointer;
}

} // namespace Orv

// `text` is the condition as the message has it, which may differ from the code. The arguments
// after it are streamed as the explanation.
#define ORV_ASSERT(condition, text, ...)                                                           \
   ORV_ASSERT_IN(__PRETTY_FUNCTION__, condition, text __VA_OPT__(, ) __VA_ARGS__)

// The same for a step that several handlers share: `function` is the one that the message names.
#define ORV_ASSERT_IN(function, condition, text, ...)                                              \
   do {                                                                                            \
      if (!(condition)) [[unlikely]] {                                                             \
         ::Orv::failWith(text, function, __FILE__, __LINE__ __VA_OPT__(, ) __VA_ARGS__);           \
      }                                                                                            \
   } while (false)

// For initializers: the pointer, moved. A null pointer is an invariant failure.
#define ORV_NOT_NULL(pointer)                                                                      \
   ::Orv::notNull(std::move(pointer), #pointer " != nullptr", __PRETTY_FUNCTION__, __FILE__,       \
                  __LINE__)
