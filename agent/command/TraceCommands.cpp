// The trace channels.
#include "agent/command/Names.h"
#include "platform/Trace/Blipline.h"
#include "platform/Trace/Trace.h"

namespace Agent {

namespace {

void trace(Host& host, Arguments& arguments, std::ostream&) {
   std::string channel = arguments.next("text, blipline, file or ring");
   if (channel == "file") {
      std::string path = arguments.next("PATH");
      arguments.end();
      host.traceFile().pathIs(path);
   } else if (channel == "ring") {
      std::string path = arguments.next("PATH");
      uint64_t records = arguments.more() ? arguments.parseNumber("RECORDS", 1, 1U << 24) : 65536;
      arguments.end();
      if (host.traceFile().isOpen(path)) {
         throw CommandError(path + " is the file of the text trace; give the ring another one");
      }
      try {
         Trace::Blipline::open(path, records);
      } catch (std::runtime_error const& error) {
         throw CommandError(error.what());
      }
   } else if (channel == "text" || channel == "blipline") {
      bool all = arguments.accept("all");
      uint64_t level = all ? 0 : arguments.parseNumber("LEVEL", 0, Trace::kLevels - 1);
      bool on = arguments.parseSwitch("on or off");
      arguments.end();
      auto set = channel == "text" ? Trace::textLevelIs : Trace::blipLevelIs;
      for (uint64_t each = 0; each < Trace::kLevels; ++each) {
         if (all || each == level) {
            set(static_cast<unsigned>(each), on);
         }
      }
   } else {
      throw CommandError("trace has text, blipline, file and ring, not '" + channel + "'");
   }
}

} // namespace

void addTraceCommands(Registry& registry) {
   registry.add({"trace", "text|blipline LEVEL|all on|off | file PATH | ring PATH [RECORDS]",
                 "levels of the text trace and the fast trace, and where they go", false, trace});
}

} // namespace Agent
