// What is true of one request, found out from the tables and the chip alone, to hold its
// explanation against.
#pragma once

#include "host/insight/Explanation.h"
#include "simulate/explanations/Leads.h"
#include "simulate/explanations/Sentences.h"
#include "simulate/explanations/TagTruth.h"
#include "simulate/explanations/Witness.h"
#include "simulate/Facts.h"

namespace Simulate {

class RequestTruth {
 public:
   RequestTruth(AgentHost const& host, Facts const& facts, VlanTagModel const& tags,
                Witness const& witness, Leads const& leads, TcamSharingRequest request);

   // What of the explanation is not true, or left out.
   std::vector<std::string> untruths(Explanation const& explanation) const;
   // Problems have nothing to list.
   bool sound() const;

 private:
   // One entry of the chip that the request leads to, or led to.
   struct Entry {
      std::string key;
      std::optional<uint64_t> configured;
      std::optional<uint64_t> held;
      uint64_t wanted = 0;
      std::vector<Seconds> due; // of answers on their way
      bool heldBack = false;
      bool isem = false;
      bool owned = false; // the request's own: without data it is an entry all the same
      FapId unit;
      std::vector<std::string> users;    // others that lead there or are recorded there
      std::vector<std::string> recorded; // of those
      std::string words(std::optional<uint64_t> data) const;
   };
   template<class T>
   Entry entry(ChipTable<T> const& chip, typename T::Config const& config, typename T::Key key,
               uint64_t wanted) const;
   Entry isemEntry(AradSemKeyAndFap key) const;
   Entry mapperEntry(VlanTagToVsiMapperKey key) const;
   Entry tunnelEntry() const;
   void findEntries();
   void findPending();
   bool isSentence(std::string const& sentence) const;
   bool isWhere(std::string const& sentence) const;
   // What stands at an entry that the request does not lead to.
   bool isLeft(std::string const& sentence) const;
   // "A, B uses"
   static bool isUse(std::string const& text, std::vector<std::string> const& users);
   bool asked() const;
   void findOverruled();
   // The pipeline does not have what the requester asks for.
   bool isHeld(Requester requester) const;
   bool isHeldBack(std::string const& sentence) const;
   // A change behind another one asks for it.
   bool waitsToAsk(Requester requester, std::string const& policy, std::string const& why) const;
   bool isWhyHeld(Requester requester, std::string const& why) const;
   bool isReason(std::string const& reason) const;
   bool isLack(std::string const& lack) const;
   bool isWaiting(std::string const& sentence) const;
   bool isAnswer(std::string const& sentence) const;
   bool isFailure(std::string const& why) const;
   bool isRemedy(std::string const& sentence) const;
   // What the remedy that writes has to wait for, as it is told.
   std::string waitOf(bool replays) const;
   // The places that a unit has left, and its entries that are configured and missing.
   std::optional<uint64_t> room(FapId unit) const;
   uint64_t missing(FapId unit) const;
   ChipTableKind kind() const;
   void addUsers(Entry& entry, std::vector<TcamSharingRequest> const& requests) const;
   Entry entryOf(PolicyKey const& key) const;
   static std::string inWords(uint64_t policy);
   // Its entries' answers are counted on, and none of them waits for one.
   bool countsInVain(std::string const& count) const;
   bool isFact(std::string const& label, std::string const& text) const;
   bool isEntryFact(std::string const& text) const;
   // What is told behind an entry, of that entry.
   bool isEntryEvent(std::string const& label, std::string const& text,
                     std::string const& key) const;
   // What is told of a shared entry whose tag has two meanings, by its printed key; or nothing.
   // The tag that an entry of this name matches; none: it is not a shared entry's.
   std::optional<VlanTagModel::Pair> tagAt(std::string const& key) const;
   std::string collisionAt(VlanTagModel::Pair const& tag) const;
   bool isCause(std::string const& why, std::string const& time) const;
   bool inHardware() const;
   bool findLack() const;
   Entry const* byKey(std::string const& key) const;
   // The policy's bits that no entry of the request carries.
   uint64_t beyond() const;

   AgentHost const& host_;
   Facts const& facts_;
   VlanTagModel const& tags_;
   Witness const& witness_;
   Leads const& at_;
   TcamSharingRequest request_;
   std::string name_; // as it is printed
   SharingPipeline const& pipeline_;
   bool isem_;
   uint64_t policy_;
   TcamSharingResponse response_;
   bool queued_;
   std::vector<TcamSharingEntry> retried_;
   std::vector<Entry> leads_;   // the entries that it leads to now
   std::vector<Entry> wanted_;  // the same, while a policy is requested
   std::vector<Entry> left_;    // entries that it led to earlier, which still record or carry it
   std::vector<Entry> pending_; // entries with an unanswered write or removal of its
   // The requesters that ask for what the merged policy does not have, as they are told.
   std::vector<std::string> overruled_;
   // What the merged policy keeps in fields that nobody asks for, as it is told; empty: nothing.
   std::string unasked_;
   bool lacks_ = true; // it cannot be programmed now
};

} // namespace Simulate
