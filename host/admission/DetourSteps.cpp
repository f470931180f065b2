// How one change gets round what is in its way.
#include "host/admission/Detours.h"

#include "host/admission/Lists.h"
#include "host/names/Names.h"

#include <algorithm>

namespace ShoalHost {

using namespace Hardware::ShoalTunnel;
using Plexus::SubIntfId;

namespace {

constexpr unsigned kTries = 3; // at making one request unanswered
constexpr int kDepth = 4;      // of objections to what removes an objection

} // namespace

Detours::Step Detours::step(Pending& pending) {
   if (pending.worked && isQueued(*pending.worked)) {
      return Step::waits;
   }
   pending.worked.reset();
   tagsBack(pending);
   if (!std::all_of(pending.withdrawn.begin(), pending.withdrawn.end(),
                    [&](auto const& each) { return isAtRest(pending, each.first); })) {
      return waitForWithdrawn(pending);
   }
   auto objection = pending.change.judge();
   if (objection) {
      pending.why = objection->why;
      Step next = clear(pending, *objection, 0);
      if (next == Step::stuck) {
         note(formatted("{} is not made: {}", pending.what, objection->why));
         if (pending.change.refused) {
            pending.change.refused(*objection);
         }
      }
      return next;
   }
   try {
      pending.change.make();
      note(formatted("{} is made", pending.what));
   } catch (std::exception const& error) {
      note(formatted("{} is not made: {}", pending.what, error.what()));
   }
   return Step::done;
}

// Does what removes the objection.
Detours::Step Detours::clear(Pending& pending, Objection const& objection, int depth) {
   if (depth > kDepth) {
      return Step::stuck;
   }
   pending.forFact = false;
   if (pending.why.empty()) {
      pending.why = objection.why;
   }
   switch (objection.row) {
   case Row::unmapped:
   case Row::moved: {
      TcamSharingRequest request = *objection.request;
      if (isQueued(request) || (objection.open && !awaitedAt(pending, request).empty())) {
         return waitFor(pending, {request});
      }
      if (objection.open) {
         return Step::stuck;
      }
      if (objection.key) {
         addOnce(pending.keys, *objection.key);
      }
      if (objection.row == Row::unmapped) {
         return give(pending, request, objection.key, depth);
      }
      std::vector<TcamSharingRequest> inTheWay = judge_.isemIndex().leadingTo(*objection.key);
      for (TcamSharingRequest user : objection.users) {
         addOnce(inTheWay, user);
      }
      addOnce(inTheWay, request);
      // Who was answered without an entry of its own would be left without any. It takes a while to
      // withdraw, so it goes ahead of those that have the entry.
      std::stable_partition(inTheWay.begin(), inTheWay.end(), [this](TcamSharingRequest each) {
         return !isem_.common->tcamRequestToIsemKeyMappingHas(each);
      });
      std::vector<Held> all;
      for (TcamSharingRequest each : inTheWay) {
         auto asking = askersOf(each);
         all.insert(all.end(), asking.begin(), asking.end());
      }
      return hold(pending, all, depth);
   }
   case Row::lookup: {
      std::vector<Held> all;
      for (auto const& asked :
           judge_.askedOn(*pending.change.concern.unit, {Requester::lumen, Requester::rampart})) {
         all.push_back({asked.requester, asked.request});
      }
      return hold(pending, all, depth);
   }
   case Row::generation: {
      std::vector<Held> all;
      for (auto const& asked :
           judge_.askedOn(*pending.change.concern.unit, {requesters.begin(), requesters.end()})) {
         all.push_back({asked.requester, asked.request});
      }
      // What is left without being asked for may never go.
      return !all.empty()                               ? hold(pending, all, depth)
             : isQueuedOn(*pending.change.concern.unit) ? Step::waits
                                                        : Step::stuck;
   }
   case Row::portMap:
   case Row::place:
      pending.forFact = true;
      return Step::waits;
   case Row::label:
   case Row::noLookup:
   case Row::fields:
   case Row::kept:
   case Row::key:
   case Row::flood:
      break;
   }
   return Step::stuck;
}

// Takes requests back from the pipelines until the change is made.
Detours::Step Detours::hold(Pending& pending, std::vector<Held> const& all, int depth) {
   bool holds = false;
   for (Held const& each : all) {
      if (router_.held(each.requester, each.request)) {
         continue;
      }
      Effects effects;
      judge_.addRequest(effects, each.requester, each.request, TcamSharingPolicyId());
      if (isForgotten(each.request)) {
         judge_.addRequeued(effects, each.request);
      }
      if (auto objection = judge_.judge(effects)) {
         return clear(pending, *objection, depth + 1);
      }
      SharingPipeline const& pipeline = router_.pipelineOf(each.request.fapId());
      bool answered = isFinal(pipeline.mergedStatus->response(each.request)) ||
                      pending.tries.contains(each.request); // it was, before it was worked again
      pending.withdrawn.try_emplace(each.request, chronicle_.placeOf(pipeline, each.request));
      router_.heldIs(each.requester, each.request, true);
      if (isForgotten(each.request)) {
         work(each.request);
      }
      pending.held.insert(each);
      if (answered && !pipeline.merged->requestHas(each.request)) {
         interrupted_[each.request] = Orv::System::peekTime();
      }
      holds = true;
   }
   return holds ? waitForWithdrawn(pending) : Step::stuck;
}

// Prepares the withdrawal of a request that was answered without an entry of its own. A
// sub-interface without tags does not resolve, so its request is worked without them: it is in
// progress then, and nobody else is disturbed. Another one is worked while nobody has the entry,
// and gets it.
Detours::Step Detours::give(Pending& pending, TcamSharingRequest request,
                            std::optional<AradSemKeyAndFap> key, int depth) {
   IntfId intf = request.intfId();
   if (SubIntfId::isSubIntfId(intf) && world_.subIntfConfigDir->subIntfConfigHas(intf)) {
      for (RequestIndex const* index : {&judge_.isemIndex(), &judge_.mapperIndex()}) {
         for (TcamSharingRequest other : index->of(intf)) {
            if (other != request && isQueued(other)) {
               return Step::waits; // or it would be worked without tags, too
            }
         }
      }
      if (++pending.tries[request] > kTries) {
         return Step::stuck;
      }
      pending.aside = intf;
      world_.tagsAsideIs(intf, true);
      judge_.requestHeld(request); // it leads nowhere for a while
      addOnce(
          pending.retried,
          TcamSharingEntry(request, router_.pipelineOf(request.fapId()).merged->request(request)));
   } else if (key && isem_.table->configHas(*key)) {
      std::vector<Held> all;
      if (auto users = tags_.usersOf(*key)) {
         for (auto const& [user, present] : users->requestIter()) {
            auto asking = askersOf(user);
            all.insert(all.end(), asking.begin(), asking.end());
         }
      }
      return hold(pending, all, depth);
   } else if (++pending.tries[request] > kTries) {
      return Step::stuck;
   }
   work(request);
   pending.worked = request;
   return Step::waits;
}

Detours::Step Detours::waitForWithdrawn(Pending& pending) {
   std::vector<TcamSharingRequest> requests;
   for (auto const& [request, place] : pending.withdrawn) {
      requests.push_back(request);
   }
   return waitFor(pending, requests);
}

Detours::Step Detours::waitFor(Pending& pending, std::vector<TcamSharingRequest> const& requests) {
   pending.awaited = requests;
   bool unanswered = std::any_of(requests.begin(), requests.end(), [&](auto request) {
      return !awaitedAt(pending, request).empty();
   });
   if (!unanswered) {
      pending.deadline.reset();
   } else if (!pending.deadline) {
      pending.deadline = Orv::System::peekTime() + answerBound_;
   }
   return Step::waits;
}

// ---- What it looks up and does to requests

std::vector<Detours::Held> Detours::askersOf(TcamSharingRequest request) const {
   std::vector<Held> askers;
   SharingPipeline const& pipeline = router_.pipelineOf(request.fapId());
   for (Requester requester : requesters) {
      if (pipeline.sharing.config(requester)->requestHas(request)) {
         askers.push_back({requester, request});
      }
   }
   return askers;
}

bool Detours::isQueued(TcamSharingRequest request) const {
   return router_.pipelineOf(request.fapId()).codef->backlog(request);
}

bool Detours::isForgotten(TcamSharingRequest request) const {
   SharingPipeline const& pipeline = router_.pipelineOf(request.fapId());
   return !pipeline.merged->requestHas(request) && !pipeline.output(request).empty() &&
          !isQueued(request);
}

bool Detours::isQueuedOn(FapId unit) const {
   for (auto const& [request, queued] :
        router_.pipelineOf(unit).codef->backlogCollection().walk()) {
      if (request.fapId() == unit) {
         return true;
      }
   }
   return false;
}

bool Detours::isAtRest(Pending const& pending, TcamSharingRequest request) const {
   return !isQueued(request) && !isForgotten(request) && awaitedAt(pending, request).empty();
}

std::vector<AradSemKeyAndFap> Detours::awaitedAt(Pending const& pending,
                                                 TcamSharingRequest request) const {
   auto keys = judge_.isemIndex().unansweredAt(request);
   std::erase_if(keys, [&](AradSemKeyAndFap key) {
      auto asked = pending.asked.find(key);
      return asked != pending.asked.end() && asked->second > kAsks;
   });
   return keys;
}

void Detours::work(TcamSharingRequest request) {
   auto const& codef = router_.pipelineOf(request.fapId()).codef;
   moving_ = request;
   codef->backlogIs(request, true);
   moving_.reset();
   codef->clockNotifiee().timeMinIs(0.0);
}

void Detours::tagsBack(Pending& pending) {
   if (pending.aside) {
      world_.tagsAsideIs(*pending.aside, false);
      pending.aside.reset();
   }
}

} // namespace ShoalHost
