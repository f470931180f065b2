// One table of the simulated chip.
//
// A write is carried out at once and in order. Its answer comes later, from the event loop: the
// delay after the write, in order of writing unless a fault reorders it.
#pragma once

#include "agent/chip/ChipFaults.h"
#include "host/driver/ChipDriver.h"

#include <algorithm>
#include <deque>
#include <map>

namespace Agent {

// `T`: see ChipTables.h.
template<class T>
class ChipTable {
 public:
   static constexpr ChipTableKind kind = T::kind;
   using Key = typename T::Key;
   using Data = typename T::Data;

   ChipTable(AnswerSink& sink, ChipFaults& faults)
       : sink_(sink), faults_(faults), timer_(this, Orv::make<Orv::Clock>(sink.timers())) {}

   // An entry that was there before the host.
   void preset(Key key, Data const& data) { hold(key, data); }
   void write(Key key, ChipWrite const& write) {
      Seconds now = Orv::System::currentTime();
      Answer answer{now + faults_.delay(), key, write, now};
      FapId unit = unitOf(key);
      answer.outcome = program(answer);
      sink_.performed(write, answer.outcome);
      if (faults_.suffers(Fault::lose, kind, unit)) {
         sink_.lost(write);
         return;
      }
      bool defers = kind == ChipTableKind::tunnel && write.data;
      if (defers && faults_.suffers(Fault::defer, kind, unit)) {
         Answer first = answer;
         first.outcome = Outcome::inProgress;
         schedule(first);
         answer.due += faults_.slowness();
      }
      if (faults_.suffers(Fault::slow, kind, unit)) {
         answer.due += faults_.slowness();
      }
      if (faults_.suffers(Fault::duplicate, kind, unit)) {
         schedule(answer);
      }
      if (faults_.suffers(Fault::reorder, kind, unit)) {
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
   // Empties the table; adds the writes that it had not answered.
   void restart(std::vector<ChipWrite>& unanswered) {
      for (auto const* answers : {&unanswered_, &heldBack_}) {
         for (Answer const& answer : *answers) {
            unanswered.push_back(answer.write);
         }
      }
      unanswered_.clear();
      heldBack_.clear();
      entries_.clear();
      units_.clear();
      entriesOn_.clear();
      askForNext();
   }

   struct Answer {
      Seconds due;
      Key key;
      ChipWrite write;
      Seconds since;
      Outcome outcome = Outcome::removed;

      // None: a removal.
      std::optional<Data> written() const {
         return write.data ? std::optional(std::get<Data>(*write.data)) : std::nullopt;
      }
   };
   std::deque<Answer> const& unanswered() const { return unanswered_; }
   std::vector<ExpectedAnswer> expected(Key key) const {
      std::vector<ExpectedAnswer> found;
      for (Answer const& answer : unanswered_) {
         if (answer.key == key) {
            found.push_back({answer.write, answer.outcome, answer.due});
         }
      }
      for (Answer const& answer : heldBack_) {
         if (answer.key == key) {
            found.push_back({answer.write, answer.outcome, std::nullopt});
         }
      }
      return found;
   }
   // An answer of the key's is held back to be given out of order.
   bool isHeldBack(Key key) const {
      return std::any_of(heldBack_.begin(), heldBack_.end(),
                         [&](Answer const& answer) { return answer.key == key; });
   }
   // How many more entries a unit takes; none: as many as there are.
   std::optional<uint64_t> room(FapId unit) const {
      auto limit = capacity_.find(unit);
      return limit == capacity_.end()
                 ? std::nullopt
                 : std::optional(limit->second - std::min(limit->second, entriesOn(unit)));
   }
   // What the chip really holds.
   std::map<Key, Data> const& entries() const { return entries_; }
   uint64_t entriesOn(FapId unit) const {
      auto found = entriesOn_.find(unit);
      return found == entriesOn_.end() ? 0 : found->second;
   }

 private:
   class Timer : public Orv::ClockNotifiee {
    public:
      Timer(ChipTable* table, Orv::Ptr<Orv::Clock const> clock)
          : ClockNotifiee(std::move(clock)), table_(table) {}
      void handleTime() override { table_->handleTime(); }

    private:
      ChipTable* table_;
   };

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
         sink_.answered(answer.write, answer.outcome);
      }
      askForNext();
   }

   Outcome program(Answer const& answer) {
      FapId unit = unitOf(answer.key);
      if (!answer.write.data) {
         release(answer.key);
         return Outcome::removed;
      }
      if (faults_.suffers(Fault::refuse, kind, unit)) {
         return Outcome::refused;
      }
      if (!entries_.contains(answer.key) && room(unit) == 0U) {
         return Outcome::full;
      }
      hold(answer.key, *answer.written());
      return Outcome::accepted;
   }

   FapId unitOf(Key key) const { return sink_.unitOf(key); }

   // An entry counts on the unit that its port had when it was written.
   void hold(Key key, Data const& data) {
      release(key);
      entries_.emplace(key, data);
      FapId unit = unitOf(key);
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

   AnswerSink& sink_;
   ChipFaults& faults_;
   std::map<FapId, uint64_t> capacity_;
   std::deque<Answer> unanswered_; // in order of due time, then of writing
   std::deque<Answer> heldBack_;   // answered in reverse when the run of reordered ones ends
   std::map<Key, Data> entries_;
   std::map<Key, FapId> units_;          // of the entries
   std::map<FapId, uint64_t> entriesOn_; // how many of them
   Timer timer_;
};

} // namespace Agent
