// How the management interface gets its IPv6 addresses: IPv6 off (takes a
// host restart), dynamic (router advertisement, optionally with DHCPv6), or
// up to three static addresses and a default gateway.
#pragma once

#include <optional>
#include <string>

#include "DialogFields.h"
#include "FormDialog.h"
#include "HostCtl/IpConfig.h"

namespace Merel {

class IPv6ConfigurationDialog : public FormDialog {
 public:
  enum : int {
    kDisable = 0,
    kDynamic = 1,
    kUseDhcpv6 = 2,
    kStatic = 3,
    kFirstAddressField = 4,
    kGatewayField = 7,
  };

  // `dhcpChoices` gives the DHCPv6 and router-advertisement choices,
  // `addresses` the static networks and the gateway.
  IPv6ConfigurationDialog(Frame* parent,
                          bool enabled,
                          const HostCtl::Network::IpConfig& dhcpChoices,
                          const HostCtl::Network::IpConfig& addresses);
  bool GetEnabled() const { return _enabled; }
  // The DHCPv6 and router-advertisement choices, the networks and the
  // gateway. The networks are those typed into the fields once any of them
  // was edited, and the ones handed in otherwise.
  const HostCtl::Network::IpConfig& GetConfiguration() const { return _config; }
  bool GetAddressesEdited() const { return _addressesEdited; }

  // The first field (address fields 4 to 6, gateway 7) that holds text that
  // cannot be used; nothing when all can. Empty fields are fine.
  static std::optional<FieldError> Check(const std::string (&addresses)[3],
                                         const std::string& gateway);
  // Whether `key` may reach an address or gateway field.
  static bool IsFieldKey(int key);

 private:
  bool IsDynamic() const;
  // Brings the items in line with the choices.
  void Sync();
  // Space: the choice on `row` changes the flags, and the items follow.
  void Mark(int row) override;
  void Edited(int field) override;
  bool Finish() override;

  bool _enabled;
  HostCtl::Network::IpConfig _config;
  bool _addressesEdited = false;
  RadioItem* _disable = nullptr;  // the items are owned by _list
  RadioItem* _dynamic = nullptr;
  CheckItem* _dhcpv6 = nullptr;
  RadioItem* _static = nullptr;
  InputItem* _fields[4] = {};  // three addresses, then the gateway
};

}  // namespace Merel
