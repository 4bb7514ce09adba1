#include "NexCtl/PnicImpl.h"

#include "FacadeSupport.h"

namespace NexCtl::Network {

HostCtl::Network::PnicInfo PnicImpl::Info(const char* call) const {
  Platform::HostState state = Platform::LoadHost(call);
  const Platform::PnicState* pnic = Platform::FindPnic(state, _name);
  if (!pnic)
    Platform::Fail("Physical NIC '" + _name + "' not found");
  return Platform::PnicInfoOf(*pnic);
}

HostCtl::Network::PnicInfo PnicImpl::GetInfo() {
  return Info("PnicImpl.GetInfo");
}

HostCtl::Network::MacAddress PnicImpl::GetMacAddress() {
  return Info("PnicImpl.GetMacAddress").mac;
}

bool PnicImpl::IsLinkUp() {
  return Info("PnicImpl.IsLinkUp").linkUp;
}

}  // namespace NexCtl::Network
