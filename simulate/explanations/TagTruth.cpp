#include "simulate/explanations/TagTruth.h"

namespace Simulate {

namespace {

std::string firstThree(std::set<std::string> const& names) {
   std::string text;
   std::size_t left = 3;
   for (std::string const& name : names) {
      if (left == 0) {
         return text + " and " + std::to_string(names.size() - 3) + " more";
      }
      text += (text.empty() ? "" : ", ") + name;
      --left;
   }
   return text;
}

} // namespace

std::string collisionOf(VlanTagModel const& tags, VlanTagModel::Pair const& tag) {
   auto users = tags.users().find(tag);
   if (users == tags.users().end() || !VlanTagModel::collide(users->second)) {
      return "";
   }
   std::set<std::string> subIntfs;
   std::set<std::string> ports;
   for (auto const& [key, meaning] : users->second) {
      if (meaning.subIntf != IntfId()) {
         subIntfs.insert(meaning.subIntf.name());
      }
      if (meaning.vlan.value() != 0) {
         ports.insert(key.phyIntf.name());
      }
   }
   return "the tag of " + firstThree(subIntfs) + ", and a VLAN that " + firstThree(ports) +
          (ports.size() == 1 ? " carries" : " carry");
}

} // namespace Simulate
