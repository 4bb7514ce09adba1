#include "NetworkOwner.h"

#include <syslog.h>

#include "HostCtl/HostCtlException.h"
#include "MessageDialog.h"
#include "NexCtl/NetworkInfoImpl.h"
#include "Platform.h"
#include "StringFactory.h"

namespace Merel {

std::string NetworkOwner() {
  try {
    return NexCtl::Network::NetworkInfoImpl().GetNetworkManager();
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "%s",
                     (std::string("Getting the network's owner failed: ") + e.what()).c_str());
    return {};
  }
}

bool RefuseOwnedNetwork(Frame* parent, uint32_t titleKey, const std::string& owner) {
  if (owner.empty()) {
    return false;
  }
  StringFactory* strings = GetStringFactory("en_US");
  MessageDialog message(parent, titleKey,
                        std::string(strings->GetString(Strings::kNetworkManagedBy)) + owner +
                            strings->GetString(Strings::kNetworkShownReadOnly));
  Frame::Run(&message);
  return true;
}

bool RefuseOwnedNetwork(Frame* parent, uint32_t titleKey) {
  return RefuseOwnedNetwork(parent, titleKey, NetworkOwner());
}

}  // namespace Merel
