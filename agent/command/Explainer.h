// Gathers what is known of one request, then judges it: what all requests have in common here, what
// stands in their hardware tables in a class per generation.
#pragma once

#include "agent/command/Explanation.h"

namespace Agent {

class Explainer {
 public:
   Explainer(Host const& host, TcamSharingRequest request);
   virtual ~Explainer();
   Explanation explain();

 protected:
   // The facts of the hardware tables; sets what is below.
   virtual void addHardware() = 0;
   // A refusal in words.
   virtual std::string refusal() const = 0;

   void fact(std::string label, std::string text) {
      found_.facts.emplace_back(std::move(label), std::move(text));
   }
   // What the chip said last of a key, when it did.
   template<class T>
   void addLastAnswer(ChipTable<T> const& table, typename T::Key key) {
      if (auto last = table.lastAnswer(key)) {
         lastOutcome_ = last->outcome;
         fact("last answer",
              std::string(outcomeName(last->outcome)) + " at " + printedSeconds(last->at) + " s");
      }
      for (auto const& answer : table.unanswered()) {
         if (answer.key == key) {
            answerDue_ = answerDue_ ? std::max(*answerDue_, answer.due) : answer.due;
            fact("answer due", "at " + printedSeconds(answer.due) + " s");
         }
      }
      heldBack_ = heldBack_ || table.isHeldBack(key);
   }

   Host const& host_;
   SharingPipeline const& pipeline_;
   TcamSharingRequest request_;
   TcamSharingPolicyId merged_;
   TcamSharingPolicyId output_;
   TcamSharingResponse response_;
   RequestTimes times_;
   Resolution resolution_;

   bool holds_ = false;          // the chip holds the merged policy wherever it should
   bool nothingToCarry_ = false; // the policy leaves no trace in hardware
   bool heldBack_ = false;       // an answer of the keys' is held back
   bool written_ = false;        // a write of the request's waits for its answer
   std::optional<Outcome> lastOutcome_;
   std::optional<Seconds> answerDue_; // of the keys' last answer on its way

 private:
   void addAsked();
   void addProgress();
   std::string verdict() const;
   std::string hardwareVerdict() const;

   Explanation found_;
};

class IsemExplainer : public Explainer {
 public:
   IsemExplainer(Host const& host, TcamSharingRequest request);

 private:
   void addHardware() override;
   std::string refusal() const override;
   void addPending();
   void addSharers();

   AradSemKeyAndFap mapping_;
   AradSemKeyAndFap key_; // programmed, else resolved, else none
};

class InLifExplainer : public Explainer {
 public:
   using Explainer::Explainer;

 private:
   void addHardware() override;
   std::string refusal() const override;
   void addMapper();
   void addTunnel();
};

} // namespace Agent
