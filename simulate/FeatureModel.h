// What the machines of in-LIF features should have made of the request directories: aggregates,
// what was handled and answered, and the words of sub-interfaces. Those of ports and VLANs are
// WordModel's.
#pragma once

#include "host/pipelines/FeaturePipeline.h"
#include "simulate/SharingModel.h"

#include <memory>

namespace Simulate {

using Hardware::Shoal::SystemTcamId;
using Hardware::ShoalTunnel::InLifFeatureAttributes;
using Hardware::ShoalTunnel::InLifFeatureKey;
using Hardware::ShoalTunnel::InLifFeatureRequestDir;
using Hardware::ShoalTunnel::InLifFeatureType;
using Hardware::ShoalTunnel::InLifFeatureValue;
using Hardware::ShoalTunnel::InLifIntfKey;

using FeatureValues = std::map<InLifFeatureType, InLifFeatureValue>;

// The features of an aggregate, with its version.
struct Aggregate {
   FeatureValues features;
   uint64_t version = 0;

   friend bool operator==(Aggregate const&, Aggregate const&) = default;
   friend std::ostream& operator<<(std::ostream& out, Aggregate const& aggregate);
};

// The word that carries these features in the TCAM's present layout.
uint64_t featureWord(SystemTcamId tcam, FeatureValues const& features);

class WordModel;

class FeatureModel {
 public:
   struct Answer {
      InLifFeatureValue value = 0;
      bool success = false;
   };

   explicit FeatureModel(Context& context);
   ~FeatureModel();

   // A directory was added, replaced or removed. It is null if it was removed, or if the entry is
   // of another type.
   void directoryChanged(Orv::Name const& name, Orv::Ptr<InLifFeatureRequestDir> directory);
   void requestChanged(Orv::Name const& name, InLifFeatureKey key);
   void keyVersionChanged();
   // The machine was built again. allRestart(): all machines were, on empty tables.
   void machineRestarts(Machine machine);
   void allRestart();
   // A key was handled: its status becomes what is asked for, and its answers follow from that.
   void respond(InLifIntfKey key);

   WordModel& words() { return *words_; }
   WordModel const& words() const { return *words_; }
   Table<InLifIntfKey, Aggregate> const& asked() const { return asked_; }
   // Keys in the order in which the machines walk them.
   std::vector<InLifIntfKey> const& order() const { return order_; }
   Table<InLifIntfKey, Aggregate> const& handled() const { return handled_; }
   Table<InLifFeatureKey, Answer> const& answers() const { return answers_; }
   Table<InLifIntfKey, uint64_t> const& subIntfWords() const { return subIntfWords_; }

 private:
   void readAll(Orv::Name const& name);
   void handle(InLifIntfKey key, bool present);
   void handleEvery(Machine machine);
   void answer(InLifIntfKey key);

   std::map<Orv::Name, Orv::Ptr<InLifFeatureRequestDir>> directories_;
   Table<InLifIntfKey, Aggregate> asked_;
   std::vector<InLifIntfKey> order_;
   Table<InLifIntfKey, Aggregate> handled_;
   Table<InLifFeatureKey, Answer> answers_;
   Table<InLifIntfKey, uint64_t> subIntfWords_;
   bool gathering_ = false; // no machine handles keys yet
   std::unique_ptr<WordModel> words_;
};

} // namespace Simulate
