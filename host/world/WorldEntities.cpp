#include "host/world/WorldEntities.h"

namespace ShoalHost {

WorldEntities::WorldEntities() {
   auto mount = [this]<class T>(Orv::Ptr<T>& entity, std::string const& name) {
      entity = Orv::make<T>();
      corestate.mount("world/" + name, entity);
   };
   mount(scsd, "scsd");
   mount(shoalStatus, "shoalStatus");
   mount(vlanDomainStatus, "vlanDomainStatus");
   mount(subIntfConfigDir, "subIntfConfigDir");
   mount(intfVlanIdTable, "intfVlanIdTable");
   mount(ethIntfStatusDir, "ethIntfStatusDir");
   mount(portMapHelper, "portMapHelper");
   mount(vlanTagToVsiMapperSm, "vlanTagToVsiMapper");
   mount(subIntfStatusDir, "subIntfStatusDir");
   mount(dynSubIntfEncap, "dynSubIntfEncap");
   mount(subIntfDot1qEncapChange, "subIntfDot1qEncapChange");
   mount(vtagToVsiConfig, "vtagToVsiConfig");
   mount(lagConfig, "lagConfig");
   mount(lagPhyIntfMapping, "lagPhyIntfMapping");
   mount(untaggedVlanDir, "untaggedVlanDir");
   mount(taggedVlanDir, "taggedVlanDir");
   mount(localPortMapStatus, "localPortMapStatus");
}

} // namespace ShoalHost
