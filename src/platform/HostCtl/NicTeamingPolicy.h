// Which uplinks carry a port group's traffic, and in which order.
#pragma once

#include <string>
#include <vector>

namespace HostCtl::Network {

class NicTeamingPolicy {
 public:
  NicTeamingPolicy() = default;
  NicTeamingPolicy(std::vector<std::string> active,
                   std::vector<std::string> standby,
                   int maxActiveUplinks)
      : _active(std::move(active)), _standby(std::move(standby)), _maxActive(maxActiveUplinks) {}

  const std::vector<std::string>& GetActiveUplinks() const { return _active; }
  void SetActiveUplinks(std::vector<std::string> uplinks) { _active = std::move(uplinks); }
  const std::vector<std::string>& GetStandbyUplinks() const { return _standby; }
  void SetStandbyUplinks(std::vector<std::string> uplinks) { _standby = std::move(uplinks); }
  // The uplink order: active uplinks, then standby ones.
  std::vector<std::string> GetUplinks() const;
  bool HasUplink(const std::string& name) const;
  // Adds as active (or standby once the active list is full); no-op if present.
  void AddUplink(const std::string& name);
  void RemoveUplink(const std::string& name);

  int GetMaxActiveUplinks() const { return _maxActive; }
  void SetMaxActiveUplinks(int value) { _maxActive = value; }
  const std::string& GetLoadBalancing() const { return _loadBalancing; }
  void SetLoadBalancing(std::string policy) { _loadBalancing = std::move(policy); }

  bool operator==(const NicTeamingPolicy& other) const = default;

 private:
  std::vector<std::string> _active;
  std::vector<std::string> _standby;
  int _maxActive = 32;
  std::string _loadBalancing = "loadbalance_srcid";
};

}  // namespace HostCtl::Network
