#include "simulate/Progress.h"

#include <algorithm>
#include <fmt/format.h>

namespace Simulate {

using namespace std::chrono_literals;

void Progress::ended(uint64_t steps, bool failed) {
   ++done_;
   steps_ += steps;
   findings_ += failed ? 1 : 0;
   auto now = Clock::now();
   if (out_ != nullptr && (!shown_ || failed || now - *shown_ >= 100ms)) {
      shown_ = now;
      show(line(now));
   }
}

std::string Progress::line(Clock::time_point now) const {
   double seconds = std::chrono::duration<double>(now - start_).count();
   double left = seconds / static_cast<double>(done_) * static_cast<double>(seeds_ - done_);
   return fmt::format("{} of {} seeds, {:.0f} steps a second, {} finding{}, {:.0f} s left", done_,
                      seeds_, seconds > 0.0 ? static_cast<double>(steps_) / seconds : 0.0,
                      findings_, findings_ == 1 ? "" : "s", left);
}

void Progress::show(std::string const& text) {
   std::size_t more = width_ - std::min(width_, text.size());
   *out_ << "\r" << text << std::string(more, ' ') << std::flush;
   width_ = text.size();
}

void Progress::clear() {
   if (width_ != 0) {
      show("");
      *out_ << "\r" << std::flush;
   }
}

} // namespace Simulate
