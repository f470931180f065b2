// Where requests lead now, whether or not their units are available.
#pragma once

#include "agent/host/AgentHost.h"
#include "simulate/Facts.h"

#include <map>
#include <string>
#include <vector>

namespace Simulate {

class Leads {
 public:
   // Of every wanted request, as the world is now.
   Leads(AgentHost const& host, Facts const& facts);
   std::vector<PolicyKey> keysOf(TcamSharingRequest request) const;
   std::vector<TcamSharingRequest> const& requestsAt(PolicyKey const& key) const;
   // By the printed key.
   std::vector<TcamSharingRequest> requestsAt(std::string const& key) const;

 private:
   AgentHost const& host_;
   Facts const& facts_;
   std::map<PolicyKey, std::vector<TcamSharingRequest>> requests_;
};

} // namespace Simulate
