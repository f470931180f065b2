// One table of the seam: hands what the library configures to the driver, and the driver's answers
// to the library.
//
// Remembers what happened to each entry, also over a restart of the chip, for those who explain it.
#pragma once

#include "host/driver/ChipDriver.h"
#include "platform/Orv/IndexedMap.h"
#include "platform/Orv/Notifier.h"

#include <map>
#include <vector>

namespace ShoalHost {

// What the chip did with one entry.
struct EntryMemory {
   struct Event {
      Seconds at = 0.0;
      Outcome outcome = Outcome::removed;
      uint64_t write = 0;             // the number of the write or removal that it is of
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

// `T`: see ChipTables.h.
template<class T>
class SeamTable {
 public:
   static constexpr ChipTableKind kind = T::kind;
   using Key = typename T::Key;
   using Data = typename T::Data;

   // `unitOf`: the unit that holds an entry.
   SeamTable(ChipDriver& driver, AnswerSink& sink, Orv::Ptr<typename T::Config const> config,
             Orv::Ptr<typename T::Status> status, std::function<FapId(Key)> unitOf)
       : driver_(driver), sink_(sink), config_(std::move(config)), status_(std::move(status)),
         unitOf_(std::move(unitOf)), orvConfig_(this) {}

   // An entry that the chip holds at the start. All of them come ahead of start().
   void readBack(Key key, EntryData const& data) {
      unclaimed_[key] = std::get<Data>(data);
      noteKey(key);
   }
   // Takes up what is configured, then follows it. What was read back and is configured stands
   // already; the rest of it waits to be claimed by a write.
   void start() {
      for (auto const& [key, data] : config_->configIter()) {
         noteKey(key);
         if (standsIn(key, data)) {
            memories_[key].lastWrite = {Orv::System::peekTime(), Outcome::accepted, 0,
                                        std::nullopt};
            T::answer(*status_, key, data, Outcome::accepted);
         } else {
            write(key, std::nullopt);
         }
      }
      config_->configCollection().watch(orvConfig_);
   }

   // Identifies, by an index, the request for which an entry is being written or removed.
   using WriterOf = std::function<std::optional<uint32_t>(Key)>;
   void writerOfIs(WriterOf writerOf) { writerOf_ = std::move(writerOf); }
   // Is told of an entry whenever the chip may hold something else there, with the writer of the
   // write or removal; ahead of the status.
   using Watcher = std::function<void(Key, std::optional<uint32_t>)>;
   void watcherIs(Watcher watcher) { watcher_ = std::move(watcher); }

   // Writes everything that is configured to the chip again.
   void replay() {
      for (auto const& [key, data] : config_->configIter()) {
         write(key, std::nullopt);
      }
   }
   // Counts the answers to writes of the key that are out as lost, and hands the driver what is
   // configured once more: the answer to that stands for them all, or the first one where the
   // driver was handed it several times. One that the library did not notice, since it changed no
   // status, is told again.
   void askAgain(Key key) {
      auto& asked = asked_[key];
      auto const* out = unanswered_.find(key);
      if (out != nullptr || asked.answered) {
         asked.numbers.clear();
         asked.answered = false;
      }
      if (out != nullptr) {
         asked.lost.insert(asked.lost.end(), out->begin(), out->end());
         unanswered_.erase(key);
      }
      asked.numbers.push_back(writes_ + 1);
      write(key, asked.lost.empty() ? std::nullopt : asked.lost.back().writer);
   }
   // Makes of what the chip held at the start and nobody has claimed since what is configured: most
   // of it is removed, an in-LIF loses its data.
   void removeUnclaimed() {
      std::exchange(unclaimed_, {}).forEach([this](Key key, Data const&) {
         write(key, std::nullopt);
      });
   }

