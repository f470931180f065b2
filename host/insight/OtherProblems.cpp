#include "host/insight/OtherProblems.h"

#include "host/insight/ChipReason.h"
#include "host/insight/FeatureSituation.h"
#include "host/insight/TagCollision.h"
#include "host/names/Names.h"
#include "host/text/Text.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <map>

namespace ShoalHost {

using namespace Hardware::ShoalTunnel;

namespace {

// Rows of words, each entry of the chip in one of them.
class WordProblems {
 public:
   explicit WordProblems(Host const& host) : host_(host) {}

   std::vector<Problem> find() {
      if (!host_.world().shoalStatus->portMapValid()) {
         addWaiting();
      }
      addLacking(host_.seam().portWords());
      addLacking(host_.seam().subIntfWords());
      std::vector<Problem> rows;
      for (auto& [name, why] : found_) {
         rows.push_back({"word of " + name, std::move(why)});
      }
      return rows;
   }

 private:
   // What the tables of the chip take over when the port map is valid again.
   void addWaiting() {
      auto const& pipeline = host_.inLifFeatures();
      std::multimap<DefaultMappingKey, LifFeatureWord> ofPlaces;
      for (auto const& [port, word] : pipeline.mergedWords->lifFeatureAttrIter()) {
         if (auto place = host_.world().placeOf(port); !place.isNull()) {
            ofPlaces.emplace(place, wordOf(word));
         }
      }
      std::multimap<SubIntfMappingKey, LifFeatureWord> ofSubIntfs;
      for (auto const& [key, word] : pipeline.subIntfWords->lifFeatureAttrIter()) {
         ofSubIntfs.emplace(SubIntfMappingKey(key.intfId(), key.tcamId()), wordOf(word));
      }
      addWaiting(ofPlaces, host_.seam().portWords());
      addWaiting(ofSubIntfs, host_.seam().subIntfWords());
   }
   template<class Key, class T>
   void addWaiting(std::multimap<Key, LifFeatureWord> const& wanted, SeamTable<T> const& table) {
      for (auto const& [key, word] : wanted) {
         auto [first, last] = wanted.equal_range(key);
         bool there =
             std::any_of(first, last, [&, configured = table.configured(key)](auto const& each) {
                return configured == each.second;
             });
         if (!there) {
            found_[formatKey(key)] = "Nothing is written while the port map is not valid.";
         }
      }
      for (auto const& [key, word] : table.config()->configIter()) {
         if (!wanted.contains(key)) {
            found_[formatKey(key)] =
                "Nobody asks for it any more, and nothing is removed while the port map is not "
                "valid.";
         }
      }
   }
   template<class T>
   void addLacking(SeamTable<T> const& table) {
      table.forEachDoubtful([&](typename T::Key key) {
         EntryMemory const& memory = table.memory(key);
         bool waits = memory.lastWrite && memory.lastWrite->outcome == Outcome::pending;
         bool lost = waits && memory.lost && memory.lost->write == memory.lastWrite->write;
         if (table.held(key) != table.configured(key) && (memory.restarted || !waits || lost)) {
            std::string name = formatKey(key);
            std::string why = chipReason(name, memory);
            why.front() = static_cast<char>(std::toupper(static_cast<unsigned char>(why.front())));
            found_.try_emplace(name, why + ".");
         }
      });
   }

   Host const& host_;
   std::map<std::string, std::string> found_; // by the entry's name
};

} // namespace

std::vector<Problem> otherProblems(Host const& host) {
   std::vector<Problem> found;
   for (auto const& [tag, collides] : host.vlanTags().vlanTagMap->collisionIter()) {
      found.push_back({formatTag(tag), formatted("It is {}.", tagCollision(host, tag))});
   }
   std::vector<Problem> words = WordProblems(host).find();
   found.insert(found.end(), std::make_move_iterator(words.begin()),
                std::make_move_iterator(words.end()));
   return found;
}

} // namespace ShoalHost
