#include "platform/Orv/System.h"

#include <chrono>

namespace Orv {

namespace {
TimeSource* timeSource = nullptr;

Seconds monotonic() {
   auto sinceEpoch = std::chrono::steady_clock::now().time_since_epoch();
   return std::chrono::duration<Seconds>(sinceEpoch).count();
}
} // namespace

TimeSource::~TimeSource() = default;

Seconds VirtualTime::now() {
   now_ += costPerReading_;
   return now_;
}

void VirtualTime::advanceTo(Seconds time) {
   if (time > now_) {
      now_ = time;
   }
}

Seconds System::currentTime() {
   return timeSource != nullptr ? timeSource->now() : monotonic();
}

Seconds System::peekTime() {
   return timeSource != nullptr ? timeSource->peek() : monotonic();
}

void System::timeSourceIs(TimeSource* source) {
   timeSource = source;
}

} // namespace Orv
