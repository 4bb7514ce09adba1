// How the management interface gets its IPv4 address: not at all, by DHCP,
// or from a static address, subnet mask and gateway typed in here.
#pragma once

#include <optional>
#include <string>

#include "Dialog.h"
#include "DialogFields.h"
#include "HostCtl/IpConfig.h"
#include "ItemList.h"

namespace Merel {

class RadioItem;
class InputItem;

class IPConfigurationDialog : public Dialog {
 public:
  // Selection indices of the three fields.
  enum : int { kAddressField = 3, kNetmaskField = 4, kGatewayField = 5 };

  IPConfigurationDialog(Frame* parent, bool useNone, bool useDhcp,
                        const HostCtl::Network::IpConfig& config);
  // 1 when Enter was pressed on valid input, 0 on Esc.
  int Loop() override;
  const HostCtl::Network::IpConfig& GetConfiguration() const { return _config; }

  // The first of the static fields that does not hold a valid value, in the
  // order address, subnet mask, gateway; nothing when all three are valid.
  static std::optional<FieldError> Check(const std::string& address, const std::string& netmask,
                                         const std::string& gateway);

 private:
  // Marks radio `choice` (0 none, 1 DHCP, 2 static) alone.
  void Mark(int choice);
  // The selection index of the focused item, -1 when there is none.
  int Selection() const;
  // The list position of selection index `selection` (the spacer has none).
  static int ListIndex(int selection);
  bool Finish();

  HostCtl::Network::IpConfig _config;
  bool _useNone;
  bool _useDhcp;
  bool _useStatic;
  ItemList* _list = nullptr;
  RadioItem* _radios[3] = {};
  InputItem* _fields[3] = {};  // address, subnet mask, gateway; owned by _list
};

}  // namespace Merel
