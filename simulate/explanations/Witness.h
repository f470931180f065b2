// What happened around the hardware tables, recorded from their changes alone: for checks of what
// explanations say of the past. Shares nothing with the chronicle.
#pragma once

#include "agent/host/AgentHost.h"
#include "simulate/Watcher.h"

#include <algorithm>
#include <charconv>
#include <map>
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
      return at(events_, {event, key}, time);
   }
   // At any time.
   bool saw(Event event, std::string const& key) const { return events_.contains({event, key}); }
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
      return at(leaves_, request + " " + key, time);
   }
   bool sawResponse(std::string const& request, std::string const& time) const {
      return at(responses_, request, time);
   }
   // A machine took the request up then, from its output or when it was built.
   bool sawProcessed(std::string const& request, std::string const& time) const {
      return at(processed_, request, time) || at(rebuilds_, std::string(), time);
   }
   bool sawRestart(std::string const& time) const { return at(restarts_, std::string(), time); }
   // The configuration was written to the chip again then, or an answer to such a write was lost.
   // Entries are not told apart.
   bool sawReplay(std::string const& time) const {
      return at(replays_, std::string(), time, 2000.0);
   }
   // Notes what shows in no table: restarts of an empty chip, and that the configuration was
   // written to the chip again. To be called right after each command. Returns whether there was
   // any.
   bool noteQuietEvents();
   // A machine is built again.
   void noteRebuild();

 private:
   // Within one notification the clock is read a few times, which may take time.
   template<class Key>
   bool at(std::map<Key, std::vector<Seconds>> const& times, Key const& key,
           std::string const& time, double readings = 50.0) const {
      auto found = times.find(key);
      Seconds parsed = 0;
      auto end = time.data() + time.size();
      return found != times.end() && std::from_chars(time.data(), end, parsed).ptr == end &&
             isAmong(found->second, parsed, readings);
   }
   // Times are noted in their order.
   bool isAmong(std::vector<Seconds> const& times, Seconds time, double readings = 50.0) const {
      double slack = 1e-6 + readings * host_.time().costPerReading();
      auto next = std::lower_bound(times.begin(), times.end(), time - slack);
      return next != times.end() && *next <= time + slack;
   }
   void noteRestarts();
   uint64_t chipWrites() const;
   void note(Event event, std::string const& key);
   template<class T>
   void watch(typename T::Config const& config, typename T::Status const& status);
   void noteLoss(std::string const& key);

   AgentHost& host_;
   template<class Key>
   using Times = std::map<Key, std::vector<Seconds>>;
   Times<std::pair<Event, std::string>> events_;
   Times<std::string> leaves_;
   Times<std::string> responses_;
   Times<std::string> processed_;
   Times<std::string> rebuilds_; // of no key
   Times<std::string> restarts_; // of no key
   std::map<TcamSharingRequest, AradSemKeyAndFap> mapping_;
   std::map<VlanTagToVsiMapperKey, uint32_t> lifs_;
   std::map<VlanTagToVsiMapperKey, TcamSharingRequest> writers_;
   std::map<TcamSharingRequest, std::set<VlanTagToVsiMapperKey>> written_; // by writers_
   uint64_t lost_ = 0;
   uint64_t restartCount_ = 0;
   uint64_t writes_ = 0;
   Times<std::string> replays_; // of no key
   Watchers watchers_;
};

} // namespace Simulate
