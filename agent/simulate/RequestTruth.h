// What is true of one request, found out from the tables and the chip alone, to hold its
// explanation against.
#pragma once

#include "agent/command/Explanation.h"
#include "agent/simulate/Facts.h"
#include "agent/simulate/Sentences.h"
#include "agent/simulate/Witness.h"

namespace Agent {

class RequestTruth {
 public:
   RequestTruth(Host const& host, Facts const& facts, Witness const& witness,
                TcamSharingRequest request);

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
   };
   template<class T>
   Entry entry(ChipTable<T> const& chip, typename T::Config const& config, typename T::Key key,
               uint64_t wanted) const;
   Entry isemEntry(AradSemKeyAndFap key) const;
   Entry mapperEntry(VlanTagToVsiMapperKey key) const;
   void findEntries();
   bool isSentence(std::string const& sentence) const;
   bool isWhere(std::string const& sentence) const;
   bool isReason(std::string const& reason) const;
   bool isLack(std::string const& lack) const;
   bool isWaiting(std::string const& sentence) const;
   bool isAnswer(std::string const& sentence) const;
   bool isFailure(std::string const& why) const;
   bool isRemedy(std::string const& sentence) const;
   bool isFact(std::string const& label, std::string const& text) const;
   bool isEntryFact(std::string const& text) const;
   // What is told behind an entry, of that entry.
   bool isEntryEvent(std::string const& label, std::string const& text,
                     std::string const& key) const;
   bool isCause(std::string const& why, std::string const& time) const;
   bool inHardware() const;
   bool lacks() const;
   Entry const* byKey(std::string const& key) const;
   // The policy's bits that no entry of the request carries.
   uint64_t beyond() const;

   Host const& host_;
   Facts const& facts_;
   Witness const& witness_;
   TcamSharingRequest request_;
   SharingPipeline const& pipeline_;
   bool isem_;
   uint64_t policy_;
   TcamSharingResponse response_;
   bool queued_;
   std::vector<TcamSharingEntry> retried_;
   std::vector<Entry> wanted_; // it leads there now
   std::vector<Entry> left_;   // it led there, and is still known there
};

} // namespace Agent
