// What every table of the library should hold, by the rules alone. SharingModel says how it is
// kept. Recorder feeds it, and Comparison compares the tables with it.
#pragma once

#include "agent/host/AgentHost.h"
#include "simulate/ChipWordModel.h"
#include "simulate/IsemModel.h"
#include "simulate/MapperModel.h"
#include "simulate/PublishedModel.h"
#include "simulate/VlanTagModel.h"
#include "simulate/WordModel.h"

namespace Simulate {

struct Model {
   explicit Model(World const& world)
       : context(world), isem(context), mapper(context), published(context),
         vlanTags(context, published, isem), features(context), chipWords(context, features) {}

   // Brings those tables up to date that follow from facts as they are.
   void update() {
      vlanTags.update();
      chipWords.update();
   }

   // The pipeline that serves a unit of its present type.
   SharingModel& sharing(FapId unit) {
      bool arad = context.world.shoalStatus->fapType(unit) == Hardware::Shoal::fapTypeArad;
      return arad ? static_cast<SharingModel&>(isem) : mapper;
   }

   Context context;
   IsemModel isem;
   MapperModel mapper;
   PublishedModel published;
   VlanTagModel vlanTags;
   FeatureModel features;
   ChipWordModel chipWords;
};

} // namespace Simulate
