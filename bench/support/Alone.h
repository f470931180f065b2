// Runs a function in a child process, so that interned values, the heap and page mappings of one
// run do not affect the next.
#pragma once

#include <optional>
#include <sys/wait.h>
#include <type_traits>
#include <unistd.h>

namespace Bench {

// The result of `work` in a child process; nothing if the child failed.
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
      // Skip the destructors: the process ends here.
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
