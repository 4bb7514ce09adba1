// The VLAN ID of the management network's port group; 0 (an empty field)
// means no VLAN.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "DialogFields.h"
#include "FormDialog.h"

namespace Merel {

class VlanDialog : public FormDialog {
 public:
  VlanDialog(Frame* parent, uint16_t vlanId);
  uint16_t GetVlanId() const;

  // The field's text as a number, 0 for an empty field.
  static unsigned long ValueOf(const std::string& text);
  // The message for a text that is not a usable VLAN ID (1 to 4095; empty
  // is no VLAN and fine).
  static std::optional<FieldError> Check(const std::string& text);

 private:
  bool Finish() override;

  InputItem* _field = nullptr;  // owned by _list
};

}  // namespace Merel
