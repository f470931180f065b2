// Carries changes out: at once where the library can take them, else by a way round what is in the
// way, while the event loop runs.
//
// A way round is found step by step. Each step judges the change anew, does what removes the first
// objection, and waits until that is worked. There are few such doings: to wait for an answer of
// the chip; to hold requests back, so that nobody uses an entry, until the change is made; to make
// a request unanswered. A change that concerns what an earlier one still works on waits behind it.
#pragma once

#include "host/admission/Judge.h"
#include "host/chronicle/Chronicle.h"

#include <algorithm>
#include <deque>
#include <functional>
#include <set>

namespace ShoalHost {

// What a change touches.
struct Concern {
   std::vector<TcamSharingRequest> requests;
   std::vector<IntfId> interfaces;
   std::optional<FapId> unit; // everything on it
   bool portMap = false;      // the port map's state
   friend bool operator==(Concern const&, Concern const&) = default;
};

struct Change {
   std::function<std::string()> what; // in words
   // Of two changes of one kind with one concern the later one makes the earlier one idle.
   std::string_view kind;
   Concern concern;
   std::function<std::optional<Objection>()> judge;
   std::function<void()> make;
   std::function<void(Objection const&)> refused; // it waited, and there is no way round; or none
   std::function<FactChange()> fact;              // what it makes of the world; or none
   // Of a requester's; empty: it withdraws.
   std::optional<std::pair<Requester, TcamSharingPolicyId>> asks;
   bool firm = false; // never by a way round
};

class Detours {
 public:
   Detours(World& world, IsemPipeline const& isem, MapperPipeline const& mapper,
           SharingRouter& router, VlanTags const& tags, Chronicle const& chronicle, Judge& judge,
           ChipSeam& seam, Orv::Timers& timers);

   enum class Setting {
      refuse, // ChangeRefused for what would stop the library
      detour, // by a way round, if there is one; else ChangeRefused
      off     // it stops
   };
   Setting setting() const { return setting_; }
   void settingIs(Setting setting) { setting_ = setting; }
   // How long an answer of the chip is waited for. Then it counts as lost, and the chip is asked
   // again, a few times. Seconds.
   Seconds answerBound() const { return answerBound_; }
   void answerBoundIs(Seconds bound) { answerBound_ = bound; }

   // Makes the change, now or later. Throws what `make` throws, and ChangeRefused; HostError for
   // one that has to wait behind another while the setting refuses.
   void carryOut(Change change) { carryOut(std::move(change), setting_); }
   // By another setting, for once.
   void carryOut(Change change, Setting setting);
   // The requester's table has another policy for a request that is held back, or none.
   void heldRequestIs(Requester requester, TcamSharingRequest request);
   // A policy that was refused, for what the unit lacks, is remembered, and made when the unit gets
   // it. Replaces the one before; `make` asks for it again.
   void wishIs(Requester requester, TcamSharingRequest request, TcamSharingPolicyId policy,
               std::string why, std::function<void()> make);
   void wishDel(Requester requester, TcamSharingRequest request) {
      wishes_.erase({requester, request});
   }
   // The intake was built again.
   void intakesRebuilt();
   // Something has changed that a change on its way may wait for.
   void poke();

   // Whose place in the backlog or in the retry list is being changed from here just now.
   std::optional<TcamSharingRequest> moving() const { return moving_; }

   // One change that is not made yet.
   struct Waiting {
      std::string what;
      std::string why;
      Seconds since;
      bool forFact; // for a change of the world that nothing here brings about
      // Of a requester's; empty: it withdraws.
      std::optional<std::pair<Requester, TcamSharingPolicyId>> asks;
      std::vector<TcamSharingRequest> requests;
   };
   std::vector<Waiting> waiting() const;
   // Something is on its way, and time brings it on.
   bool busy() const;
   // What a requester asks for and the pipeline does not get.
   struct HeldBack {
      Requester requester;
      TcamSharingRequest request;
      TcamSharingPolicyId policy;
      std::string why;
   };
   // What is in the requester's table, what was refused since, what waits behind another change.
   std::vector<HeldBack> heldBack(Requester requester, TcamSharingRequest request) const;
   // All of them.
   std::vector<HeldBack> heldBack() const;

   // What became of changes that were not made at once, and whose entries were out of the chip
   // meanwhile; oldest first. Only the last ones are kept; `count` of all.
   struct Note {
      Seconds at;
      std::string text;
   };
   static constexpr std::size_t kNotes = 256;
   std::deque<Note> const& notes() const { return notes_; }
   uint64_t count() const { return count_; }
   // How many of the notes came behind the first `told` ones and are kept: the last ones.
   std::size_t freshNotes(uint64_t told) const {
      return std::min<std::size_t>(count_ - told, notes_.size());
   }

