// How the management interface gets its IPv4 address: not at all, by DHCP,
// or from a static address, subnet mask and gateway typed in here.
#pragma once

#include <optional>
#include <string>

#include "DialogFields.h"
#include "FormDialog.h"
#include "HostCtl/IpConfig.h"

namespace Merel {

class IPConfigurationDialog : public FormDialog {
 public:
  // Selection indices of the three fields.
  enum : int { kAddressField = 3, kNetmaskField = 4, kGatewayField = 5 };

  IPConfigurationDialog(Frame* parent, bool useNone, bool useDhcp,
                        const HostCtl::Network::IpConfig& config);
  const HostCtl::Network::IpConfig& GetConfiguration() const { return _config; }

  // The first of the static fields that does not hold a valid value, in the
  // order address, subnet mask, gateway; nothing when all three are valid.
  static std::optional<FieldError> Check(const std::string& address, const std::string& netmask,
                                         const std::string& gateway);

 private:
  // Space: marks the radio on `row` (0 none, 1 DHCP, 2 static) alone.
  void Mark(int row) override;
  // The list position of selection index `selection` (the spacer has none).
  static int ListIndex(int selection);
  bool Finish() override;

  HostCtl::Network::IpConfig _config;
  bool _useNone;
  bool _useDhcp;
  bool _useStatic;
  RadioItem* _radios[3] = {};
  InputItem* _fields[3] = {};  // address, subnet mask, gateway; owned by _list
};

}  // namespace Merel
