// The text traces of an action, all levels, without their times.
#pragma once

#include "platform/Trace/Trace.h"

#include <sstream>
#include <string>

namespace Trace {

template<class Action>
std::string traced(Action&& action) {
   std::ostringstream text;
   textSinkIs(&text);
   for (unsigned level = 0; level < kLevels; ++level) {
      textLevelIs(level, true);
   }
   action();
   for (unsigned level = 0; level < kLevels; ++level) {
      textLevelIs(level, false);
   }
   textSinkIs(nullptr);
   std::istringstream lines(text.str());
   std::string all;
   for (std::string line; std::getline(lines, line);) {
      all += line.substr(line.find(' ') + 1) + "\n";
   }
   return all;
}

} // namespace Trace
