// Where a kernel NIC is plugged in: a port group of a standard vSwitch or a
// port of a distributed switch. These are snapshots read from the host.
#pragma once

#include <cstdint>
#include <string>

#include "HostCtl/NicTeamingPolicy.h"

namespace HostCtl::Network {

class ConnectionPoint {
 public:
  enum Type : int {
    kPortGroup = 1,
    kDVPort = 2,
    kOpaqueNetwork = 3,
  };
  virtual ~ConnectionPoint() = default;
  virtual int GetType() const = 0;
};

class PortGroup : public ConnectionPoint {
 public:
  PortGroup(std::string name, std::string switchName, uint16_t vlanId, NicTeamingPolicy policy)
      : _name(std::move(name)),
        _switch(std::move(switchName)),
        _vlanId(vlanId),
        _policy(std::move(policy)) {}
  int GetType() const override { return kPortGroup; }
  const std::string& GetName() const { return _name; }
  const std::string& GetVirtualSwitchName() const { return _switch; }
  uint16_t GetVlanId() const { return _vlanId; }
  const NicTeamingPolicy& GetTeamingPolicy() const { return _policy; }

 private:
  std::string _name;
  std::string _switch;
  uint16_t _vlanId;
  NicTeamingPolicy _policy;
};

class DVPort : public ConnectionPoint {
 public:
  DVPort(std::string switchName,
         std::string switchUuid,
         std::string portKey,
         std::string portgroupKey,
         uint16_t vlanId,
         NicTeamingPolicy policy,
         bool blocked = false)
      : _switch(std::move(switchName)),
        _uuid(std::move(switchUuid)),
        _portKey(std::move(portKey)),
        _portgroupKey(std::move(portgroupKey)),
        _vlanId(vlanId),
        _policy(std::move(policy)),
        _blocked(blocked) {}
  int GetType() const override { return kDVPort; }
  const std::string& GetDVSwitchName() const { return _switch; }
  const std::string& GetDVSwitchUuid() const { return _uuid; }
  const std::string& GetPortKey() const { return _portKey; }
  const std::string& GetPortgroupKey() const { return _portgroupKey; }
  uint16_t GetVlanId() const { return _vlanId; }
  const NicTeamingPolicy& GetTeamingPolicy() const { return _policy; }
  // Blocked by the switch's manager: the port passes no traffic.
  bool IsBlocked() const { return _blocked; }

 private:
  std::string _switch;
  std::string _uuid;
  std::string _portKey;
  std::string _portgroupKey;
  uint16_t _vlanId;
  NicTeamingPolicy _policy;
  bool _blocked;
};

// A network of an external controller; the console cannot configure it.
class OpaqueNetwork : public ConnectionPoint {
 public:
  explicit OpaqueNetwork(std::string networkId) : _id(std::move(networkId)) {}
  int GetType() const override { return kOpaqueNetwork; }
  const std::string& GetNetworkId() const { return _id; }

 private:
  std::string _id;
};

}  // namespace HostCtl::Network
