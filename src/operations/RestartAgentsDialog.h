// Restarting the host's management agents, from the troubleshooting window.
#pragma once

#include "Dialog.h"
#include "Item.h"
#include "ItemList.h"
#include "TextArea.h"

namespace Merel {

class RestartAgentsDialog : public Dialog {
 public:
  explicit RestartAgentsDialog(Frame* parent);
  // 0 when cancelled with Esc, 1 after the restart (confirmed with F11 only).
  int Loop() override;

 private:
  void Restart();
  // The finished steps in dark grey, then `current` (may be empty) in black.
  void ShowSteps(const std::string& current);
  void FinishStep(const std::string& step);

  TextArea* _text = nullptr;
  ItemList* _list = nullptr;
  CheckItem* _collect = nullptr;
  std::string _finished;
};

}  // namespace Merel
