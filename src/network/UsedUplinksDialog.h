// Asks before adapters of standard switches become uplinks of the
// distributed switch: their switches lose them. The adapters' question,
// under the repair's own title.
#pragma once

#include "StringFactory.h"
#include "UsedAdaptersDialog.h"

namespace Merel {

class UsedUplinksDialog : public UsedAdaptersDialog {
 public:
  // `adapters` with their standard switch in usedBy, about to move to the
  // distributed switch `dvSwitch`. Loop: 1 on Enter (take them), 0 on Esc.
  UsedUplinksDialog(Frame* parent,
                    const std::vector<Adapter>& adapters,
                    const std::string& dvSwitch)
      : UsedAdaptersDialog(parent,
                           adapters,
                           dvSwitch,
                           Strings::kDvsUplinksWarningTitle,
                           Strings::kContinueQuestion) {}
};

}  // namespace Merel
