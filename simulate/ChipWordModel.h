// What the tables of feature words should hold: the merged word of each port in its place, and the
// word of each sub-interface; while the port map is not valid, what they held before.
#pragma once

#include "simulate/WordModel.h"

namespace Simulate {

class ChipWordModel {
 public:
   using PlaceKey = Hardware::ShoalTunnel::DefaultMappingKey;
   using SubIntfKey = Hardware::ShoalTunnel::SubIntfMappingKey;

   ChipWordModel(Context& context, FeatureModel const& features);
   // A port came, moved or went, or its place did.
   void placesChanged() { moved_ = true; }
   // The port map is valid or not, or has a new version.
   void portMapChanged();
   // Brings the tables up to the events.
   void update();

   // What they would hold if the port map were valid.
   std::map<PlaceKey, uint64_t> wantedOfPlaces() const;
   std::map<SubIntfKey, uint64_t> wantedOfSubIntfs() const;

   Table<PlaceKey, uint64_t> const& ofPlaces() const { return places_; }
   Table<SubIntfKey, uint64_t> const& ofSubIntfs() const { return subIntfs_; }

 private:
   void follow();
   // By port: a VLAN's word wins.
   std::map<IntfId, uint64_t> merged() const;

   Context& context_;
   FeatureModel const& features_;
   bool moved_ = false;
   bool wasValid_ = true;
   Touched<IntfId> ports_;
   Touched<InLifIntfKey> keys_;
   Table<PlaceKey, uint64_t> places_;
   Table<SubIntfKey, uint64_t> subIntfs_;
};

} // namespace Simulate
