// The promise that the chip holds what is configured once it has answered everything, with the
// rules that break it.
#pragma once

#include "agent/chip/ChipTable.h"
#include "agent/simulate/Findings.h"
#include "agent/simulate/Probes.h"

namespace Agent {

// `data(held)`: the part of what the chip holds that `config` has; `answered(key, data)`: the last
// answer was that of the present configuration.
template<class T, class V, class Data, class Answered>
void checkChip(Findings& findings, Probes& probes, ChipTable<T> const& chip,
               std::map<typename T::Key, V> const& config, Data data, Answered answered) {
   for (auto const& [key, held] : chip.entries()) {
      if (!config.contains(key)) {
         findings.add("the chip holds what is configured", key, " is not configured");
      }
   }
   for (auto const& [key, value] : config) {
      auto held = chip.held(key);
      auto last = chip.lastAnswer(key);
      if (held && data(*held) == value) {
         continue;
      }
      if (!last || last->outcome == Outcome::inProgress || chip.isHeldBack(key)) {
         probes.hit("rule: held back by the chip, or lost in its restart");
      } else if (last->outcome == Outcome::refused || last->outcome == Outcome::full) {
         probes.hit("rule: refused, and not retried");
      } else if (last->outcome == Outcome::removed || chip.isLost(key) || !answered(key, value)) {
         probes.hit("rule: the last write was not answered, or not carried out last");
      } else {
         findings.add("the chip holds what is configured", key, " should carry ", value);
      }
   }
}

} // namespace Agent
