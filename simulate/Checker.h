// Follows an agent from its start, and checks it after each command: every table against the
// model, every explanation against the tables.
#pragma once

#include "simulate/Comparison.h"
#include "simulate/explanations/ExplanationCheck.h"
#include "simulate/Recorder.h"

namespace Simulate {

class Checker : public Observer {
 public:
   // Goes with the agent, which was asked for nothing yet.
   static Checker& follow(AgentHost& host);

   // What is wrong now.
   Findings check(Extent extent);
   // The same, of the tables alone, all of them.
   Findings checkTables();

   void handleGone(Machine machine, SharingPipeline* pipeline) override;
   void handleBuilt(Machine machine, SharingPipeline* pipeline) override;
   void handleFeaturesFresh() override { model_.features.allRestart(); }
   bool stopsBy(std::string_view condition) const override {
      return model_.context.failuresDue.contains(condition);
   }

 private:
   explicit Checker(AgentHost& host);

   Model model_;
   Recorder recorder_;
   Comparison comparison_;
   ExplanationCheck explanations_;
};

} // namespace Simulate
