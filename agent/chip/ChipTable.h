// One table of the simulated chip, and the driver that answers for it.
//
// Every change of the table's configuration is a write to the chip, which works at once and in
// order. Its answer comes later, from the event loop: the delay after the write, in order of
// writing unless a fault reorders it. A write of an entry is answered with what became of it, a
// removal by the removal of the status. Entries that are configured when the table is made are in
// the chip already.
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
   using Key = typename T::Key;
   using Data = typename T::Data;
   using UnitOf = std::function<FapId(Key)>;

   ChipTable(Orv::Ptr<Orv::Clock const> clock, ChipFaults& faults,
             Orv::Ptr<typename T::Config const> config, Orv::Ptr<typename T::Status> status,
             UnitOf unitOf)
       : faults_(faults), config_(std::move(config)), status_(std::move(status)),
         unitOf_(std::move(unitOf)), timer_(this, std::move(clock)), orvConfig_(this) {
      for (auto const& [key, data] : config_->configIter()) {
         entries_.emplace(key, data);
         lastOutcomes_[key] = Outcome::accepted;
         T::answer(*status_, key, data, Outcome::accepted);
      }
      config_->configCollection().watch(orvConfig_);
   }

   // Entries that a unit holds at most; a write of one more key is refused as full.
   void capacityIs(FapId unit, std::optional<uint64_t> entries) {
      if (entries) {
         capacity_[unit] = *entries;
      } else {
         capacity_.erase(unit);
      }
   }
   // What is held back for reordering is answered.
   void release() {
      for (Answer& answer : heldBack_) {
         answer.due = Orv::System::currentTime() + faults_.delay();
         schedule(answer);
      }
      heldBack_.clear();
   }
   // What the chip held and had not answered yet is gone, and so is the status. The configuration
   // stays; replay() writes it to the chip again.
   void restart() {
      for (auto const* answers : {&unanswered_, &heldBack_}) {
         for (Answer const& answer : *answers) {
            ++disturbances_[answer.key];
         }
      }
      for (auto const& [key, last] : lastAnswers_) {
         ++disturbances_[key];
      }
      unanswered_.clear();
      heldBack_.clear();
      entries_.clear();
      lastAnswers_.clear();
      lastOutcomes_.clear();
      askForNext();
      status_->statusDelAll();
   }
   void replay() {
      for (auto const& [key, data] : config_->configIter()) {
         handleConfig(key);
      }
   }

   struct Answer {
      Seconds due;
      Key key;
      std::optional<Data> written; // none: a removal
      Seconds since;
      Outcome outcome = Outcome::removed;
   };
   std::deque<Answer> const& unanswered() const { return unanswered_; }
   // What the chip really holds.
   std::map<Key, Data> const& entries() const { return entries_; }
   uint64_t entriesOn(FapId unit) const {
      return static_cast<uint64_t>(
          std::count_if(entries_.begin(), entries_.end(),
                        [&](auto const& entry) { return unitOf_(entry.first) == unit; }));
   }
   std::optional<Data> held(Key key) const {
      auto found = entries_.find(key);
      return found == entries_.end() ? std::nullopt : std::optional(found->second);
   }
   // An answer of the key's is held back to be given out of order.
   bool isHeldBack(Key key) const {
      return std::any_of(heldBack_.begin(), heldBack_.end(),
                         [&](Answer const& answer) { return answer.key == key; });
   }
   // How often an answer of the key's was lost or came out of order, or its status went with a
   // restart.
   uint64_t disturbances(Key key) const {
      auto found = disturbances_.find(key);
      return found == disturbances_.end() ? 0 : found->second;
   }
   // An answer of the key's is still to come.
   bool isUnanswered(Key key) const {
      return isHeldBack(key) ||
             std::any_of(unanswered_.begin(), unanswered_.end(),
                         [&](Answer const& answer) { return answer.key == key; });
   }
   // What became of the key's last write, answered or not; none: it had none since a restart.
   std::optional<Outcome> lastOutcome(Key key) const {
      auto found = lastOutcomes_.find(key);
      return found == lastOutcomes_.end() ? std::nullopt : std::optional(found->second);
   }
   struct LastAnswer {
      Seconds at;
      Outcome outcome;
   };
   std::optional<LastAnswer> lastAnswer(Key key) const {
      auto found = lastAnswers_.find(key);
      return found == lastAnswers_.end() ? std::nullopt : std::optional(found->second);
   }
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

   void handleConfig(Key const& key) {
      Seconds now = Orv::System::currentTime();
      Answer answer{now + faults_.delay(), key, config_->configCollection().find(key), now};
      ++(answer.written ? counters_.writes : counters_.removals);
      FapId unit = unitOf_(key);
      // The chip works in order and at once; only its answers are late, lost or out of order.
      answer.outcome = program(answer);
      lastOutcomes_[key] = answer.outcome;
      if (faults_.suffers(Fault::lose, T::kind, unit)) {
         ++disturbances_[key];
         return;
      }
      if (T::defers && answer.written && faults_.suffers(Fault::defer, T::kind, unit)) {
         Answer first = answer;
         first.outcome = Outcome::inProgress;
         schedule(first);
         answer.due += faults_.slowness();
      }
      if (faults_.suffers(Fault::slow, T::kind, unit)) {
         ++disturbances_[key];
         answer.due += faults_.slowness();
      }
      if (faults_.suffers(Fault::duplicate, T::kind, unit)) {
         schedule(answer);
      }
      if (faults_.suffers(Fault::reorder, T::kind, unit)) {
         heldBack_.push_back(answer);
         ++disturbances_[key];
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
         entries_.erase(answer.key);
         return Outcome::removed;
      }
      if (faults_.suffers(Fault::refuse, T::kind, unit)) {
         return Outcome::refused;
      }
      auto limit = capacity_.find(unit);
      if (limit != capacity_.end() && !entries_.contains(answer.key) &&
          entriesOn(unit) >= limit->second) {
         ++counters_.full;
         return Outcome::full;
      }
      entries_.insert_or_assign(answer.key, *answer.written);
      return Outcome::accepted;
   }

   void deliver(Answer const& answer) {
      ++counters_.answers;
      lastAnswers_.insert_or_assign(answer.key,
                                    LastAnswer{Orv::System::currentTime(), answer.outcome});
      if (answer.written) {
         T::answer(*status_, answer.key, *answer.written, answer.outcome);
      } else {
         status_->statusDel(answer.key);
      }
   }

   ChipFaults& faults_;
   Orv::Ptr<typename T::Config const> config_;
   Orv::Ptr<typename T::Status> status_;
   UnitOf unitOf_;
   std::map<FapId, uint64_t> capacity_;
   std::deque<Answer> unanswered_; // in order of due time, then of writing
   std::deque<Answer> heldBack_;   // answered in reverse when the run of reordered ones ends
   std::map<Key, Data> entries_;
   std::map<Key, LastAnswer> lastAnswers_;
   std::map<Key, Outcome> lastOutcomes_;
   std::map<Key, uint64_t> disturbances_;
   ChipCounters counters_;

   Timer timer_;
   Orv::ReactorFor<&ChipTable::handleConfig> orvConfig_;
};

} // namespace Agent
