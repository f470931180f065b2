#include "simulate/ChipWordModel.h"

namespace Simulate {

namespace {

template<class K>
void become(Table<K, uint64_t>& table, std::map<K, uint64_t> const& rows) {
   table.eraseIf([&](auto const& row) { return !rows.contains(row.first); });
   for (auto const& [key, word] : rows) {
      auto row = table.find(key);
      if (row == table.end() || row->second != word) {
         table[key] = word;
      }
   }
}

} // namespace

ChipWordModel::ChipWordModel(Context& context, FeatureModel const& features)
    : context_(context), features_(features) {
   features.words().ofPorts().tells(ports_);
   features.words().ofVlans().tells(ports_);
   features.subIntfWords().tells(keys_);
   wasValid_ = context.world.shoalStatus->portMapValid();
}

void ChipWordModel::portMapChanged() {
   bool valid = context_.world.shoalStatus->portMapValid();
   if (wasValid_ && !valid) {
      follow(); // what came till now
   }
   wasValid_ = valid;
   moved_ = true;
}

void ChipWordModel::update() {
   if (!wasValid_) {
      if (!ports_.empty() || !keys_.empty()) {
         hit("chip words: not written while the port map is not valid"_met);
      }
      return;
   }
   if (moved_ || !ports_.empty() || !keys_.empty()) {
      follow();
   }
}

void ChipWordModel::follow() {
   moved_ = false;
   ports_.forget();
   keys_.forget();
   for (auto const& [port, word] : merged()) {
      hit(context_.world.placeOf(port).isNull() ? "chip words: of a port without a place"_met
                                                : "chip words: of a port"_met);
   }
   if (!features_.subIntfWords().empty()) {
      hit("chip words: of a sub-interface"_met);
   }
   become(places_, wantedOfPlaces());
   become(subIntfs_, wantedOfSubIntfs());
}

std::map<IntfId, uint64_t> ChipWordModel::merged() const {
   std::map<IntfId, uint64_t> words = features_.words().ofPorts().rows();
   for (auto const& [port, word] : features_.words().ofVlans()) {
      words[port] = word;
   }
   return words;
}

std::map<ChipWordModel::PlaceKey, uint64_t> ChipWordModel::wantedOfPlaces() const {
   std::map<PlaceKey, uint64_t> places;
   for (auto const& [port, word] : merged()) {
      if (auto place = context_.world.placeOf(port); !place.isNull()) {
         places[PlaceKey(place)] = word;
      }
   }
   return places;
}

std::map<ChipWordModel::SubIntfKey, uint64_t> ChipWordModel::wantedOfSubIntfs() const {
   std::map<SubIntfKey, uint64_t> subIntfs;
   for (auto const& [key, word] : features_.subIntfWords()) {
      subIntfs[SubIntfKey(key.intfId(), key.tcamId())] = word;
   }
   return subIntfs;
}

} // namespace Simulate
