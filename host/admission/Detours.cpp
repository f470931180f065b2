#include "host/admission/Detours.h"

#include "host/admission/Lists.h"
#include "host/names/Names.h"

#include <algorithm>

namespace ShoalHost {

using namespace Hardware::ShoalTunnel;

Detours::Detours(World& world, IsemPipeline const& isem, MapperPipeline const& mapper,
                 SharingRouter& router, VlanTags const& tags, Chronicle const& chronicle,
                 Judge& judge, ChipSeam& seam, Orv::Timers& timers)
    : world_(world), isem_(isem), mapper_(mapper), router_(router), tags_(tags),
      chronicle_(chronicle), judge_(judge), seam_(seam), now_(this, timers), later_(this, timers),
      orvIsemBacklog_(this), orvMapperBacklog_(this), orvAnswer_(this), orvIsemResponse_(this),
      orvMapperResponse_(this) {
   intakesRebuilt();
   isem_.tableStatus->statusCollection().watch(orvAnswer_);
   isem_.mergedStatus->responseCollection().watch(orvIsemResponse_);
   mapper_.mergedStatus->responseCollection().watch(orvMapperResponse_);
}

void Detours::intakesRebuilt() {
   if (!orvIsemBacklog_.registered()) {
      isem_.codef->backlogCollection().watch(orvIsemBacklog_);
   }
   if (!orvMapperBacklog_.registered()) {
      mapper_.codef->backlogCollection().watch(orvMapperBacklog_);
   }
   for (Pending const& pending : pending_) {
      for (auto const& [request, place] : pending.withdrawn) {
         if (isForgotten(request)) {
            work(request);
         }
      }
   }
   poke();
}

// ---- Which change goes first

bool Detours::isOn(Concern const& concern, FapId unit) const {
   auto hasUnit = [&](IntfId intf) {
      auto units = world_.unitsOf(intf);
      return std::find(units.begin(), units.end(), unit) != units.end();
   };
   return concern.unit == unit ||
          std::any_of(concern.requests.begin(), concern.requests.end(),
                      [&](auto request) { return request.fapId() == unit; }) ||
          std::any_of(concern.interfaces.begin(), concern.interfaces.end(), hasUnit);
}

bool Detours::meet(Change const& change, Pending const& b) const {
   Concern const& a = change.concern;
   Concern const& other = b.change.concern;
   auto of = [](Concern const& concern) {
      auto interfaces = concern.interfaces;
      for (TcamSharingRequest request : concern.requests) {
         interfaces.push_back(request.intfId());
      }
      return interfaces;
   };
   auto theirs = of(other);
   for (auto const& [request, place] : b.withdrawn) {
      theirs.push_back(request.intfId());
   }
   for (IntfId intf : of(a)) {
      if (contains(theirs, intf)) {
         return true;
      }
   }
   auto keys = keysOf(change);
   bool sharesEntry = std::any_of(keys.begin(), keys.end(),
                                  [&](AradSemKeyAndFap key) { return contains(b.keys, key); });
   return sharesEntry || (a.portMap && other.portMap) || (a.unit && isOn(other, *a.unit)) ||
          (other.unit && isOn(a, *other.unit)) ||
          (a.unit && std::any_of(b.withdrawn.begin(), b.withdrawn.end(),
                                 [&](auto const& each) { return each.first.fapId() == *a.unit; }));
}

std::vector<AradSemKeyAndFap> Detours::keysOf(Change const& change) const {
   std::vector<AradSemKeyAndFap> keys;
   auto addTo = [&](WorldFacts const& facts, std::vector<TcamSharingRequest> const& requests) {
      for (TcamSharingRequest request : requests) {
         if (auto key = facts.sharedKey(request)) {
            addOnce(keys, *key);
         }
      }
   };
   WorldFacts const present(world_, {});
   addTo(present, change.concern.requests);
   for (IntfId intf : change.concern.interfaces) {
      auto const& requests = judge_.isemIndex().of(intf);
      addTo(present, requests);
      if (change.fact) {
         addTo(WorldFacts(world_, change.fact()), requests);
      }
   }
   return keys;
}

Detours::Pending const* Detours::ahead(Change const& change, std::size_t count) const {
   auto end = pending_.begin() + static_cast<std::ptrdiff_t>(count);
   auto found = std::find_if(pending_.begin(), end,
                             [&](Pending const& before) { return meet(change, before); });
   return found == end ? nullptr : &*found;
}

bool Detours::replaces(Change& change) {
   auto last = std::find_if(pending_.rbegin(), pending_.rend(),
                            [&](Pending const& pending) { return meet(change, pending); });
   if (last == pending_.rend() || last->change.kind != change.kind ||
       last->change.concern != change.concern || !last->held.empty() || last->worked) {
      return false;
   }
   last->what = change.what();
   last->change = std::move(change);
   return true;
}

void Detours::madeUnjudged(Change const& change) {
   for (;;) {
      auto idle = std::find_if(pending_.begin(), pending_.end(), [&](Pending const& pending) {
         return pending.change.kind == change.kind && pending.change.concern == change.concern;
      });
      if (idle == pending_.end()) {
         break;
      }
      Pending ended = std::move(*idle);
      pending_.erase(idle);
      note(formatted("{} is not made: another one was", ended.what));
      finish(std::move(ended));
   }
   if (change.concern.unit) {
      tryHeld(*change.concern.unit);
   }
   poke();
}

void Detours::carryOut(Change change, Setting setting) {
   if (setting == Setting::off) {
      change.make();
      madeUnjudged(change);
      return;
   }
   Pending const* behind = ahead(change, pending_.size());
   std::optional<Objection> objection;
   if (behind == nullptr) {
      objection = change.judge();
      if (!objection) {
         change.make();
         if (change.concern.unit) {
            tryHeld(*change.concern.unit);
         }
         changed();
         return;
      }
      if (setting == Setting::refuse || change.firm) {
         throw ChangeRefused(*objection);
      }
   } else if (setting == Setting::refuse || change.firm) {
      throw HostError("a change that it touches is still on its way: {}; {}", behind->what,
                      behind->forFact
                          ? formatted("it waits for a change of the world ({})", behind->why)
                          : "settle first");
   }
   if (behind != nullptr && replaces(change)) {
      return;
   }
   Pending pending;
   pending.what = change.what();
   pending.since = Orv::System::peekTime();
   pending.change = std::move(change);
   if (behind != nullptr) {
      pending.why = "an earlier change is on its way";
   } else if (clear(pending, *objection, 0) == Step::stuck) {
      finish(std::move(pending));
      throw ChangeRefused(*objection);
   }
   note(formatted("{} is on its way: {}", pending.what, pending.why));
   for (TcamSharingRequest request : pending.change.concern.requests) {
      judge_.requestHeld(request);
   }
   pending_.push_back(std::move(pending));
   poke();
}

// ---- The steps of one change

void Detours::poke() {
   if (!pending_.empty() || tryStuck_) {
      now_.timeMinIs(0.0);
   }
}

void Detours::changed() {
   tryStuck_ = !stuck_.empty();
   poke();
}

void Detours::run() {
   for (std::size_t place = 0; place < pending_.size();) {
      if (ahead(pending_[place].change, place) != nullptr) {
         ++place;
         continue;
      }
      Step next = Step::again;
      while (next == Step::again) {
         next = step(pending_[place]);
      }
      if (next == Step::waits) {
         ++place;
         continue;
      }
      Pending ended = std::move(pending_[place]);
      pending_.erase(pending_.begin() + static_cast<std::ptrdiff_t>(place));
      finish(std::move(ended));
      tryStuck_ = !stuck_.empty();
   }
   askAgain();
   if (std::exchange(tryStuck_, false)) {
      tryStuck();
   }
}

void Detours::askAgain() {
   std::optional<Seconds> next;
   Seconds now = Orv::System::peekTime();
   for (Pending& pending : pending_) {
      if (pending.deadline && *pending.deadline <= now) {
         std::vector<AradSemKeyAndFap> keys;
         for (TcamSharingRequest request : pending.awaited) {
            for (AradSemKeyAndFap key : awaitedAt(pending, request)) {
               addOnce(keys, key);
            }
         }
         for (AradSemKeyAndFap key : keys) {
            if (++pending.asked[key] > kAsks) {
               note(formatted("the chip does not answer about {}; it is not waited for any more",
                              formatKey(key)));
               poke();
            } else {
               note(formatted("the chip is asked again about {}", formatKey(key)));
               seam_.askAgain(key);
            }
         }
         pending.deadline = now + answerBound_;
      }
      if (pending.deadline) {
         next = std::min(next.value_or(*pending.deadline), *pending.deadline);
      }
   }
   if (next) {
      later_.timeMinIs(*next);
   }
}

void Detours::finish(Pending pending) {
   tagsBack(pending);
   for (TcamSharingEntry const& entry : pending.retried) {
      // What was taken out must not come back by a retry that this here brought about.
      if (isem_.output(entry.request()).empty()) {
         moving_ = entry.request();
         isem_.commonBase->retryListDel(entry);
         moving_.reset();
      }
   }
   std::vector<Held> held(pending.held.begin(), pending.held.end());
   std::stable_sort(held.begin(), held.end(), [&](auto const& a, auto const& b) {
      return pending.withdrawn.at(a.request) < pending.withdrawn.at(b.request);
   });
   for (Held const& each : held) {
      release(each);
   }
   if (pending.change.concern.unit) {
      tryHeld(*pending.change.concern.unit);
   }
}

// Hands over again what the requester asks for by now.
void Detours::release(Held const& held) {
   TcamSharingRequest request = held.request;
   auto const& config = router_.tables().config(held.requester);
   Change change;
   change.what = [=] {
      return formatted("the request of {} for {}", requesterName(held.requester),
                       formatRequest(request));
   };
   change.kind = requesterName(held.requester);
   change.concern.requests = {request};
   change.judge = [=, this] { return judgeHeld(held); };
   change.make = [=, this] { router_.heldIs(held.requester, request, false); };
   std::string const what = change.what();
   auto before = refused_.extract(held);
   stuck_.erase(held);
   std::string const told = before ? before.mapped() : "";
   auto refuse = [=, this](Objection const& objection) {
      refused_[held] = objection.why;
      if (objection.row == Row::moved || objection.row == Row::unmapped) {
         stuck_.insert(held);
      }
      if (objection.why != told) {
         note(formatted("{} is held back: {}", what, objection.why));
      }
   };
   change.refused = refuse;
   if (config->request(request).empty()) {
      interrupted_.erase(request); // it does not come back
   }
   try {
      carryOut(std::move(change), Setting::detour);
   } catch (ChangeRefused const& refused) {
      refuse(refused.objection());
   }
}

std::optional<Objection> Detours::judgeHeld(Held const& held) const {
   TcamSharingPolicyId policy = router_.tables().config(held.requester)->request(held.request);
   if (policy.empty()) {
      return std::nullopt;
   }
   if (auto objection = judge_.judgePolicy(held.requester, held.request, policy)) {
      return objection;
   }
   Effects effects;
   judge_.addRequest(effects, held.requester, held.request, policy);
   return judge_.judge(effects);
}

void Detours::tryStuck() {
   std::vector<Held> free;
   for (Held const& held : stuck_) {
      if (auto objection = judgeHeld(held)) {
         refused_[held] = objection->why;
      } else {
         free.push_back(held);
      }
   }
   for (Held const& held : free) {
      release(held);
   }
}

void Detours::heldRequestIs(Requester requester, TcamSharingRequest request) {
   Held const held{requester, request};
   if (refused_.contains(held)) {
      release(held);
   } // else a change on its way hands it over
}

void Detours::wishIs(Requester requester, TcamSharingRequest request, TcamSharingPolicyId policy,
                     std::string why, std::function<void()> make) {
   wishes_[{requester, request}] = {policy, std::move(why), std::move(make)};
   judge_.requestHeld(request);
}

void Detours::tryHeld(FapId unit) {
   std::vector<Held> all;
   for (auto const& [held, why] : refused_) {
      if (held.request.fapId() == unit) {
         all.push_back(held);
      }
   }
   for (Held const& held : all) {
      release(held);
   }
   auto wishes = wishes_;
   for (auto const& [held, wish] : wishes) {
      if (held.request.fapId() == unit) {
         wishes_.erase(held);
         try {
            wish.make();
         } catch (HostError const&) {
            wishes_.insert({held, wish});
         }
      }
   }
}

// ---- What is told

void Detours::note(std::string text) {
   ++count_;
   notes_.push_back({Orv::System::peekTime(), std::move(text)});
   if (notes_.size() > kNotes) {
      notes_.pop_front();
   }
}

void Detours::handleResponse(TcamSharingRequest const& request) {
   if (interrupted_.empty()) {
      return;
   }
   auto found = interrupted_.find(request);
   SharingPipeline const& pipeline = router_.pipelineOf(request.fapId());
   TcamSharingResponse response = pipeline.mergedStatus->response(request);
   if (found != interrupted_.end() && pipeline.merged->requestHas(request) && isFinal(response)) {
      note(formatted("{} was answered {} {} s after its withdrawal", formatRequest(request),
                     formatStatus(response.status),
                     formatSeconds(Orv::System::peekTime() - found->second)));
      interrupted_.erase(found);
   }
}

std::vector<Detours::Waiting> Detours::waiting() const {
   std::vector<Waiting> all;
   for (Pending const& each : pending_) {
      all.push_back({each.what, each.why, each.since, each.forFact, each.change.asks,
                     each.change.concern.requests});
   }
   return all;
}

bool Detours::busy() const {
   if (now_.waiting()) {
      return true;
   }
   for (std::size_t place = 0; place < pending_.size(); ++place) {
      Pending const& each = pending_[place];
      if (!each.forFact && ahead(each.change, place) == nullptr) {
         return true;
      }
   }
   return false;
}

std::vector<Detours::HeldBack> Detours::heldBack(Requester requester,
                                                 TcamSharingRequest request) const {
   std::vector<HeldBack> found;
   Held const held{requester, request};
   TcamSharingPolicyId asks = router_.tables().config(requester)->request(request);
   if (router_.held(requester, request) && !asks.empty()) {
      found.push_back({requester, request, asks, "it is handed over again"});
      if (auto refused = refused_.find(held); refused != refused_.end()) {
         found.back().why = refused->second;
      }
      for (Pending const& each : pending_) {
         if (each.held.contains(held)) {
            found.back().why = each.what + " is on its way";
         }
      }
   }
   if (auto wish = wishes_.find(held); wish != wishes_.end()) {
      found.push_back({requester, request, wish->second.policy, wish->second.why});
   }
   auto last = std::find_if(pending_.rbegin(), pending_.rend(), [&](Pending const& each) {
      return each.change.asks && each.change.asks->first == requester &&
             contains(each.change.concern.requests, request);
   });
   if (last != pending_.rend() && !last->change.asks->second.empty()) {
      found.push_back({requester, request, last->change.asks->second, last->why});
   }
   return found;
}

std::vector<Detours::HeldBack> Detours::heldBack() const {
   std::set<Held> all;
   for (auto const& [held, why] : refused_) {
      all.insert(held);
   }
   for (auto const& [held, wish] : wishes_) {
      all.insert(held);
   }
   for (Pending const& each : pending_) {
      all.insert(each.held.begin(), each.held.end());
      for (TcamSharingRequest request : each.change.concern.requests) {
         for (Requester requester : requesters) {
            all.insert({requester, request});
         }
      }
   }
   std::vector<HeldBack> found;
   for (Held const& held : all) {
      auto each = heldBack(held.requester, held.request);
      found.insert(found.end(), each.begin(), each.end());
   }
   return found;
}

} // namespace ShoalHost
