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
   if (!tags.collide(tag)) {
      return "";
   }
   std::set<std::string> subIntfs;
   std::set<std::string> ports;
   for (auto const& [key, meaning] : tags.users().find(tag)->second) {
      if (VlanTagModel::isSubIntfOf(key, meaning)) {
         subIntfs.insert(meaning.subIntf.name());
      }
      if (meaning.vlan.value() != 0) {
         ports.insert(key.phyIntf.name());
      }
   }
   std::set<std::string> ofEntry;
   for (IntfId subIntf : tags.subIntfsOfEntry(tag)) {
      if (!subIntfs.contains(subIntf.name())) {
         ofEntry.insert(subIntf.name());
      }
   }
   std::string text = "the tag";
   if (!subIntfs.empty()) {
      text += " of " + firstThree(subIntfs) + (ofEntry.empty() ? "" : " and");
   }
   if (!ofEntry.empty()) {
      text += " of the entry for " + firstThree(ofEntry);
   }
   return text + ", and a VLAN that " + firstThree(ports) +
          (ports.size() == 1 ? " carries" : " carry");
}

} // namespace Simulate
