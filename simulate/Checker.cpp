#include "simulate/Checker.h"

namespace Simulate {

Checker::Checker(AgentHost& host)
    : model_(host.world()), recorder_(host, model_), comparison_(host, model_),
      explanations_(host, model_) {}

Checker& Checker::follow(AgentHost& host) {
   auto* checker = new Checker(host);
   host.observerIs(std::unique_ptr<Observer>(checker));
   for (std::size_t i = 0; i < machineNames.size(); ++i) {
      host.rebuild(static_cast<Machine>(i));
   }
   return *checker;
}

void Checker::handleGone(Machine machine, SharingPipeline* pipeline) {
   explanations_.handleRebuild();
   recorder_.machineGone(machine, pipeline);
}

void Checker::handleBuilt(Machine machine, SharingPipeline* pipeline) {
   recorder_.machineBuilt(machine, pipeline);
   if (machine == Machine::intake) {
      comparison_.intakeBuilt(*pipeline);
      explanations_.intakeBuilt(*pipeline);
   }
}

Findings Checker::checkTables() {
   model_.update();
   Findings findings;
   comparison_.compare(findings, Extent::small);
   return findings;
}

Findings Checker::check(Extent extent) {
   model_.update();
   Findings findings;
   comparison_.compare(findings, extent);
   explanations_.check(findings, extent);
   return findings;
}

} // namespace Simulate
