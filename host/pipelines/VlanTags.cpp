#include "host/pipelines/VlanTags.h"

namespace ShoalHost {

using namespace Hardware::ShoalTunnel;

VlanTags::VlanTags(World& world, IsemPipeline const& isem) : world_(world), isem_(isem) {
   auto mount = [&]<class T>(Orv::Ptr<T>& entity, std::string const& name) {
      entity = Orv::make<T>();
      world.corestate.mount("vlan/" + name, entity);
   };
   mount(intfToFapIdStatus, "intfToFapIdStatus");
   mount(intfToVlanDomainStatus, "intfToVlanDomainStatus");
   mount(vlanPhyIntfConfig, "vlanPhyIntfConfig");
   mount(subIntfTagPhyIntfConfig, "subIntfTagPhyIntfConfig");
   mount(vlanXlateStatus, "vlanXlateStatus");
   mount(vlanTagMap, "tcamSharingVlanTagMap");
   // Each behind those whose tables it reads.
   for (Machine machine :
        {Machine::vlanDomain, Machine::vlanPorts, Machine::vlanXlate, Machine::vlanTagMap}) {
      rebuild(machine);
   }
}

void VlanTags::rebuild(Machine machine) {
   switch (machine) {
   case Machine::vlanDomain:
      vlanDomainSm_ = nullptr;
      vlanDomainSm_ = VlanDomainSmIs(world_.shoalStatus, world_.vlanDomainStatus,
                                     intfToVlanDomainStatus, intfToFapIdStatus);
      break;
   case Machine::vlanPorts:
      vlanPhyIntfConfigSm_ = nullptr;
      vlanPhyIntfConfigSm_ =
          VlanPhyIntfConfigSmIs(world_.shoalStatus, world_.subIntfConfigDir, world_.dynSubIntfEncap,
                                world_.lagPhyIntfMapping, world_.untaggedVlanDir,
                                world_.taggedVlanDir, vlanPhyIntfConfig, subIntfTagPhyIntfConfig);
      break;
   case Machine::vlanXlate:
      vlanXlateStatusSm_ = nullptr;
      vlanXlateStatusSm_ =
          VlanXlateStatusSmIs(vlanPhyIntfConfig, subIntfTagPhyIntfConfig, world_.subIntfConfigDir,
                              world_.dynSubIntfEncap, world_.lagPhyIntfMapping,
                              world_.intfVlanIdTable, vlanXlateStatus);
      break;
   case Machine::vlanTagMap:
      vlanTagMapSm_ = nullptr;
      vlanTagMapSm_ = TcamSharingVlanTagMapSmIs(intfToFapIdStatus, intfToVlanDomainStatus,
                                                isem_.common, vlanXlateStatus, vlanTagMap);
      break;
   default: // the pipelines'
      break;
   }
}

} // namespace ShoalHost
