// The promise that the chip holds what is configured, with the rules that break it.
#pragma once

#include "agent/chip/ChipTable.h"
#include "agent/simulate/Findings.h"
#include "agent/simulate/Probes.h"

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

} // namespace Agent
