// The shared state database: a tree of entities by path ("hardware/shoal/status").
//
// The hosting agent mounts entities; whoever needs one looks it up by path.
#pragma once

#include "platform/Orv/Dir.h"

#include <string>
#include <string_view>
#include <vector>

namespace Corestate {

class ORV_EXPORT Corestate {
 public:
   // Throws Orv::NullArgumentException for a null entity and std::invalid_argument for a path that
   // is malformed (empty, or with an empty part), taken, or below a mounted entity that is not a
   // directory.
   void mount(std::string_view path, Orv::Ptr<Orv::Entity> const& entity);

   // null when nothing is mounted there.
   Orv::Ptr<Orv::Entity> entity(std::string_view path) const;

   struct Mounted {
      std::string path;
      Orv::Ptr<Orv::Entity> entity;
   };
   // All mounted entities except directories, in order of path.
   std::vector<Mounted> mounted() const;

 private:
   Orv::Ptr<Orv::Dir> root_ = Orv::make<Orv::Dir>();
};

} // namespace Corestate
