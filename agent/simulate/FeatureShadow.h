// What the machines of in-LIF features should have done so far: aggregates, what was handled and
// answered, and the words of sub-interfaces; those of ports and VLANs are DefaultLifShadow's.
//
// Hears of each change before the machines do, and keeps plain maps.
#pragma once

#include "agent/host/Host.h"
#include "agent/simulate/Findings.h"
#include "agent/simulate/Probes.h"

#include <map>
#include <set>
#include <vector>

namespace Agent {

using Hardware::Shoal::SystemTcamId;
using Hardware::ShoalTunnel::InLifFeatureAttributes;
using Hardware::ShoalTunnel::InLifFeatureKey;
using Hardware::ShoalTunnel::InLifFeatureResponse;
using Hardware::ShoalTunnel::InLifFeatureType;
using Hardware::ShoalTunnel::InLifFeatureValue;
using Hardware::ShoalTunnel::InLifIntfKey;

// Features with a version, as the library's aggregates have them.
struct Asked {
   std::map<InLifFeatureType, InLifFeatureValue> features;
   uint64_t version = 0;

   friend bool operator==(Asked const&, Asked const&) = default;
   friend std::ostream& operator<<(std::ostream& out, Asked const& asked);
};

// A feature word and the layout that it was made with.
struct Word {
   using Layout = std::map<InLifFeatureType, ShoalTcam::TcamShareQualInfo>;

   Word() = default;
   Word(SystemTcamId tcam, std::map<InLifFeatureType, InLifFeatureValue> const& features);
   static Layout layoutOf(SystemTcamId tcam);
   // The TCAM's layout changed since.
   bool stale() const { return layoutOf(tcam) != layout; }

   uint64_t bits = 0;
   SystemTcamId tcam;
   Layout layout;

   // Compared by what hardware reads.
   friend bool operator==(Word const& word, InLifFeatureAttributes const& attributes) {
      return word.bits == (static_cast<uint64_t>(attributes.eei) << 32 |
                           static_cast<uint64_t>(attributes.data1) << 16 | attributes.data0);
   }
   friend std::ostream& operator<<(std::ostream& out, Word const& word) {
      return out << std::hex << word.bits << std::dec;
   }
};

class DefaultLifShadow;

class FeatureShadow {
 public:
   FeatureShadow(Host const& host, Probes& probes);
   ~FeatureShadow();

   // A directory came, went or was replaced; an entry of another type counts as none.
   void handleDirectory(Orv::Name const& name);
   void handleRequest(Orv::Name const& name, InLifFeatureKey key);
   void handleKeyVersion();
   // The machine was built again; all of them, on empty tables.
   void handleBuilt(Machine machine);
   void handleFreshStart();
   void compare(Findings& findings) const;
   // With an agent that was started on the same directories, world and layouts.
   void compareFresh(Findings& findings, FeaturePipeline const& fresh) const;

   DefaultLifShadow& defaultLifs() { return *defaultLifs_; }

   // For the shadow of ports and VLANs.
   std::map<InLifIntfKey, Asked> const& asked() const { return asked_; }
   // Keys in the order in which the machines walk them.
   std::vector<InLifIntfKey> const& order() const { return order_; }
   // A key was handled: its status follows what is asked, and so do its answers.
   void respond(InLifIntfKey key);
   // Features that depend on more than the directories that stand: asked for by two at some time,
   // or left by one that went.
   std::set<InLifFeatureKey> const& mixed() const { return mixed_; }

 private:
   struct Answer {
      InLifFeatureValue value = 0;
      bool success = false;
   };
   void applyAll(Orv::Name const& name);
   void handled(InLifIntfKey key, bool present);
   void handleEvery(Machine machine);
   void answer(InLifIntfKey key);
   bool askedElsewhere(Orv::Name const& name, InLifFeatureKey key) const;
   void compareAsked(Findings& findings, FeaturePipeline const& fresh) const;
   void compareAnswers(Findings& findings, FeaturePipeline const& fresh) const;
   bool isMixed(InLifIntfKey key) const;
   // What was handled of the key may differ from a fresh start.
   bool unanswered(InLifIntfKey key) const;

   Host const& host_;
   Probes& probes_;
   std::map<Orv::Name, Orv::Ptr<Hardware::ShoalTunnel::InLifFeatureRequestDir>> directories_;
   std::map<InLifIntfKey, Asked> asked_;
   std::vector<InLifIntfKey> order_;
   std::map<InLifIntfKey, Asked> handled_;
   std::map<InLifFeatureKey, Answer> answers_;
   std::map<InLifIntfKey, Word> subIntfWords_;
   std::set<InLifFeatureKey> mixed_;
   bool gathering_ = false; // nobody handles keys yet
   std::unique_ptr<DefaultLifShadow> defaultLifs_;
};

} // namespace Agent
