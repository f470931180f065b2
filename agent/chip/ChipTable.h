// One table of the simulated chip, and the driver that answers for it.
//
// Every change of the table's configuration is a write to the chip, which works at once and in
// order. Its answer comes later, from the event loop: the delay after the write, in order of
// writing unless a fault reorders it. A write of an entry is answered with what became of it, a
// removal by the removal of the status. Entries that are configured when the table is made are in
// the chip already.
//
// What happened to each entry is remembered, also over a restart, for those who explain it.
#pragma once

#include "agent/chip/ChipFaults.h"
#include "platform/Orv/Clock.h"

#include <algorithm>
#include <deque>
#include <functional>
#include <map>
#include <set>

namespace Agent {

enum class Outcome { removed, accepted, refused, full, inProgress };
std::string_view outcomeName(Outcome outcome);

// What the chip did with one entry.
struct EntryMemory {
   struct Event {
      Seconds at = 0.0;
      Outcome outcome = Outcome::removed;
      uint64_t write = 0;             // the write or removal that it is of, counted from 1
      std::optional<uint32_t> writer; // of that; none: nobody in particular
      friend bool operator==(Event const&, Event const&) = default;
   };
   std::optional<Event> lastWrite;   // or removal, answered or not
   std::optional<Event> lastAnswer;  // given
   std::optional<Event> lost;        // the answer that was lost last, when it was
   std::optional<Seconds> restarted; // the chip restarted since the last write
   std::optional<Event> dropped;     // the one that a restart dropped last, when it did
};

struct ChipCounters {
   uint64_t writes = 0;
   uint64_t removals = 0;
   uint64_t answers = 0;
   uint64_t full = 0;
};

// `T` names the table: kind, Key, Data (what the configuration holds), Config, Status, and
// answer(status, key, data, outcome), which writes the status of a written entry.
template<class T>
class ChipTable {
 public:
   static constexpr ChipTableKind kind = T::kind;
   using Key = typename T::Key;
   using Data = typename T::Data;
   using UnitOf = std::function<FapId(Key)>;

   ChipTable(Orv::Ptr<Orv::Clock const> clock, ChipFaults& faults,
             Orv::Ptr<typename T::Config const> config, Orv::Ptr<typename T::Status> status,
             UnitOf unitOf)
       : faults_(faults), config_(std::move(config)), status_(std::move(status)),
         unitOf_(std::move(unitOf)), timer_(this, std::move(clock)), orvConfig_(this) {
      for (auto const& [key, data] : config_->configIter()) {
         hold(key, data);
         memories_[key].lastWrite = {Orv::System::peekTime(), Outcome::accepted, 0, std::nullopt};
         T::answer(*status_, key, data, Outcome::accepted);
      }
      config_->configCollection().watch(orvConfig_);
   }

   // Identifies, by an index, the request for which an entry is being written or removed.
   using WriterOf = std::function<std::optional<uint32_t>(Key)>;
   void writerOfIs(WriterOf writerOf) { writerOf_ = std::move(writerOf); }

   // Entries that a unit holds at most; a write of one more key is refused as full.
   void capacityIs(FapId unit, std::optional<uint64_t> entries) {
      if (entries) {
         capacity_[unit] = *entries;
      } else {
         capacity_.erase(unit);
      }
   }
   std::map<FapId, uint64_t> const& capacities() const { return capacity_; }
   // What is held back for reordering is answered.
   void releaseHeldBack() {
      for (Answer& answer : heldBack_) {
         answer.due = Orv::System::currentTime() + faults_.delay();
         schedule(answer);
      }
      heldBack_.clear();
   }
   // What the chip held and had not answered yet is gone, and so is the status. The configuration
   // stays; replay() writes it to the chip again.
   void restart() {
      Seconds now = Orv::System::peekTime();
      for (auto const* answers : {&unanswered_, &heldBack_}) {
         for (Answer const& answer : *answers) {
            memories_[answer.key].dropped = eventOf(answer);
         }
      }
      for (auto& [key, memory] : memories_) {
         memory.restarted = now;
      }
      unanswered_.clear();
      heldBack_.clear();
      entries_.clear();
      units_.clear();
      entriesOn_.clear();
      askForNext();
      restarting_ = true;
      status_->statusDelAll();
      restarting_ = false;
   }
   void replay() {
      for (auto const& [key, data] : config_->configIter()) {
         write(key, std::nullopt);
      }
   }

