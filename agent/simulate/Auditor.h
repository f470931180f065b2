// Follows an agent from its start and checks it at any time: keeps an account of what each machine
// of the library should have done, from the changes of the tables around them, by code that shares
// nothing with theirs.
//
// Made for a fresh agent. Its reactors have to hear of a change before the machines do, so it has
// every machine built again behind them.
#pragma once

#include "agent/host/Host.h"
#include "agent/simulate/DefaultLifShadow.h"
#include "agent/simulate/ExplanationCheck.h"
#include "agent/simulate/InLifShadow.h"
#include "agent/simulate/IntakeShadow.h"
#include "agent/simulate/PublishedShadow.h"
#include "agent/simulate/Watcher.h"

#include <functional>
#include <memory>

namespace Agent {

class Auditor : public Observer {
 public:
   // CommandError when something was asked for already.
   static Auditor& follow(Host& host);
   // The one that follows the agent. CommandError when none does.
   static Auditor& of(Host const& host);
   ~Auditor() override;

   // What is wrong now. `settled`: also what holds only while nothing is queued or unanswered.
   Findings check(bool settled) const;
   // What differs between this agent's tables and those of one that is started fresh on the same
   // world and requests, for all to which nothing but plain programming happened. Only while
   // nothing is queued or unanswered.
   Findings compareFresh() const;
   Probes const& probes() const { return probes_; }

   void handleGone(Machine machine, SharingPipeline* pipeline) override;
   void handleBuilt(Machine machine, SharingPipeline* pipeline) override;
   void handleFeaturesFresh() override { features_.handleFreshStart(); }
   bool stopsBy(std::string_view condition) const override {
      return probes_.stopsDue().contains(condition);
   }
   void handleUnexplained(std::string const& reason) override { unexplained_ = reason; }
   // How a rehearsal ended without a reason; empty: none did.
   std::string const& unexplained() const { return unexplained_; }

 private:
   explicit Auditor(Host& host);
   // One pipeline's account of merge, intake and answers.
   struct Side {
      Side(SharingPipeline& of, Facts const& facts, Probes& probes)
          : pipeline(of), intake(of, facts, answers, probes) {}
      SharingPipeline& pipeline;
      Answers answers;
      IntakeShadow intake;
      std::unique_ptr<Orv::ReactorBase> backlog; // goes with the intake that it watches
   };
   Side& sideOf(SharingPipeline* pipeline);
   void watchSide(Side& side);
   void watchBacklog(Side& side);
   void watchWorld();
   void watchFlag(IntfId subIntf);
   void watchFeatures();
   void watchDirectory(Orv::Name const& name);
   void watchMembers(IntfId lag);
   void checkRouter(Findings& findings) const;
   void compareMerged(Findings& findings, Side const& side, SharingPipeline const& fresh) const;
   bool comparable(Side const& side, TcamSharingRequest request) const;
   static void compareAnswer(Findings& findings, SharingPipeline const& here,
                             SharingPipeline const& fresh, TcamSharingRequest request);
   void compareIsem(Findings& findings, Host const& fresh) const;
   void compareMapper(Findings& findings, Host const& fresh) const;
   void comparePublished(Findings& findings, Host const& fresh) const;

   Host& host_;
   std::string unexplained_;
   mutable Probes probes_; // what a check leaves out is counted, too
   Facts facts_;
   Side isemSide_;
   Side inLifSide_;
   IsemShadow isem_;
   MapperShadow mapper_;
   TunnelShadow tunnel_;
   PublishedShadow published_;
   FeatureShadow features_;
   std::map<IntfId, std::unique_ptr<Orv::ReactorBase>> flags_;
   std::map<IntfId, std::unique_ptr<Orv::ReactorBase>> members_;
   std::map<Orv::Name, std::unique_ptr<Orv::ReactorBase>> directories_;
   Watchers watchers_;
   ExplanationCheck explanations_;
};

} // namespace Agent
