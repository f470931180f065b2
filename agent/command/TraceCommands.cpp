// The trace channels.
#include "agent/command/Names.h"
#include "platform/Trace/Blipline.h"
#include "platform/Trace/Trace.h"

namespace Agent {

namespace {

template<void (*set)(unsigned, bool)>
void traceLevel(AgentHost&, Arguments& arguments, std::ostream&) {
   bool all = arguments.accept("all");
   uint64_t level = all ? 0 : arguments.parseNumber("LEVEL", 0, Trace::kLevels - 1);
   bool on = arguments.parseSwitch("on or off");
   arguments.end();
   for (unsigned each = 0; each < Trace::kLevels; ++each) {
      if (all || each == level) {
         set(each, on);
      }
   }
}

void traceFile(AgentHost& host, Arguments& arguments, std::ostream&) {
   std::string path = arguments.next("PATH");
   arguments.end();
   host.traceFile().pathIs(path);
}

void traceRing(AgentHost& host, Arguments& arguments, std::ostream&) {
   std::string path = arguments.next("PATH");
   uint64_t records = arguments.more() ? arguments.parseNumber("RECORDS", 1, 1U << 24) : 65536;
   arguments.end();
   if (host.traceFile().isOpen(path)) {
      throw CommandError("{} is the file of the text trace; give the ring another one", path);
   }
   try {
      Trace::Blipline::open(path, records);
   } catch (std::runtime_error const& error) {
      throw CommandError(error.what());
   }
}

} // namespace

std::span<Command const> traceCommands() {
   static constexpr Command table[] = {
       {"trace text", "LEVEL|all on|off", "levels of the text trace",
        traceLevel<Trace::textLevelIs>},
       {"trace blipline", "LEVEL|all on|off", "levels of the fast trace",
        traceLevel<Trace::blipLevelIs>},
       {"trace file", "PATH", "the text trace goes to a file", traceFile},
       {"trace ring", "PATH [RECORDS]", "the fast trace goes to a ring in a file", traceRing},
   };
   return table;
}

} // namespace Agent
