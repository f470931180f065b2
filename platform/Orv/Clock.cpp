#include "platform/Orv/Clock.h"

#include <algorithm>

namespace Orv {

Seconds Timers::next() const {
   if (first_ == nullptr) {
      return ahead_.begin()->time;
   }
   Seconds now = System::peekTime();
   return ahead_.empty() ? now : std::min(now, ahead_.begin()->time);
}

std::size_t Timers::runDue() {
   Seconds now = System::currentTime();
   uint64_t lastOrder = asked_;
   std::size_t called = 0;
   auto call = [&](ClockNotifiee* notifiee) {
      notifiee->timeMinDel();
      ++called;
      notifiee->handleTime();
   };
   while (!ahead_.empty() && ahead_.begin()->time <= now) {
      call(ahead_.begin()->notifiee);
   }
   while (first_ != nullptr && first_->order_ <= lastOrder) {
      call(first_);
   }
   return called;
}

ClockNotifiee::~ClockNotifiee() {
   timeMinDel();
}

void ClockNotifiee::timeMinIs(Seconds time) {
   timeMinDel();
   time_ = time;
   order_ = ++clock_->timers().asked_;
   waiting_ = true;
   atOnce_ = time <= 0.0 || time <= System::currentTime();
   if (atOnce_) {
      link();
   } else {
      clock_->timers().ahead_.insert({time_, order_, this});
   }
}

void ClockNotifiee::timeMinDel() {
   if (!waiting_) {
      return;
   }
   waiting_ = false;
   if (atOnce_) {
      unlink();
   } else {
      clock_->timers().ahead_.erase({time_, order_, this});
   }
}

void ClockNotifiee::link() {
   Timers& timers = clock_->timers();
   previous_ = timers.last_;
   next_ = nullptr;
   (previous_ != nullptr ? previous_->next_ : timers.first_) = this;
   timers.last_ = this;
}

void ClockNotifiee::unlink() {
   Timers& timers = clock_->timers();
   (previous_ != nullptr ? previous_->next_ : timers.first_) = next_;
   (next_ != nullptr ? next_->previous_ : timers.last_) = previous_;
}

} // namespace Orv
