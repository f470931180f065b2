// How far a run is: one line, rewritten in place, for a terminal.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>

namespace Simulate {

class Progress {
 public:
   // `out`: null: nothing is shown.
   Progress(std::ostream* out, uint64_t seeds) : out_(out), seeds_(seeds) {}
   ~Progress() { clear(); }
   Progress(Progress const&) = delete;
   Progress& operator=(Progress const&) = delete;

   // A history ended. Shows the line, at most ten times a second.
   void ended(uint64_t steps, bool failed);
   // Removes the line. To be called ahead of other output.
   void clear();

 private:
   using Clock = std::chrono::steady_clock;
   std::string line(Clock::time_point now) const;
   void show(std::string const& text);

   std::ostream* out_;
   uint64_t seeds_;
   Clock::time_point start_ = Clock::now();
   std::optional<Clock::time_point> shown_;
   std::size_t width_ = 0; // of the line that stands there
   uint64_t done_ = 0;
   uint64_t steps_ = 0;
   uint64_t findings_ = 0;
};

} // namespace Simulate
