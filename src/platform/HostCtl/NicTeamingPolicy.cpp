#include "HostCtl/NicTeamingPolicy.h"

#include <algorithm>

namespace HostCtl::Network {

std::vector<std::string> NicTeamingPolicy::GetUplinks() const {
  std::vector<std::string> all = _active;
  all.insert(all.end(), _standby.begin(), _standby.end());
  return all;
}

bool NicTeamingPolicy::HasUplink(const std::string& name) const {
  return std::find(_active.begin(), _active.end(), name) != _active.end() ||
         std::find(_standby.begin(), _standby.end(), name) != _standby.end();
}

void NicTeamingPolicy::AddUplink(const std::string& name) {
  if (HasUplink(name)) {
    return;
  }
  if (_maxActive <= 0 || static_cast<int>(_active.size()) < _maxActive) {
    _active.push_back(name);
  } else {
    _standby.push_back(name);
  }
}

void NicTeamingPolicy::RemoveUplink(const std::string& name) {
  std::erase(_active, name);
  std::erase(_standby, name);
}

}  // namespace HostCtl::Network