   FapId unitOf(Key key) const { return unitOf_(key); }
   std::optional<uint64_t> room(FapId unit) const { return driver_.room(kind, unit); }
   // How many entries of a unit are configured, and not in the chip.
   uint64_t missing(FapId unit) const {
      uint64_t count = 0;
      doubtful_.forEach([&](Key key, Nothing) {
         count += config_->configHas(key) && unitOf_(key) == unit && !held(key) ? 1 : 0;
      });
      return count;
   }
   // Calls visit(key) with what is configured and not known to stand in the chip.
   template<class Visit>
   void forEachDoubtful(Visit visit) const {
      doubtful_.forEach([&](Key key, Nothing) {
         if (config_->configHas(key) && !stands(key)) {
            visit(key);
         }
      });
   }
   // The driver said that the chip accepted what is configured, and the chip did not restart since.
   bool stands(Key key) const {
      auto const& write = memory(key).lastWrite;
      return write && write->outcome == Outcome::accepted && !memory(key).restarted &&
             config_->configHas(key);
   }
   // Of the mapper: calls visit(key) with the keys of a sub-interface that were ever configured or
   // read back.
   template<class Visit>
   void forEachKeyOf(Plexus::IntfId subIntf, Visit visit) const {
      static_assert(kind == ChipTableKind::mapper);
      auto const* newest = newestKeys_.find(subIntf);
      for (Key key = newest == nullptr ? Key() : *newest; key != Key();
           key = *olderKeys_.find(key)) {
         visit(key);
      }
   }
   std::optional<Data> held(Key key) const {
      auto data = driver_.held(key);
      return data ? std::optional(std::get<Data>(*data)) : std::nullopt;
   }
   // What it should hold.
   std::optional<Data> configured(Key key) const { return config_->configCollection().find(key); }
   // See ChipDriver::expected.
   std::optional<std::vector<ExpectedAnswer>> expected(Key key) const {
      return driver_.expected(key);
   }
   EntryMemory const& memory(Key key) const {
      static EntryMemory const nothing;
      auto const* found = memories_.find(key);
      return found == nullptr ? nothing : *found;
   }
   // The key whose answer is being given just now: whoever is called meanwhile hears of that one.
   std::optional<Key> answering() const { return answering_; }
   // The statuses go with a restart of the chip just now.
   bool restarting() const { return restarting_; }
   ChipCounters const& counters() const { return counters_; }
   auto const& config() const { return config_; }

   // A write or removal is being handed to the driver.
   bool writing() const { return writing_; }

   // From the driver.
   void answered(Key key, ChipWrite const& write, Outcome outcome) {
      std::optional<std::vector<ChipWrite>> stoodFor;
      if (auto asked = asked_.find(key); asked != asked_.end()) {
         bool again = asked->second.isAgain(write.number);
         if (write.number < asked->second.numbers.front() || (again && asked->second.answered)) {
            return; // counted as lost, or answered by another of them
         }
         if (again && outcome != Outcome::inProgress) {
            asked->second.answered = true;
            stoodFor = std::exchange(asked->second.lost, {});
         }
      }
      ++counters_.answers;
      EntryMemory& memory = memories_[key];
      memory.lastAnswer = eventOf(write, outcome);
      if (memory.lastWrite && memory.lastWrite->write == write.number &&
          memory.lastWrite->outcome == Outcome::pending) {
         memory.lastWrite->outcome = outcome;
      }
      settled(key, write, outcome);
      noteHeld(key, write.writer);
      answering_ = key;
      bool removed = !write.data;
      for (ChipWrite const& each : stoodFor.value_or(std::vector<ChipWrite>{})) {
         bool same = !each.data == removed;
         tell(key, each.data, same ? outcome : each.data ? Outcome::accepted : Outcome::removed);
      }
      bool told = stoodFor && !stoodFor->empty() && !stoodFor->back().data == removed;
      if (stoodFor && !told && removed && !status_->statusHas(key)) {
         tell(key, EntryData(Data()), Outcome::accepted);
      }
      if (!told) {
         tell(key, write.data, outcome);
      }
      answering_.reset();
   }
   void performed(Key key, ChipWrite const& write, Outcome outcome) {
      counters_.full += outcome == Outcome::full ? 1 : 0;
      memories_[key].lastWrite = eventOf(write, outcome);
   }
   void lost(Key key, ChipWrite const& write) {
      EntryMemory& memory = memories_[key];
      memory.lost = eventOf(write, memory.lastWrite ? memory.lastWrite->outcome : Outcome::pending);
      noteHeld(key, write.writer);
   }
   void dropped(Key key, ChipWrite const& write) {
      memories_[key].dropped = eventOf(write, Outcome::pending);
   }
   // What the chip held is gone, and so is the status. The configuration stays.
   void restarted() {
      memories_.forEach(
          [now = Orv::System::peekTime()](Key, EntryMemory& memory) { memory.restarted = now; });
      unclaimed_.clear();
      memories_.forEach([this](Key key, EntryMemory const&) { noteHeld(key, std::nullopt); });
      restarting_ = true;
      status_->statusDelAll();
      restarting_ = false;
   }

 private:
   struct Nothing {};

   void noteKey(Key key) {
      if constexpr (kind == ChipTableKind::mapper) {
         if (!olderKeys_.contains(key)) {
            olderKeys_[key] = std::exchange(newestKeys_[key.fields().subIntfId], key);
         }
      }
   }

