// What the machines of shared, mapper and tunnel entries promise alike, with the rules that break
// it: the chip holds what is configured, and what cannot be resolved is retried.
#pragma once

#include "agent/chip/ChipTable.h"
#include "agent/simulate/IsemShadow.h"

namespace Agent {

// `data(held)`: the part of what the chip holds that `config` has.
template<class T, class V, class Data>
void checkChip(Findings& findings, Probes& probes, ChipTable<T> const& chip,
               std::map<typename T::Key, V> const& config, Data data) {
   for (auto const& [key, held] : chip.entries()) {
      if (!config.contains(key)) {
         findings.add("the chip holds what is configured", key, " is not configured");
      }
   }
   for (auto const& [key, value] : config) {
      auto held = chip.held(key);
      auto outcome = chip.lastOutcome(key);
      if (held && data(*held) == value) {
         continue;
      }
      if (!outcome) {
         probes.hit("rule: lost in the chip's restart");
      } else if (*outcome == Outcome::refused || *outcome == Outcome::full) {
         probes.hit("rule: refused, and not retried");
      } else {
         findings.add("the chip holds what is configured", key, " should carry ", value);
      }
   }
}

// `waiting`: requests that were handed over last when something was missing.
inline void checkRetried(Findings& findings, Probes& probes, SharingPipeline const& pipeline,
                         Answers const& answers, std::set<TcamSharingRequest> const& waiting) {
   for (TcamSharingRequest request : waiting) {
      if (answers.retries.contains({request, pipeline.output(request)}) ||
          !pipeline.merged->requestHas(request)) {
         continue;
      }
      if (answers.unqueued.contains(request)) {
         probes.hit("rule: a retry forgotten when the intake restarted");
      } else {
         findings.add("what cannot be resolved is retried", request, " is not");
      }
   }
}

} // namespace Agent
