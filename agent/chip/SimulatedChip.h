// The simulated chip behind the ISEM B table, and the driver that answers for it.
//
// Every change of the table's configuration is a write to the chip. The answer comes later, from
// the event loop: the delay after the write, in order of writing unless a fault reorders it. An
// accepted write is answered with code 1 and its payload, a refused one with another code; a
// removal is answered by the removal of the status entry.
//
// Faults are either counted ("the next 3 answers are lost") or drawn with a probability from a
// seeded generator, so a run is the same each time. Each may be limited to one unit.
#pragma once

#include "platform/Hardware/ShoalTunnel/SemTable.h"
#include "platform/Orv/Clock.h"

#include <array>
#include <deque>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <string_view>

namespace Agent {

using Hardware::Shoal::FapId;
using Hardware::ShoalTunnel::AradSemKeyAndFap;
using Hardware::ShoalTunnel::AradSemPayload;
using Orv::Seconds;

// What may happen to an answer. `refuse` applies to writes of entries, the others to all answers.
enum class Fault { refuse, lose, duplicate, reorder, slow };
inline constexpr std::size_t kFaults = 5;
std::string_view faultName(Fault fault);

class SimulatedChip {
 public:
   // Answer codes besides success.
   static constexpr uint32_t refused = 2;
   static constexpr uint32_t full = 3;

   SimulatedChip(Orv::Ptr<Orv::Clock const> clock,
                 Orv::Ptr<Hardware::ShoalTunnel::SemTableConfig const> config,
                 Orv::Ptr<Hardware::ShoalTunnel::SemTableStatus> status);

   // Seconds from a write to its answer, and the extra of a slow one.
   Seconds delay() const { return delay_; }
   void delayIs(Seconds delay) { delay_ = delay; }
   void slownessIs(Seconds slowness) { slowness_ = slowness; }

   // The next `count` answers (of one unit) suffer the fault; adds to what is left.
   void faultNext(Fault fault, uint64_t count, std::optional<FapId> unit);
   // From now on each answer (of one unit) suffers it with this probability, 0 to 1.
   void faultOften(Fault fault, double probability, std::optional<FapId> unit);
   void seedIs(uint64_t seed) { random_.seed(seed); }
   // Ends all faults; what is held back for reordering is answered.
   void clearFaults();
   // Entries that a unit holds at most; a write of one more key is refused as full.
   void capacityIs(FapId unit, std::optional<uint64_t> entries);
   // The chip restarts empty: what it held and what it had not answered yet is gone, and so is the
   // status. The configuration stays; replay() writes it to the chip again.
   void restart();
   void replay();

   struct Answer {
      Seconds due;
      AradSemKeyAndFap key;
      std::optional<AradSemPayload> written; // none: a removal
      Seconds since;
   };
   std::deque<Answer> const& unanswered() const { return unanswered_; }
   // What the chip really holds.
   std::map<AradSemKeyAndFap, AradSemPayload> const& entries() const { return entries_; }
   struct LastAnswer {
      Seconds at;
      uint32_t code; // 0: a removal
   };
   std::optional<LastAnswer> lastAnswer(AradSemKeyAndFap key) const;

   struct Counters {
      uint64_t writes = 0;
      uint64_t removals = 0;
      uint64_t answers = 0;
      uint64_t restarts = 0;
      std::array<uint64_t, kFaults> suffered{};
      uint64_t full = 0;
   };
   Counters const& counters() const { return counters_; }

   // One fault in force, as people read it.
   struct Setting {
      Fault fault;
      std::optional<FapId> unit;
      uint64_t next = 0;
      double probability = 0.0;
   };
   std::vector<Setting> const& faults() const { return faults_; }

 private:
   void handleConfig(AradSemKeyAndFap const& key);
   void handleTime();
   bool suffers(Fault fault, FapId unit);
   Setting& setting(Fault fault, std::optional<FapId> unit);
   void schedule(Answer const& answer);
   void deliver(Answer const& answer);
   uint32_t program(Answer const& answer);
   void askForNext();

   class Timer : public Orv::ClockNotifiee {
    public:
      Timer(SimulatedChip* chip, Orv::Ptr<Orv::Clock const> clock)
          : ClockNotifiee(std::move(clock)), chip_(chip) {}
      void handleTime() override { chip_->handleTime(); }

    private:
      SimulatedChip* chip_;
   };

   Orv::Ptr<Hardware::ShoalTunnel::SemTableConfig const> config_;
   Orv::Ptr<Hardware::ShoalTunnel::SemTableStatus> status_;
   Seconds delay_ = 0.01;
   Seconds slowness_ = 1.0;
   std::vector<Setting> faults_;
   std::map<FapId, uint64_t> capacity_;
   std::map<FapId, uint64_t> held_; // entries per unit
   std::mt19937_64 random_{1};

   std::deque<Answer> unanswered_; // in order of due time, then of writing
   std::vector<Answer> heldBack_;  // answered in reverse when the run of reordered ones ends
   std::map<AradSemKeyAndFap, AradSemPayload> entries_;
   std::map<AradSemKeyAndFap, LastAnswer> lastAnswers_;
   Counters counters_;

   Timer timer_;
   Orv::ReactorFor<&SimulatedChip::handleConfig> orvConfig_;
};

} // namespace Agent
