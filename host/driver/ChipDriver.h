// The seam to a chip: what a driver of it has to do, and how it answers.
//
// The host writes and removes entries through a ChipDriver. The driver answers each write and each
// removal through the AnswerSink, on the event thread: from inside the call, or later. It may
// answer in any order; the library expects the order of writing of each key.
#pragma once

#include "host/driver/ChipTables.h"
#include "platform/Orv/Clock.h"

#include <functional>
#include <vector>

namespace ShoalHost {

// A write or removal of one entry.
struct ChipWrite {
   EntryKey key;
   std::optional<EntryData> data;  // none: the entry is removed
   uint64_t number = 0;            // counts those of its table, from 1
   Seconds at = 0.0;               // when it was handed to the driver
   std::optional<uint32_t> writer; // the index of the request that it is for; none: of no one
};

// An answer that a driver knows to be on its way.
struct ExpectedAnswer {
   ChipWrite write;
   Outcome outcome = Outcome::accepted;
   std::optional<Seconds> due; // none: it is held back, to be given out of order
};

using EntryVisitor = std::function<void(EntryKey const&, EntryData const&)>;

// Where a driver answers. It is there as long as the driver has work.
class AnswerSink {
 public:
   // The final outcome; `inProgress` if that is still to come.
   virtual void answered(ChipWrite const& write, Outcome outcome) = 0;
   // What the chip made of it, ahead of the answer. For explanations only.
   virtual void performed(ChipWrite const& write, Outcome outcome) = 0;
   // No answer will come.
   virtual void lost(ChipWrite const& write) = 0;
   // The chip lost everything that it held; these were not answered, and will not be.
   virtual void restarted(std::vector<ChipWrite> const& unanswered) = 0;

   // Every entry that is configured now, in the order of the tables.
   virtual void forEachConfigured(EntryVisitor const& visit) const = 0;
   // The unit on which the chip holds the entry.
   virtual FapId unitOf(EntryKey const& key) const = 0;
   // For a driver that works in time.
   virtual Orv::Timers& timers() = 0;

 protected:
   ~AnswerSink() = default;
};

class ChipDriver {
 public:
   virtual ~ChipDriver() = default;
   // Ahead of everything else.
   virtual void start(AnswerSink& sink) = 0;
   // The sink goes.
   virtual void stop() {}
   virtual void write(ChipWrite const& write) = 0;
   virtual void remove(ChipWrite const& write) = 0;
   // What the chip holds: all of it, also from before the start.
   virtual void readBack(EntryVisitor const& visit) const = 0;
   // What it holds at one key; none: no entry.
   virtual std::optional<EntryData> held(EntryKey const& key) const = 0;
   // Answers will come.
   virtual bool busy() const = 0;

   // What a driver may know more; for explanations.

   // The answers to writes of the key that are on their way, in the order in which they will come.
   // None: not known.
   virtual std::optional<std::vector<ExpectedAnswer>> expected(EntryKey const&) const {
      return std::nullopt;
   }
   // How many more entries a unit takes. None: not known, or no limit.
   virtual std::optional<uint64_t> room(ChipTableKind, FapId) const { return std::nullopt; }
};

} // namespace ShoalHost
