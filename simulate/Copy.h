// A forked copy of this process that runs one function and reports to its parent.
//
// The copy ends with its parent, also when the parent is killed. It shares nothing with the parent
// after the fork but the pipe for its reports: what it writes there arrives even when it ends in
// the middle of its work.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace Simulate {

class Copy {
 public:
   // Sends a text to the parent; returns when it is in the pipe. Ends the copy if that fails.
   using Report = std::function<void(std::string_view)>;

   // Starts the copy. When `work` returns, the copy ends at once: buffers are not flushed and
   // coverage counts are dropped; call end() as the last thing in `work` to keep the counts.
   // `room`: bytes that the pipe takes before a report has to wait for collect(); 0: the system's
   // default. Throws std::system_error.
   explicit Copy(std::function<void(Report const&)> const& work, int room = 0);
   Copy(Copy&& other) noexcept;
   Copy& operator=(Copy&&) = delete;
   // Kills the copy if collect() was not called.
   ~Copy();

   struct Ending {
      bool signalled = false;
      int code = 0; // the signal, else the exit code
   };
   // Passes each report to `take` as it arrives, in blocks of any size, until the copy has ended.
   // May be called once.
   Ending collect(std::function<void(std::string_view)> const& take);

   // In a copy: ends it at once, from anywhere. Buffers are not flushed, as they are the parent's
   // to write. A build that counts coverage keeps the counts.
   [[noreturn]] static void end();

 private:
   pid_t child_ = -1;
   int reports_ = -1;
};

} // namespace Simulate
