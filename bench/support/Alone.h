// Runs in processes of their own: each interns, allocates and maps what it needs itself, and leaves
// nothing to the next.
#pragma once

#include <optional>
#include <sys/wait.h>
#include <type_traits>
#include <unistd.h>

namespace Bench {

// What `work` returned in a copy of this process; nothing when that one failed.
template<class Work, class Result = std::invoke_result_t<Work>>
std::optional<Result> alone(Work&& work) {
   static_assert(std::is_trivially_copyable_v<Result>);
   int ends[2];
   if (::pipe(ends) != 0) {
      return std::nullopt;
   }
   pid_t child = ::fork();
   if (child == 0) {
      Result result = work();
      // Without tearing down: nobody looks at what is left.
      ::_exit(::write(ends[1], &result, sizeof result) == sizeof result ? 0 : 1);
   }
   ::close(ends[1]);
   Result result{};
   bool whole = child > 0 && ::read(ends[0], &result, sizeof result) == sizeof result;
   ::close(ends[0]);
   if (child > 0) {
      ::waitpid(child, nullptr, 0);
   }
   return whole ? std::optional<Result>(result) : std::nullopt;
}

} // namespace Bench