   struct Answer {
      Seconds due;
      Key key;
      std::optional<Data> written; // none: a removal
      Seconds since;
      uint64_t write;
      std::optional<uint32_t> writer;
      Outcome outcome = Outcome::removed;
   };
   std::deque<Answer> const& unanswered() const { return unanswered_; }
   FapId unitOf(Key key) const { return unitOf_(key); }
   // How many more entries a unit takes; none: as many as there are.
   std::optional<uint64_t> room(FapId unit) const {
      auto limit = capacity_.find(unit);
      return limit == capacity_.end()
                 ? std::nullopt
                 : std::optional(limit->second - std::min(limit->second, entriesOn(unit)));
   }
   // How many entries of a unit are configured, and not in the chip.
   uint64_t missing(FapId unit) const {
      uint64_t count = 0;
      for (auto const& [key, data] : config_->configIter()) {
         count += unitOf_(key) == unit && !entries_.contains(key) ? 1 : 0;
      }
      return count;
   }
   // What the chip really holds.
   std::map<Key, Data> const& entries() const { return entries_; }
   uint64_t entriesOn(FapId unit) const {
      auto found = entriesOn_.find(unit);
      return found == entriesOn_.end() ? 0 : found->second;
   }
   std::optional<Data> held(Key key) const {
      auto found = entries_.find(key);
      return found == entries_.end() ? std::nullopt : std::optional(found->second);
   }
   // What it should hold.
   std::optional<Data> configured(Key key) const { return config_->configCollection().find(key); }
   // An answer of the key's is held back to be given out of order.
   bool isHeldBack(Key key) const {
      return std::any_of(heldBack_.begin(), heldBack_.end(),
                         [&](Answer const& answer) { return answer.key == key; });
   }
   EntryMemory memory(Key key) const {
      auto found = memories_.find(key);
      return found == memories_.end() ? EntryMemory() : found->second;
   }
   // The key whose answer is being given just now: whoever is called meanwhile hears of that one.
   std::optional<Key> answering() const { return answering_; }
   // The statuses go with a restart just now.
   bool restarting() const { return restarting_; }
   ChipCounters const& counters() const { return counters_; }

 private:
   class Timer : public Orv::ClockNotifiee {
    public:
      Timer(ChipTable* table, Orv::Ptr<Orv::Clock const> clock)
          : ClockNotifiee(std::move(clock)), table_(table) {}
      void handleTime() override { table_->handleTime(); }

    private:
      ChipTable* table_;
   };

   void handleConfig(Key const& key) { write(key, writerOf_ ? writerOf_(key) : std::nullopt); }

   void write(Key key, std::optional<uint32_t> writer) {
      Seconds now = Orv::System::currentTime();
      Answer answer{now + faults_.delay(),
                    key,
                    config_->configCollection().find(key),
                    now,
                    ++writes_,
                    writer};
      ++(answer.written ? counters_.writes : counters_.removals);
      FapId unit = unitOf_(key);
      // The chip works in order and at once; only its answers are late, lost or out of order.
      answer.outcome = program(answer);
      EntryMemory& memory = memories_[key];
      memory.lastWrite = eventOf(answer);
      memory.restarted.reset();
      if (faults_.suffers(Fault::lose, T::kind, unit)) {
         memory.lost = memory.lastWrite;
         return;
      }
      if (T::defers && answer.written && faults_.suffers(Fault::defer, T::kind, unit)) {
         Answer first = answer;
         first.outcome = Outcome::inProgress;
         schedule(first);
         answer.due += faults_.slowness();
      }
      if (faults_.suffers(Fault::slow, T::kind, unit)) {
         answer.due += faults_.slowness();
      }
      if (faults_.suffers(Fault::duplicate, T::kind, unit)) {
         schedule(answer);
      }
      if (faults_.suffers(Fault::reorder, T::kind, unit)) {
         heldBack_.push_back(answer);
         return;
      }
      schedule(answer);
      // The run of held-back answers ends here: they follow, last one first.
      for (; !heldBack_.empty(); heldBack_.pop_back()) {
         heldBack_.back().due = answer.due;
         schedule(heldBack_.back());
      }
   }