   void noteHeld(Key key, std::optional<uint32_t> writer) {
      if (!config_->configHas(key) || stands(key)) {
         doubtful_.erase(key);
      } else {
         doubtful_[key];
      }
      if (watcher_) {
         watcher_(key, writer);
      }
   }

   void handleConfig(Key const& key) { write(key, writerOf_ ? writerOf_(key) : std::nullopt); }

   void tell(Key key, std::optional<EntryData> const& data, Outcome outcome) {
      if (data) {
         T::answer(*status_, key, std::get<Data>(*data), outcome);
      } else {
         status_->statusDel(key);
      }
   }

   void settled(Key key, ChipWrite const& write, Outcome outcome) {
      auto* found = unanswered_.find(key);
      if (found == nullptr || outcome == Outcome::inProgress) {
         return;
      }
      std::erase_if(*found, [&](auto const& each) { return each.number == write.number; });
      if (found->empty()) {
         unanswered_.erase(key);
      }
   }

   // Whether the chip held the entry at the start, maybe with the data of a request that comes
   // again: then it stays unclaimed until that, or removeUnclaimed().
   bool standsIn(Key key, Data const& data) {
      if constexpr (kind == ChipTableKind::mapper) {
         auto const* found = unclaimed_.find(key);
         if (found != nullptr && found->lif == data.lif && found->inLifAdditionalData != 0) {
            return true;
         }
      }
      return claim(key, data);
   }

   // Whether the chip holds just that from before the start; asked once.
   bool claim(Key key, Data const& data) {
      auto const* found = unclaimed_.find(key);
      bool same = found != nullptr && *found == data;
      unclaimed_.erase(key);
      return same;
   }

   void write(Key key, std::optional<uint32_t> writer) {
      noteKey(key);
      ChipWrite write{key, std::nullopt, ++writes_, Orv::System::peekTime(), writer};
      auto data = config_->configCollection().find(key);
      if (data) {
         write.data = *data;
      }
      ++(data ? counters_.writes : counters_.removals);
      EntryMemory& memory = memories_[key];
      memory.lastWrite = eventOf(write, Outcome::pending);
      memory.restarted.reset();
      if (auto asked = asked_.find(key);
          asked == asked_.end() || !asked->second.isAgain(write.number)) {
         unanswered_[key].push_back(write);
      }
      struct Writing {
         explicit Writing(bool& flag) : flag_(flag) { flag_ = true; }
         ~Writing() { flag_ = false; }
         bool& flag_;
      } const writing(writing_);
      if (data && claim(key, *data)) {
         sink_.answered(write, Outcome::accepted);
      } else if (data) {
         driver_.write(write);
      } else {
         unclaimed_.erase(key);
         driver_.remove(write);
      }
      noteHeld(key, writer);
   }

   // Now.
   static EntryMemory::Event eventOf(ChipWrite const& write, Outcome outcome) {
      return {Orv::System::peekTime(), outcome, write.number, write.writer};
   }

   ChipDriver& driver_;
   AnswerSink& sink_;
   Orv::Ptr<typename T::Config const> config_;
   Orv::Ptr<typename T::Status> status_;
   std::function<FapId(Key)> unitOf_;
   WriterOf writerOf_;
   Watcher watcher_;
   uint64_t writes_ = 0;
   Orv::IndexedMap<Key, std::vector<ChipWrite>> unanswered_; // oldest first
   struct Asked {
      // Of the writes; older ones are not waited for any more.
      std::vector<uint64_t> numbers;
      bool isAgain(uint64_t number) const {
         return std::find(numbers.begin(), numbers.end(), number) != numbers.end();
      }
      bool answered = false;
      std::vector<ChipWrite> lost; // that its answer stands for
   };
   std::map<Key, Asked> asked_;
   Orv::IndexedMap<Key, Data> unclaimed_; // read back at the start
   Orv::IndexedMap<Key, EntryMemory> memories_;
   Orv::IndexedMap<Key, Nothing> doubtful_; // configured, and not known to stand in the chip
   // Of the mapper, as a chain per sub-interface: its newest key, and the next older one of each.
   Orv::IndexedMap<Plexus::IntfId, Key> newestKeys_;
   Orv::IndexedMap<Key, Key> olderKeys_;
   std::optional<Key> answering_;
   bool restarting_ = false;
   bool writing_ = false;
   ChipCounters counters_;
   Orv::ReactorFor<&SeamTable::handleConfig> orvConfig_;
};

} // namespace ShoalHost
