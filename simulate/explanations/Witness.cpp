#include "simulate/explanations/Witness.h"

#include "agent/command/Names.h"
#include "simulate/explanations/Sentences.h"

namespace Simulate {

using namespace Hardware::ShoalTunnel;

namespace {

Seconds now() {
   return Orv::System::peekTime();
}

Witness::Event eventOf(SemTableStatusEntry const& status) {
   return status.statusCode == 1                                      ? Witness::Event::accepted
          : status.statusCode == static_cast<uint32_t>(Outcome::full) ? Witness::Event::full
                                                                      : Witness::Event::refused;
}

Witness::Event eventOf(VlanTagToVsiMapperStatusType const& status) {
   return static_cast<uint32_t>(status.errorType) == 9 ? Witness::Event::accepted
          : static_cast<uint32_t>(status.errorType) == static_cast<uint32_t>(Outcome::full)
              ? Witness::Event::full
              : Witness::Event::refused;
}

Witness::Event eventOf(TunnelPolicyMapperStatusType const& status) {
   return status.statusCode == 2   ? Witness::Event::accepted
          : status.statusCode == 3 ? Witness::Event::inProgress
          : status.statusCode == 10 + static_cast<uint32_t>(Outcome::full)
              ? Witness::Event::full
              : Witness::Event::refused;
}

Witness::Event eventOf(LifFeatureStatusType const& status) {
   return status.statusCode == 1 ? Witness::Event::accepted
          : status.statusCode == 10 + static_cast<uint32_t>(Outcome::full)
              ? Witness::Event::full
              : Witness::Event::refused;
}

} // namespace

Witness::Witness(AgentHost& host) : host_(host) {
   writes_ = chipWrites();
   auto const& isem = host.isem();
   auto const& inLif = host.mapper();
   for (auto const& [key, result] : inLif.mapperConfig->configIter()) {
      lifs_[key] = result.lif;
      note(Event::made, idOf(key));
   }
   watch<IsemTable>(*isem.table, *isem.tableStatus);
   watch<MapperTable>(*inLif.mapperConfig, *inLif.mapperStatus);
   watch<TunnelTable>(*inLif.tunnelConfig, *inLif.tunnelStatus);
   auto const& features = host.inLifFeatures();
   watch<PortWordTable>(*features.defaultMappingConfig, *features.defaultMappingStatus);
   watch<SubIntfWordTable>(*features.subIntfMappingConfig, *features.subIntfMappingStatus);
   for (SharingPipeline* pipeline : host.pipelines()) {
      watchers_.watch<TcamSharingRequest>(pipeline->mergedStatus->responseCollection(),
                                          [this](TcamSharingRequest const& request) {
                                             responses_[request.index()].push_back(now());
                                          });
   }
   for (auto const& output : {isem.outputTable, inLif.tagOutput, inLif.tunnelOutput}) {
      watchers_.watch<TcamSharingRequest>(output->requestCollection(),
                                          [this](TcamSharingRequest const& request) {
                                             auto& times = processed_[request.index()];
                                             if (times.empty()) {
                                                requests_[formatRequest(request)] = request.index();
                                             }
                                             times.push_back(now());
                                          });
   }
   watchers_.watch<TcamSharingRequest>(
       isem.common->tcamRequestToIsemKeyMappingCollection(),
       [this](TcamSharingRequest const& request) {
          auto key = host_.isem().common->tcamRequestToIsemKeyMapping(request);
          auto& before = mapping_[request];
          if (before != AradSemKeyAndFap() && before != key) {
             leaves_[formatRequest(request) + " " + formatKey(before)].push_back(now());
          }
          before = key;
       });
}

template<class T>
void Witness::watch(typename T::Config const& config, typename T::Status const& status) {
   using Key = typename T::Key;
   watchers_.watch<Key>(config.configCollection(), [this, &config](Key const& key) {
      auto data = config.configCollection().find(key);
      KeyId id = idOf(key);
      if constexpr (std::is_same_v<T, MapperTable>) {
         auto& writer = writers_[key];
         written_[writer].erase(key);
         writer = host_.mapper().common->pendingLifEntries(key).request();
         written_[writer].insert(key);
         if (data && lifs_[key] != data->lif) {
            lifs_[key] = data->lif;
            note(Event::made, id);
            noteLoss(id);
            return;
         }
      }
      note(data ? Event::written : Event::removed, id);
      noteLoss(id);
   });
   watchers_.watch<Key>(status.statusCollection(), [this, &status](Key const& key) {
      noteRestarts();
      auto answer = status.statusCollection().find(key);
      note(answer ? eventOf(*answer) : Event::gone, idOf(key));
   });
}

Witness::KeyId Witness::idOf(EntryKey const& key) {
   KeyId id(key.index(), std::visit([](auto const& each) { return each.index(); }, key));
   if (printed_.insert(id).second) {
      keys_[std::visit([](auto const& each) { return formatKey(each); }, key)] = id;
   }
   return id;
}

void Witness::note(Event event, KeyId key) {
   events_[{event, key}].push_back(now());
}

// The chip, which hears of a write first, has drawn what becomes of the answer.
void Witness::noteLoss(KeyId key) {
   uint64_t lost = host_.chip().faults().suffered(Fault::lose);
   if (lost != lost_) {
      note(Event::answerLost, key);
   }
   lost_ = lost;
   ++writes_;
}

uint64_t Witness::chipWrites() const {
   uint64_t writes = 0;
   ChipSeam const& seam = host_.seam();
   for (ChipCounters const& counters :
        {seam.isem().counters(), seam.mapper().counters(), seam.tunnels().counters(),
         seam.portWords().counters(), seam.subIntfWords().counters()}) {
      writes += counters.writes + counters.removals;
   }
   return writes;
}

std::optional<std::string> Witness::notHeld(std::string const& reason) const {
   std::string refused = reason;
   if (auto parts = fit(reason, "the chip restarted at % s, and nothing wrote % since")) {
      return sawRestart((*parts)[0]) ? std::optional((*parts)[1]) : std::nullopt;
   }
   auto restarted = fit(reason, "%, and restarted at % s, and nothing wrote % since");
   if (restarted) {
      refused = (*restarted)[0];
   }
   auto full = fit(refused, "the chip refused the write of % at % s, since the unit was full");
   auto parts = full ? full : fit(refused, "the chip refused the write of % at % s");
   if (!parts) {
      return std::nullopt;
   }
   // The answer comes later, or not at all.
   std::string const& key = (*parts)[0];
   std::string const& time = (*parts)[1];
   bool written = saw(Event::written, key, time) || saw(Event::made, key, time) || sawReplay(time);
   bool again = !restarted || (sawRestart((*restarted)[1]) && (*restarted)[2] == key);
   return written && again ? std::optional(key) : std::nullopt;
}

bool Witness::sawWriteFor(std::string const& request, std::string const& key) const {
   auto named = requests_.find(request);
   auto sawAt = [&](Seconds time) {
      return (named != requests_.end() && isAmong(processed_.at(named->second), time)) ||
             isAmong(rebuilds_, time);
   };
   for (Event event : {Event::written, Event::removed}) {
      auto const* times = timesOf(event, key);
      if (times != nullptr && std::any_of(times->begin(), times->end(), sawAt)) {
         return true;
      }
   }
   return false;
}

bool Witness::noteQuietEvents() {
   bool quiet = restartCount_ != host_.chip().restarts();
   noteRestarts();
   lost_ = host_.chip().faults().suffered(Fault::lose);
   constexpr std::string_view again = "the chip is asked again about ";
   Detours const& detours = host_.changes().detours();
   auto const& notes = detours.notes();
   auto fresh = detours.freshNotes(notes_);
   if (fresh != detours.count() - notes_) {
      untold_.emplace_back(noted_, now());
   }
   noted_ = now();
   notes_ = detours.count();
   for (auto note = notes.end() - static_cast<std::ptrdiff_t>(fresh); note != notes.end(); ++note) {
      if (note->text.starts_with(again)) {
         asked_[note->text.substr(again.size())].push_back(note->at);
         replays_.push_back(note->at);
      }
   }
   if (writes_ != chipWrites()) {
      writes_ = chipWrites();
      replays_.push_back(now());
      quiet = true;
   }
   return quiet;
}

void Witness::noteRebuild() {
   rebuilds_.push_back(now());
}

void Witness::noteRestarts() {
   if (restartCount_ != host_.chip().restarts()) {
      restartCount_ = host_.chip().restarts();
      restarts_.push_back(now());
   }
}

} // namespace Simulate
