#include "agent/chip/SimulatedChip.h"

#include <algorithm>

namespace Agent {

using Hardware::ShoalTunnel::SemTableStatusEntry;

std::string_view faultName(Fault fault) {
   static constexpr std::array<std::string_view, kFaults> names{"refuse", "lose", "duplicate",
                                                                "reorder", "slow"};
   return names[static_cast<std::size_t>(fault)];
}

SimulatedChip::SimulatedChip(Orv::Ptr<Orv::Clock const> clock,
                             Orv::Ptr<Hardware::ShoalTunnel::SemTableConfig const> config,
                             Orv::Ptr<Hardware::ShoalTunnel::SemTableStatus> status)
    : config_(std::move(config)), status_(std::move(status)), timer_(this, std::move(clock)),
      orvConfig_(this) {
   config_->configCollection().watch(orvConfig_);
}

SimulatedChip::Setting& SimulatedChip::setting(Fault fault, std::optional<FapId> unit) {
   auto found = std::find_if(faults_.begin(), faults_.end(), [&](Setting const& setting) {
      return setting.fault == fault && setting.unit == unit;
   });
   return found != faults_.end() ? *found : faults_.emplace_back(Setting{fault, unit});
}

void SimulatedChip::faultNext(Fault fault, uint64_t count, std::optional<FapId> unit) {
   setting(fault, unit).next += count;
}

void SimulatedChip::faultOften(Fault fault, double probability, std::optional<FapId> unit) {
   setting(fault, unit).probability = probability;
}

bool SimulatedChip::suffers(Fault fault, FapId unit) {
   for (Setting& setting : faults_) {
      if (setting.fault != fault || (setting.unit && *setting.unit != unit)) {
         continue;
      }
      bool counted = setting.next > 0;
      if (counted) {
         --setting.next;
      }
      bool drawn = setting.probability > 0.0 &&
                   static_cast<double>(random_() >> 11) * 0x1.0p-53 < setting.probability;
      if (counted || drawn) {
         ++counters_.suffered[static_cast<std::size_t>(fault)];
         return true;
      }
   }
   return false;
}

void SimulatedChip::clearFaults() {
   faults_.clear();
   for (Answer& answer : heldBack_) {
      answer.due = Orv::System::currentTime() + delay_;
      schedule(answer);
   }
   heldBack_.clear();
}

void SimulatedChip::capacityIs(FapId unit, std::optional<uint64_t> entries) {
   if (entries) {
      capacity_[unit] = *entries;
   } else {
      capacity_.erase(unit);
   }
}

void SimulatedChip::handleConfig(AradSemKeyAndFap const& key) {
   Seconds now = Orv::System::currentTime();
   Answer answer{now + delay_, key, config_->configCollection().find(key), now};
   ++(answer.written ? counters_.writes : counters_.removals);
   FapId unit = key.fapId();
   if (suffers(Fault::lose, unit)) {
      // The chip did its work; only the answer never arrives.
      program(answer);
      return;
   }
   if (suffers(Fault::slow, unit)) {
      answer.due += slowness_;
   }
   if (suffers(Fault::duplicate, unit)) {
      schedule(answer);
   }
   if (suffers(Fault::reorder, unit)) {
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

void SimulatedChip::schedule(Answer const& answer) {
   auto place = std::upper_bound(unanswered_.begin(), unanswered_.end(), answer.due,
                                 [](Seconds due, Answer const& other) { return due < other.due; });
   unanswered_.insert(place, answer);
   askForNext();
}

void SimulatedChip::askForNext() {
   if (unanswered_.empty()) {
      timer_.timeMinDel();
   } else if (!timer_.waiting() || timer_.timeMin() != unanswered_.front().due) {
      timer_.timeMinIs(unanswered_.front().due);
   }
}

void SimulatedChip::handleTime() {
   Seconds now = Orv::System::currentTime();
   while (!unanswered_.empty() && unanswered_.front().due <= now) {
      Answer answer = unanswered_.front();
      unanswered_.pop_front();
      deliver(answer);
   }
   askForNext();
}

uint32_t SimulatedChip::program(Answer const& answer) {
   FapId unit = answer.key.fapId();
   if (!answer.written) {
      held_[unit] -= entries_.erase(answer.key);
      return 0;
   }
   if (suffers(Fault::refuse, unit)) {
      return refused;
   }
   auto limit = capacity_.find(unit);
   if (limit != capacity_.end() && held_[unit] >= limit->second && !entries_.contains(answer.key)) {
      ++counters_.full;
      return full;
   }
   held_[unit] += entries_.insert_or_assign(answer.key, *answer.written).second ? 1 : 0;
   return SemTableStatusEntry::success;
}

void SimulatedChip::deliver(Answer const& answer) {
   uint32_t code = program(answer);
   ++counters_.answers;
   lastAnswers_.insert_or_assign(answer.key, LastAnswer{Orv::System::currentTime(), code});
   if (answer.written) {
      status_->statusIs(answer.key, SemTableStatusEntry{code, *answer.written});
   } else {
      status_->statusDel(answer.key);
   }
}

std::optional<SimulatedChip::LastAnswer> SimulatedChip::lastAnswer(AradSemKeyAndFap key) const {
   auto found = lastAnswers_.find(key);
   return found == lastAnswers_.end() ? std::nullopt : std::optional(found->second);
}

void SimulatedChip::restart() {
   ++counters_.restarts;
   unanswered_.clear();
   heldBack_.clear();
   entries_.clear();
   held_.clear();
   lastAnswers_.clear();
   askForNext();
   status_->statusDelAll();
}

void SimulatedChip::replay() {
   for (auto const& [key, payload] : config_->configIter()) {
      handleConfig(key);
   }
}

} // namespace Agent
