// One table of the simulated chip.
//
// A write is carried out at once and in order. Its answer comes later, from the event loop: the
// delay after the write, in order of writing unless a fault reorders it.
#pragma once

#include "agent/chip/ChipFaults.h"
#include "host/driver/ChipDriver.h"
#include "platform/Orv/IndexedMap.h"

#include <algorithm>
#include <deque>
#include <map>
#include <set>
#include <vector>

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
         ++heldBackOf_[key];
         return;
      }
      schedule(answer);
      // The run of held-back answers ends here: they follow, last one first.
      for (; !heldBack_.empty(); heldBack_.pop_back()) {
         heldBack_.back().due = answer.due;
         schedule(heldBack_.back());
      }
      heldBackOf_.clear();
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
   // What is held back for reordering is answered, last one first.
   void releaseHeldBack() {
      for (; !heldBack_.empty(); heldBack_.pop_back()) {
         heldBack_.back().due = Orv::System::currentTime() + faults_.delay();
         schedule(heldBack_.back());
      }
      heldBackOf_.clear();
   }
   // Of the answers that are out, held back or not, none comes behind the first ones.
   void loseAnswersBehind(std::size_t first) {
      releaseHeldBack();
      while (unanswered_.size() > first) {
         auto last = std::prev(unanswered_.end());
         std::erase(unansweredOf_[last->key], last);
         unanswered_.erase(last);
      }
      askForNext();
   }
   // Gives the answer that is due next ahead of its time, if there is one.
   void answerFirst() {
      if (!unanswered_.empty()) {
         giveFirst();
         askForNext();
      }
   }
   // Empties the table; adds the writes that it had not answered.
   void restart(std::vector<ChipWrite>& unanswered) {
      for (Answer const& answer : unanswered_) {
         unanswered.push_back(answer.write);
      }
      for (Answer const& answer : heldBack_) {
         unanswered.push_back(answer.write);
      }
      unanswered_.clear();
      unansweredOf_.clear();
      heldBack_.clear();
      heldBackOf_.clear();
      entries_.clear();
      places_.clear();
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
   struct ByDue {
      bool operator()(Answer const& a, Answer const& b) const { return a.due < b.due; }
   };
   // In order of due time, then of writing.
   using Answers = std::multiset<Answer, ByDue>;
   Answers const& unanswered() const { return unanswered_; }
   std::vector<ExpectedAnswer> expected(Key key) const {
      std::vector<ExpectedAnswer> found;
      if (auto const* answers = unansweredOf_.find(key)) {
         for (auto const& answer : *answers) {
            found.push_back({answer->write, answer->outcome, answer->due});
         }
      }
      if (isHeldBack(key)) {
         for (Answer const& answer : heldBack_) {
            if (answer.key == key) {
               found.push_back({answer.write, answer.outcome, std::nullopt});
            }
         }
      }
      return found;
   }
   // How many answers are still to come, held back or not.
   std::size_t answersOut() const { return unanswered_.size() + heldBack_.size(); }
   // An answer of the key's is held back to be given out of order.
   bool isHeldBack(Key key) const { return heldBackOf_.contains(key); }
   // How many more entries a unit takes; none: as many as there are.
   std::optional<uint64_t> room(FapId unit) const {
      auto limit = capacity_.find(unit);
      return limit == capacity_.end()
                 ? std::nullopt
                 : std::optional(limit->second - std::min(limit->second, entriesOn(unit)));
   }
   // What the chip really holds.
   std::map<Key, Data> const& entries() const { return entries_; }
   // Null: no entry.
   Data const* held(Key key) const {
      auto const* place = places_.find(key);
      return place == nullptr ? nullptr : &place->entry->second;
   }
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
      auto added = unanswered_.insert(answer);
      auto& ofKey = unansweredOf_[answer.key];
      ofKey.insert(std::upper_bound(ofKey.begin(), ofKey.end(), added,
                                    [](auto a, auto b) { return ByDue()(*a, *b); }),
                   added);
      askForNext();
   }

   void askForNext() {
      if (unanswered_.empty()) {
         timer_.timeMinDel();
      } else if (Seconds due = unanswered_.begin()->due;
                 !timer_.waiting() || timer_.timeMin() != due) {
         timer_.timeMinIs(due);
      }
   }

   void handleTime() {
      Seconds now = Orv::System::currentTime();
      while (!unanswered_.empty() && unanswered_.begin()->due <= now) {
         giveFirst();
      }
      askForNext();
   }

   void giveFirst() {
      auto const given = unanswered_.extract(unanswered_.begin());
      Answer const& answer = given.value();
      // It is the first of its key, too.
      if (auto& ofKey = unansweredOf_[answer.key]; ofKey.size() == 1) {
         unansweredOf_.erase(answer.key);
      } else {
         ofKey.erase(ofKey.begin());
      }
      sink_.answered(answer.write, answer.outcome);
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
      if (!places_.contains(answer.key) && room(unit) == 0U) {
         return Outcome::full;
      }
      hold(answer.key, *answer.written());
      return Outcome::accepted;
   }

   FapId unitOf(Key key) const { return sink_.unitOf(key); }

   // An entry counts on the unit that its port had when it was written.
   void hold(Key key, Data const& data) {
      FapId unit = unitOf(key);
      auto* place = places_.find(key);
      if (place == nullptr) {
         // Many keys come in their order.
         places_[key] = {entries_.emplace_hint(entries_.end(), key, data), unit};
      } else {
         place->entry->second = data;
         --entriesOn_[place->unit];
         place->unit = unit;
      }
      ++entriesOn_[unit];
   }
   void release(Key key) {
      if (auto const* place = places_.find(key)) {
         --entriesOn_[place->unit];
         entries_.erase(place->entry);
         places_.erase(key);
      }
   }

   AnswerSink& sink_;
   ChipFaults& faults_;
   std::map<FapId, uint64_t> capacity_;
   Answers unanswered_;
   // Those of each key, in the same order.
   Orv::IndexedMap<Key, std::vector<typename Answers::iterator>> unansweredOf_;
   std::deque<Answer> heldBack_; // answered in reverse when the run of reordered ones ends
   Orv::IndexedMap<Key, uint32_t> heldBackOf_; // how many of each key
   std::map<Key, Data> entries_;
   struct Place {
      typename std::map<Key, Data>::iterator entry;
      FapId unit;
   };
   Orv::IndexedMap<Key, Place> places_;  // of the entries
   std::map<FapId, uint64_t> entriesOn_; // how many of them
   Timer timer_;
};

} // namespace Agent
