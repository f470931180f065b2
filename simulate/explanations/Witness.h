// What happened around the hardware tables, recorded from their changes alone: for checks of what
// explanations say of the past. Shares nothing with the chronicle.
#pragma once

#include "agent/host/AgentHost.h"
#include "simulate/Watcher.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <optional>
#include <set>
#include <string>

namespace Simulate {

using namespace Agent;

class Witness {
 public:
   explicit Witness(AgentHost& host);

   // Each event has the printed key of its entry, and a time.
   enum class Event {
      written,    // the table took other data, or the entry
      made,       // the entry came with a logical interface of its own
      removed,    // it left the table
      accepted,   // the chip's answer
      refused,    //
      full,       //
      gone,       // the status went: a removal's answer, or a restart
      inProgress, //
      answerLost, // of a write or removal
   };
   bool saw(Event event, std::string const& key, std::string const& time) const {
      auto const* times = timesOf(event, key);
      return times != nullptr && isAmong(*times, time);
   }
   // At any time.
   bool saw(Event event, std::string const& key) const { return timesOf(event, key) != nullptr; }
   // The entry was once written or removed while the request was processed.
   bool sawWriteFor(std::string const& request, std::string const& key) const;
   // The mapper entries whose present data it gave.
   std::set<VlanTagToVsiMapperKey> const& writtenBy(TcamSharingRequest request) const {
      static std::set<VlanTagToVsiMapperKey> const none;
      auto found = written_.find(request);
      return found == written_.end() ? none : found->second;
   }
   // The request was known under the ISEM entry until then.
   bool sawLeave(std::string const& request, std::string const& key,
                 std::string const& time) const {
      auto found = leaves_.find(request + " " + key);
      return found != leaves_.end() && isAmong(found->second, time);
   }
   bool sawResponse(TcamSharingRequest request, std::string const& time) const {
      auto found = responses_.find(request.index());
      return found != responses_.end() && isAmong(found->second, time);
   }
   // A machine took the request up then, from its output or when it was built.
   bool sawProcessed(TcamSharingRequest request, std::string const& time) const {
      auto found = processed_.find(request.index());
      return (found != processed_.end() && isAmong(found->second, time)) ||
             isAmong(rebuilds_, time);
   }
   // The same of a printed request.
   bool sawProcessed(std::string const& request, std::string const& time) const {
      auto named = requests_.find(request);
      return named == requests_.end()
                 ? isAmong(rebuilds_, time)
                 : sawProcessed(TcamSharingRequest::fromIndex(named->second), time);
   }
   // The entry of which "the chip refused the write of % at % s" or "the chip restarted at % s, and
   // nothing wrote % since" is told, in words that chipReason() has; none: it is told of none, or
   // this did not happen.
   std::optional<std::string> notHeld(std::string const& reason) const;
   bool sawRestart(std::string const& time) const { return isAmong(restarts_, time); }
   // The configuration was written to the chip again then, or an answer to such a write was lost.
   // Entries are not told apart.
   bool sawReplay(std::string const& time) const { return isAmong(replays_, time, 2000.0); }
   // The entry was written or removed again then, for want of an answer.
   bool sawAsked(std::string const& key, std::string const& time) const {
      auto found = asked_.find(key);
      return (found != asked_.end() && isAmong(found->second, time)) ||
             std::any_of(untold_.begin(), untold_.end(), [&](auto const& span) {
                auto [from, to] = span;
                Seconds parsed = -1;
                std::from_chars(time.data(), time.data() + time.size(), parsed);
                return parsed >= from && parsed <= to;
             });
   }
   // Notes what shows in no table: restarts of an empty chip, and that the configuration was
   // written to the chip again. To be called right after each command. Returns whether there was
   // any.
   bool noteQuietEvents();
   // A machine is built again.
   void noteRebuild();

 private:
   using Times = std::vector<Seconds>; // in order
   // Within one notification the clock is read a few times, which may take time.
   bool isAmong(Times const& times, Seconds time, double readings = 50.0) const {
      double slack = 1e-6 + readings * host_.time().costPerReading();
      auto next = std::lower_bound(times.begin(), times.end(), time - slack);
      return next != times.end() && *next <= time + slack;
   }
   bool isAmong(Times const& times, std::string const& time, double readings = 50.0) const {
      Seconds parsed = 0;
      auto end = time.data() + time.size();
      return std::from_chars(time.data(), end, parsed).ptr == end &&
             isAmong(times, parsed, readings);
   }
   // Of an event, by the printed key; null: there was none.
   Times const* timesOf(Event event, std::string const& key) const {
      auto named = keys_.find(key);
      auto found = named == keys_.end() ? events_.end() : events_.find({event, named->second});
      return found == events_.end() ? nullptr : &found->second;
   }
   void noteRestarts();
   uint64_t chipWrites() const;
   // Printing a key costs more than all else here: each is printed once.
   using KeyId = std::pair<std::size_t, uint32_t>; // table and index
   KeyId idOf(ShoalHost::EntryKey const& key);
   void note(Event event, KeyId key);
   template<class T>
   void watch(typename T::Config const& config, typename T::Status const& status);
   void noteLoss(KeyId key);

   AgentHost& host_;
   std::map<std::string, KeyId> keys_; // as they are printed
   std::set<KeyId> printed_;
   std::map<std::pair<Event, KeyId>, Times> events_;
   std::map<std::string, Times> leaves_;      // by request and key
   std::map<std::string, uint32_t> requests_; // as they are printed
   std::map<uint32_t, Times> responses_;      // by the request's index
   std::map<uint32_t, Times> processed_;      // by the request's index
   Times rebuilds_;
   Times restarts_;
   Times replays_;
   std::map<std::string, Times> asked_; // by printed key
   // From and to: commands that noted more than is kept.
   std::vector<std::pair<Seconds, Seconds>> untold_;
   Seconds noted_ = 0.0; // till then
   uint64_t notes_ = 0;  // of detours, that were read
   std::map<TcamSharingRequest, AradSemKeyAndFap> mapping_;
   std::map<VlanTagToVsiMapperKey, uint32_t> lifs_;
   std::map<VlanTagToVsiMapperKey, TcamSharingRequest> writers_;
   std::map<TcamSharingRequest, std::set<VlanTagToVsiMapperKey>> written_; // by writers_
   uint64_t lost_ = 0;
   uint64_t restartCount_ = 0;
   uint64_t writes_ = 0;
   Watchers watchers_;
};

} // namespace Simulate
