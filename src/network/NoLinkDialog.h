// Asks before the management network is put on adapters of which none has
// link: the host would drop off the network until a cable is plugged in,
// which is sometimes meant (the cabling comes later) but mostly a slip.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "AdapterInfoDialog.h"
#include "Dialog.h"

namespace Merel {

class NoLinkDialog : public Dialog {
 public:
  // `chosen`: the adapters about to carry the management network, as listed.
  NoLinkDialog(Frame* parent, uint32_t titleKey, const std::vector<Adapter>& chosen);
  // 1 on Enter (use them all the same), 0 on Esc.
  int Loop() override;

  // Whether none of `chosen` is known to have link; an adapter whose state
  // could not be read counts as without.
  static bool NoneHasLink(const std::vector<Adapter>& chosen);

 private:
  uint32_t _titleKey;
  std::string _body;
  TextArea* _bodyText = nullptr;
};

}  // namespace Merel
