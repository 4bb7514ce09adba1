// The factory restore of the host network: powers off running virtual
// machines (after asking), turns off the network dump target, clears the
// network configuration and lets the host build its default one. Shows each
// step as it runs and waits for Enter at the end.
#pragma once

#include <string>

#include "Dialog.h"

namespace Merel {

class TextArea;

class DoRestoreNetworkDialog : public Dialog {
 public:
  explicit DoRestoreNetworkDialog(Frame* parent);
  // 0 when the user would not have the running virtual machines powered off
  // (nothing was changed), otherwise 1 after Enter.
  int Loop() override;

 private:
  void Append(const std::string& text);

  TextArea* _text = nullptr;
};

}  // namespace Merel
