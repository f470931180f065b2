#include "host/insight/ChipReason.h"

#include "host/names/Names.h"
#include "host/text/Text.h"

namespace ShoalHost {

std::string whyRefused(Outcome outcome) {
   return outcome == Outcome::full ? ", since the unit was full" : "";
}

std::string chipReason(std::string const& entry, EntryMemory const& memory) {
   auto at = [](Seconds time) { return formatted("at {} s", formatSeconds(time)); };
   auto const& write = memory.lastWrite;
   bool bad = write && (write->outcome == Outcome::refused || write->outcome == Outcome::full);
   std::string refused = bad ? formatted("the chip refused the write of {} {}{}", entry,
                                         at(write->at), whyRefused(write->outcome))
                             : "";
   if (memory.restarted) {
      return formatted("{} restarted {}, and nothing wrote {} since",
                       bad ? refused + ", and" : "the chip", at(*memory.restarted), entry);
   }
   if (bad) {
      return refused;
   }
   // A driver that says only what the chip answers.
   if (write && write->outcome == Outcome::pending) {
      bool lost = memory.lost && memory.lost->write == write->write;
      return lost ? formatted("the answer to the write of {} {} was lost", entry, at(write->at))
                  : formatted("the chip has not answered the write of {} {}", entry, at(write->at));
   }
   return "the chip does not hold " + entry;
}

} // namespace ShoalHost
