#include "platform/Corestate/Corestate.h"

#include "platform/Orv/Exception.h"

#include <stdexcept>

namespace Corestate {

namespace {

std::vector<std::string> parts(std::string_view path) {
   std::vector<std::string> found;
   for (std::size_t begin = 0; begin <= path.size();) {
      std::size_t end = std::min(path.find('/', begin), path.size());
      found.emplace_back(path.substr(begin, end - begin));
      begin = end + 1;
   }
   return found;
}

Orv::Dir* asDir(Orv::Ptr<Orv::Entity> const& entity) {
   return dynamic_cast<Orv::Dir*>(entity.get());
}

void collect(Orv::Dir const& dir, std::string const& prefix,
             std::vector<Corestate::Mounted>& found) {
   for (auto const& [name, entity] : dir.entryIter()) {
      if (auto const* below = asDir(entity)) {
         collect(*below, prefix + name + "/", found);
      } else {
         found.push_back({prefix + name, entity});
      }
   }
}

} // namespace

void Corestate::mount(std::string_view path, Orv::Ptr<Orv::Entity> const& entity) {
   if (!entity) {
      throw Orv::NullArgumentException("Corestate::mount of a null entity at " + std::string(path));
   }
   auto names = parts(path);
   for (auto const& name : names) {
      if (name.empty()) {
         throw std::invalid_argument("Corestate::mount: malformed path '" + std::string(path) +
                                     "'");
      }
   }
   // The whole path is checked first: a refused mount creates no directories.
   Orv::Ptr<Orv::Dir> dir = root_;
   for (std::size_t i = 0; dir && i < names.size(); ++i) {
      Orv::Ptr<Orv::Entity> next = dir->entry(names[i]);
      if (next && (i + 1 == names.size() || asDir(next) == nullptr)) {
         throw std::invalid_argument("Corestate::mount: '" + std::string(path) + "' is taken");
      }
      dir = asDir(next);
   }
   dir = root_;
   for (std::size_t i = 0; i + 1 < names.size(); ++i) {
      if (!dir->entry(names[i])) {
         dir->entryIs(names[i], Orv::make<Orv::Dir>());
      }
      dir = asDir(dir->entry(names[i]));
   }
   dir->entryIs(names.back(), entity);
}

Orv::Ptr<Orv::Entity> Corestate::entity(std::string_view path) const {
   Orv::Ptr<Orv::Entity> at = root_;
   for (auto const& name : parts(path)) {
      auto* dir = asDir(at);
      if (dir == nullptr) {
         return nullptr;
      }
      at = dir->entry(name);
   }
   return at;
}

std::vector<Corestate::Mounted> Corestate::mounted() const {
   std::vector<Mounted> found;
   collect(*root_, "", found);
   return found;
}

} // namespace Corestate
