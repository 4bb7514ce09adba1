// The refusal when no adapter at all could carry a repaired port.
#pragma once

#include <string>

#include "MessageDialog.h"

namespace Merel {

class NoUplinksDialog : public MessageDialog {
 public:
  NoUplinksDialog(Frame* parent, const std::string& dvSwitch);

  static std::string Message(const std::string& dvSwitch);
};

}  // namespace Merel