   void schedule(Answer const& answer) {
      auto place =
          std::upper_bound(unanswered_.begin(), unanswered_.end(), answer.due,
                           [](Seconds due, Answer const& other) { return due < other.due; });
      unanswered_.insert(place, answer);
      askForNext();
   }

   void askForNext() {
      if (unanswered_.empty()) {
         timer_.timeMinDel();
      } else if (!timer_.waiting() || timer_.timeMin() != unanswered_.front().due) {
         timer_.timeMinIs(unanswered_.front().due);
      }
   }

   void handleTime() {
      Seconds now = Orv::System::currentTime();
      while (!unanswered_.empty() && unanswered_.front().due <= now) {
         Answer answer = unanswered_.front();
         unanswered_.pop_front();
         deliver(answer);
      }
      askForNext();
   }

   Outcome program(Answer const& answer) {
      FapId unit = unitOf_(answer.key);
      if (!answer.written) {
         release(answer.key);
         return Outcome::removed;
      }
      if (faults_.suffers(Fault::refuse, T::kind, unit)) {
         return Outcome::refused;
      }
      if (!entries_.contains(answer.key) && room(unit) == 0U) {
         ++counters_.full;
         return Outcome::full;
      }
      hold(answer.key, *answer.written);
      return Outcome::accepted;
   }

   // An entry counts on the unit that its port had when it was written.
   void hold(Key key, Data const& data) {
      release(key);
      entries_.emplace(key, data);
      FapId unit = unitOf_(key);
      units_.emplace(key, unit);
      ++entriesOn_[unit];
   }
   void release(Key key) {
      if (entries_.erase(key) > 0) {
         auto unit = units_.find(key);
         --entriesOn_[unit->second];
         units_.erase(unit);
      }
   }

   // Now.
   static EntryMemory::Event eventOf(Answer const& answer) {
      return {Orv::System::peekTime(), answer.outcome, answer.write, answer.writer};
   }

   void deliver(Answer const& answer) {
      ++counters_.answers;
      memories_[answer.key].lastAnswer = eventOf(answer);
      answering_ = answer.key;
      if (answer.written) {
         T::answer(*status_, answer.key, *answer.written, answer.outcome);
      } else {
         status_->statusDel(answer.key);
      }
      answering_.reset();
   }

   ChipFaults& faults_;
   Orv::Ptr<typename T::Config const> config_;
   Orv::Ptr<typename T::Status> status_;
   UnitOf unitOf_;
   WriterOf writerOf_;
   uint64_t writes_ = 0;
   std::map<FapId, uint64_t> capacity_;
   std::deque<Answer> unanswered_; // in order of due time, then of writing
   std::deque<Answer> heldBack_;   // answered in reverse when the run of reordered ones ends
   std::map<Key, Data> entries_;
   std::map<Key, FapId> units_;          // of the entries
   std::map<FapId, uint64_t> entriesOn_; // how many of them
   std::map<Key, EntryMemory> memories_;
   std::optional<Key> answering_;
   bool restarting_ = false;
   ChipCounters counters_;

   Timer timer_;
   Orv::ReactorFor<&ChipTable::handleConfig> orvConfig_;
};

} // namespace Agent