 private:
   struct Held {
      Requester requester;
      TcamSharingRequest request;
      friend auto operator<=>(Held const&, Held const&) = default;
   };
   struct Pending {
      Change change;
      std::string what;
      std::string why;
      Seconds since = 0.0;
      bool forFact = false;
      std::set<Held> held;
      std::map<TcamSharingRequest, uint64_t> withdrawn; // of `held`: their places among the wanted
      std::vector<AradSemKeyAndFap> keys;               // the entries that are in the way
      std::optional<TcamSharingRequest> worked; // is being made unanswered, or given an entry
      std::vector<TcamSharingEntry> retried;    // that wait for a retry, since they were worked so
      std::optional<IntfId> aside;              // the sub-interface whose tags are put aside
      std::map<TcamSharingRequest, unsigned> tries; // at making it unanswered
      std::optional<Seconds> deadline;              // for answers
      std::map<AradSemKeyAndFap, unsigned> asked;   // how often an answer did not come in time
      std::vector<TcamSharingRequest> awaited;
   };
   enum class Step { again, waits, stuck, done };
   static constexpr unsigned kAsks = 5; // of the chip, for one answer

   class Alarm : public Orv::ClockNotifiee {
    public:
      Alarm(Detours* owner, Orv::Timers& timers)
          : ClockNotifiee(Orv::make<Orv::Clock>(timers)), owner_(owner) {}
      void handleTime() override { owner_->run(); }

    private:
      Detours* owner_;
   };
   void run();
   Step step(Pending& pending);
   Step clear(Pending& pending, Objection const& objection, int depth);
   Step hold(Pending& pending, std::vector<Held> const& all, int depth);
   Step give(Pending& pending, TcamSharingRequest request, std::optional<AradSemKeyAndFap> key,
             int depth);
   Step waitForWithdrawn(Pending& pending);
   Step waitFor(Pending& pending, std::vector<TcamSharingRequest> const& requests);
   void finish(Pending pending);
   void release(Held const& held);
   void askAgain();
   void work(TcamSharingRequest request);
   void tagsBack(Pending& pending);
   std::vector<Held> askersOf(TcamSharingRequest request) const;
   bool isQueued(TcamSharingRequest request) const;
   // Its withdrawal was queued in an intake that was built again, which knows nothing of it.
   bool isForgotten(TcamSharingRequest request) const;
   bool isQueuedOn(FapId unit) const;
   // Worked, with every write of it answered that is waited for.
   bool isAtRest(Pending const& pending, TcamSharingRequest request) const;
   // The entries with a write of the request that is not answered. What was asked for in vain often
   // enough is not waited for.
   std::vector<AradSemKeyAndFap> awaitedAt(Pending const& pending,
                                           TcamSharingRequest request) const;
   // The first of `count` pending changes that the change has to wait behind; null: none.
   Pending const* ahead(Change const& change, std::size_t count) const;
   bool meet(Change const& a, Pending const& b) const;
   // The shared entries that its requests and interfaces lead to, before and behind it.
   std::vector<AradSemKeyAndFap> keysOf(Change const& change) const;
   // Takes the place of one that waits, if it makes that one idle.
   bool replaces(Change& change);
   // It was made without being judged: what waits to the same end is idle.
   void madeUnjudged(Change const& change);
   bool isOn(Concern const& concern, FapId unit) const;
   void tryHeld(FapId unit);
   // Something has changed that may also free what is stuck.
   void changed();
   // Hands over what nothing is in the way of any more.
   void tryStuck();
   std::optional<Objection> judgeHeld(Held const& held) const;
   void note(std::string text);

   void handleBacklog(TcamSharingRequest const&) { changed(); }
   void handleAnswer(AradSemKeyAndFap const&) { changed(); }
   void handleResponse(TcamSharingRequest const& request);

   World& world_;
   IsemPipeline const& isem_;
   MapperPipeline const& mapper_;
   SharingRouter& router_;
   VlanTags const& tags_;
   Chronicle const& chronicle_;
   Judge& judge_;
   ChipSeam& seam_;
   Setting setting_ = Setting::refuse;
   Seconds answerBound_ = 10.0;
   std::deque<Pending> pending_;
   std::map<Held, std::string> refused_; // held back until what they lack has come, and why
   std::set<Held> stuck_;                // of those: by what else uses an entry, not by the unit
   bool tryStuck_ = false;               // something was changed that may free what is stuck
   struct Wish {
      TcamSharingPolicyId policy;
      std::string why;
      std::function<void()> make;
   };
   std::map<Held, Wish> wishes_; // refused, and in no table
   std::optional<TcamSharingRequest> moving_;
   std::map<TcamSharingRequest, Seconds> interrupted_; // withdrawn when, and not back yet
   std::deque<Note> notes_;
   uint64_t count_ = 0;
   Alarm now_;
   Alarm later_;
   Orv::ReactorFor<&Detours::handleBacklog> orvIsemBacklog_;
   Orv::ReactorFor<&Detours::handleBacklog> orvMapperBacklog_;
   Orv::ReactorFor<&Detours::handleAnswer> orvAnswer_;
   Orv::ReactorFor<&Detours::handleResponse> orvIsemResponse_;
   Orv::ReactorFor<&Detours::handleResponse> orvMapperResponse_;
};

} // namespace ShoalHost
