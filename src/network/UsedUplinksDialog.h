// Asks before adapters of standard switches become uplinks of the
// distributed switch: their switches lose them.
#pragma once

#include <string>
#include <vector>

#include "AdapterInfoDialog.h"
#include "Dialog.h"

namespace Merel {

class UsedUplinksDialog : public Dialog {
 public:
  // `adapters` with their standard switch in usedBy, about to move to the
  // distributed switch `dvSwitch`.
  UsedUplinksDialog(Frame* parent,
                    const std::vector<Adapter>& adapters,
                    const std::string& dvSwitch);
  // 1 on Enter (take them), 0 on Esc.
  int Loop() override;

 private:
  std::string _body;
  TextArea* _bodyText = nullptr;
};

}  // namespace Merel
