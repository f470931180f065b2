#include "host/insight/OtherProblems.h"

#include "host/insight/ChipReason.h"
#include "host/insight/TagCollision.h"
#include "host/names/Names.h"
#include "host/text/Text.h"

#include <cctype>

namespace ShoalHost {

using namespace Hardware::ShoalTunnel;

namespace {

template<class T>
void addLackingWords(std::vector<Problem>& found, SeamTable<T> const& table) {
   table.forEachDoubtful([&](typename T::Key key) {
      EntryMemory const& memory = table.memory(key);
      bool waits = memory.lastWrite && memory.lastWrite->outcome == Outcome::pending;
      if (table.held(key) != table.configured(key) && (memory.restarted || !waits)) {
         std::string name = formatKey(key);
         std::string why = chipReason(name, memory);
         why.front() = static_cast<char>(std::toupper(static_cast<unsigned char>(why.front())));
         found.push_back({"word of " + name, why + "."});
      }
   });
}

} // namespace

std::vector<Problem> otherProblems(Host const& host) {
   std::vector<Problem> found;
   for (auto const& [tag, collides] : host.vlanTags().vlanTagMap->collisionIter()) {
      found.push_back({formatTag(tag), formatted("It is {}.", tagCollision(host, tag))});
   }
   addLackingWords(found, host.seam().portWords());
   addLackingWords(found, host.seam().subIntfWords());
   return found;
}

} // namespace ShoalHost
