#include "NexCtl/PnicImpl.h"

#include "FacadeSupport.h"
#include "NexCtl/NetworkInfoImpl.h"

namespace NexCtl::Network {

HostCtl::Network::PnicInfo PnicImpl::GetInfo() {
  Platform::FailIfInjected("PnicImpl.GetInfo");
  for (auto& info : NetworkInfoImpl().GetPnics()) {
    if (info.name == _name)
      return info;
  }
  Platform::Fail("Physical NIC '" + _name + "' not found");
}

HostCtl::Network::MacAddress PnicImpl::GetMacAddress() {
  Platform::FailIfInjected("PnicImpl.GetMacAddress");
  return GetInfo().mac;
}

bool PnicImpl::IsLinkUp() {
  Platform::FailIfInjected("PnicImpl.IsLinkUp");
  return GetInfo().linkUp;
}

}  // namespace NexCtl::Network
