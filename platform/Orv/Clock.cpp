#include "platform/Orv/Clock.h"

#include <algorithm>

namespace Orv {

ClockNotifiee* Timers::earliest() const {
   if (ahead_.empty()) {
      return first_;
   }
   Request const& ahead = *ahead_.begin();
   return first_ != nullptr && Request{first_->time_, first_->order_, first_} < ahead
              ? first_
              : ahead.notifiee;
}

Seconds Timers::next() const {
   return earliest()->time_;
}

std::size_t Timers::runDue() {
   Seconds now = System::currentTime();
   uint64_t lastOrder = asked_;
   std::size_t called = 0;
   while (ClockNotifiee* notifiee = earliest()) {
      if (notifiee->time_ > now || notifiee->order_ > lastOrder) {
         break;
      }
      notifiee->timeMinDel();
      ++called;
      notifiee->handleTime();
   }
   return called;
}

ClockNotifiee::~ClockNotifiee() {
   timeMinDel();
}

void ClockNotifiee::timeMinIs(Seconds time) {
   Timers& timers = clock_->timers();
   if (waiting_ && atOnce_ && time <= 0.0) {
      unlink();
      link();
      return;
   }
   timeMinDel();
   Seconds now = System::currentTime();
   time_ = std::max(time, now);
   waiting_ = true;
   atOnce_ = time <= now;
   if (atOnce_) {
      link();
   } else {
      order_ = ++timers.asked_;
      timers.ahead_.insert({time_, order_, this});
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
   order_ = ++timers.asked_;
   previous_ = timers.last_;
   next_ = nullptr;
   if (previous_ != nullptr) {
      time_ = std::max(time_, previous_->time_);
      previous_->next_ = this;
   } else {
      timers.first_ = this;
   }
   timers.last_ = this;
}

void ClockNotifiee::unlink() {
   Timers& timers = clock_->timers();
   (previous_ != nullptr ? previous_->next_ : timers.first_) = next_;
   (next_ != nullptr ? next_->previous_ : timers.last_) = previous_;
}

} // namespace Orv
