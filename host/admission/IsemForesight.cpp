#include "host/admission/IsemForesight.h"

#include "ShoalTunnel/TcamSharing/TcamSharingIsemPolicyId.h"

#include <algorithm>
#include <tuple>

namespace ShoalHost {

using namespace Hardware::ShoalTunnel;

IsemForesight::Request& IsemForesight::request(TcamSharingRequest of) {
   auto [found, fresh] = requests_.try_emplace(of);
   if (fresh) {
      Request& request = found->second;
      request.merged = pipeline_.merged->request(of);
      request.output = pipeline_.output(of);
      if (auto key = pipeline_.common->tcamRequestToIsemKeyMapping(of); key != AradSemKeyAndFap()) {
         request.mapped = key;
      }
      auto status = pipeline_.mergedStatus->response(of).status;
      request.answers = status == tcamSharingNone         ? none
                        : status == tcamSharingInProgress ? inProgress
                                                          : final;
      request.place = index_.placeInQueue(of);
   }
   return found->second;
}

IsemForesight::Entry& IsemForesight::entry(AradSemKeyAndFap key) {
   auto [found, fresh] = entries_.try_emplace(key);
   if (fresh) {
      Entry& entry = found->second;
      entry.payload = pipeline_.table->configCollection().find(key);
      if (auto users = tags_.usersOf(key)) {
         for (auto const& [user, present] : users->requestIter()) {
            entry.users.insert(user);
         }
      }
      for (bool isInsert : {false, true}) {
         auto write = pipeline_.common->pendingSemWrite({key, isInsert});
         for (std::size_t i = 0; write && i < write->pendingSharingEntrys(); ++i) {
            entry.pending[isInsert].push_back(write->pendingSharingEntryQueue()[i].request());
         }
      }
      auto expected = seam_.isem().expected(key);
      for (ExpectedAnswer const& answer : expected.value_or(std::vector<ExpectedAnswer>{})) {
         ++entry.answersOut[answer.write.data.has_value()];
      }
      if (!expected) {
         // Not known: each may still come.
         entry.answersOut = {entry.pending[0].size(), entry.pending[1].size()};
      }
   }
   return found->second;
}

void IsemForesight::gatherRequest(TcamSharingRequest of) {
   if (requests_.contains(of)) {
      return;
   }
   Request const& known = request(of);
   for (AradSemKeyAndFap key : index_.unansweredAt(of)) {
      entry(key);
   }
   // Also the entry that it would have come to without the change: who was to be answered by its
   // write may now move off another one.
   for (auto const& key : {known.mapped, facts_.sharedKey(of), index_.keyOf(of)}) {
      if (key && gathered_.insert(*key).second) {
         entriesToGather_.push_back(*key);
      }
   }
}

void IsemForesight::gatherEntry(AradSemKeyAndFap key) {
   for (TcamSharingRequest user : entry(key).users) {
      if (index_.isPending(user)) {
         gatherRequest(user);
      }
   }
   for (TcamSharingRequest other : index_.leadingTo(key)) {
      if (index_.isPending(other)) {
         gatherRequest(other);
      }
   }
}

void IsemForesight::gather(Effect const& effect) {
   for (TcamSharingRequest of : effect.affected) {
      if (index_.isPending(of)) {
         gatherRequest(of);
      }
   }
   for (auto const* list : {&effect.takenOut, &effect.requeued}) {
      for (TcamSharingRequest of : *list) {
         gatherRequest(of);
      }
   }
   for (auto const& [of, policy] : effect.merged) {
      gatherRequest(of);
   }
   if (effect.programsAll || effect.restartsIntake) {
      for (auto const* table : {&pipeline_.outputTable, &pipeline_.merged}) {
         for (auto const& [of, policy] : (*table)->requestIter()) {
            gatherRequest(of);
         }
      }
   }
   while (!entriesToGather_.empty()) {
      AradSemKeyAndFap key = entriesToGather_.back();
      entriesToGather_.pop_back();
      gatherEntry(key);
   }
}

// It forgets its queue and the responses, and queues what is wanted and not in the output.
void IsemForesight::restartIntake() {
   for (auto& [of, known] : requests_) {
      known.answers = none;
      known.place.reset();
   }
   uint64_t last = 0;
   for (auto const& [of, policy] : pipeline_.merged->requestIter()) {
      if (request(of).output != policy) {
         request(of).place = ++last;
      }
   }
}

IsemForesight::Verdict IsemForesight::judge(Effect const& effect) {
   gather(effect);
   if (effect.restartsIntake) {
      restartIntake();
   }
   if (effect.programsAll) {
      for (auto const& [of, policy] : pipeline_.outputTable->requestIter()) {
         // With what it was handed, whatever is wanted by now.
         TcamSharingPolicyId wanted = std::exchange(request(of).merged, policy);
         program(of);
         request(of).merged = wanted;
      }
   }
   for (TcamSharingRequest of : effect.takenOut) {
      if (!request(of).output.empty()) {
         request(of).output = TcamSharingPolicyId();
         remove(of);
      }
   }
   constexpr uint64_t behindTheQueue = uint64_t{1} << 63;
   uint64_t last = behindTheQueue;
   // A slice begins at the bookmark. What stands ahead of it comes behind all that follows it, also
   // what is queued now.
   TcamSharingRequest const bookmark = pipeline_.codef->bookmark();
   auto begin = effect.restartsIntake ? std::nullopt : index_.placeInQueue(bookmark);
   auto queue = [&](TcamSharingRequest of) {
      request(of).place = ++last;
      begin = of == bookmark ? std::optional(last) : begin;
   };
   for (auto const& [of, policy] : effect.merged) {
      Request& changed = request(of);
      changed.merged = policy;
      if (policy != changed.output && !changed.place) {
         queue(of);
      }
   }
   for (TcamSharingRequest of : effect.requeued) {
      if (!request(of).place) {
         queue(of);
      }
   }
   auto beginOfRetries = index_.placeInRetries(bookmark);
   enum Round { first, wrapped, retries, wrappedRetries };
   std::vector<std::tuple<Round, uint64_t, TcamSharingRequest>> works;
   for (auto const& [of, known] : requests_) {
      if (known.place) {
         works.emplace_back(begin && *known.place < *begin ? wrapped : first, *known.place, of);
      } else if (auto place = index_.placeInRetries(of); place && !known.merged.empty()) {
         works.emplace_back(beginOfRetries && *place < *beginOfRetries ? wrappedRetries : retries,
                            *place, of);
      }
   }
   std::sort(works.begin(), works.end());
   for (auto const& [round, place, of] : works) {
      work(of);
   }
   return verdict_;
}

void IsemForesight::work(TcamSharingRequest of) {
   Request& worked = request(of);
   bool wasThere = !worked.output.empty();
   worked.output = worked.merged;
   if (!worked.merged.empty()) {
      program(of);
   } else if (wasThere) {
      remove(of);
   } else {
      worked.answers = none;
   }
}

unsigned IsemForesight::possibleAnswers(TcamSharingRequest of) {
   unsigned answers = request(of).answers;
   for (auto const& [key, entry] : entries_) {
      for (std::size_t kind : {0U, 1U}) {
         auto const& queue = entry.pending[kind];
         std::size_t reached = std::min(queue.size(), entry.answersOut[kind]);
         if (std::find(queue.begin(), queue.begin() + static_cast<std::ptrdiff_t>(reached), of) !=
             queue.begin() + static_cast<std::ptrdiff_t>(reached)) {
            answers |= kind == 0 ? none : final;
         }
      }
   }
   return answers;
}

void IsemForesight::remove(TcamSharingRequest of) {
   Request& removed = request(of);
   unsigned answers = possibleAnswers(of);
   if (!removed.mapped) {
      if ((answers & final) != 0) {
         fail(Break::unmapped, answers != final, of, facts_.sharedKey(of));
      }
      removed.answers = answers & inProgress ? none : answers;
      return;
   }
   AradSemKeyAndFap key = *removed.mapped;
   Entry& left = entry(key);
   if ((answers & inProgress) != 0) {
      removed.answers = none;
   }
   if (left.payload) {
      left.pending[0].push_back(of);
      ++left.answersOut[0];
      left.payload.reset();
   } else {
      removed.answers = none;
   }
   left.users.erase(of);
   removed.mapped.reset();
}

void IsemForesight::program(TcamSharingRequest of) {
   Request& programmed = request(of);
   if (!facts_.resolves(of)) {
      programmed.answers = inProgress;
      return;
   }
   auto key = facts_.sharedKey(of);
   if (!key) {
      return; // two tags
   }
   AradSemPayload payload = AradSemPayload::basic(
       TcamSharingIsemPolicyId(programmed.merged).makeISemPayloadValue(nullptr, of.fapId()));
   if (entry(*key).payload == payload) {
      programmed.answers = final;
      return;
   }
   if (programmed.mapped && programmed.mapped != key) {
      Entry& left = entry(*programmed.mapped);
      left.users.erase(of);
      if (!left.users.empty()) {
         fail(Break::moved, false, of, programmed.mapped);
      }
      left.payload.reset();
   }
   Entry& led = entry(*key);
   led.pending[1].push_back(of);
   ++led.answersOut[1];
   led.users.insert(of);
   led.payload = payload;
   programmed.mapped = key;
}

void IsemForesight::fail(Break what, bool open, TcamSharingRequest of,
                         std::optional<AradSemKeyAndFap> key) {
   // What is certain goes before what depends on an answer.
   if (verdict_.what == Break::none || (verdict_.open && !open)) {
      verdict_ = {what, open, of, key, {}};
      if (key) {
         for (TcamSharingRequest user : entry(*key).users) {
            if (user != of) {
               verdict_.users.push_back(user);
            }
         }
      }
   }
}

} // namespace ShoalHost
