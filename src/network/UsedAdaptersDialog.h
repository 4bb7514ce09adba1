// Asks before an adapter that another switch uses is taken for the
// management network: the other switch loses it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "AdapterInfoDialog.h"
#include "Dialog.h"

namespace Merel {

class UsedAdaptersDialog : public Dialog {
 public:
  // `adapters`: the adapters about to be taken from the switches they are
  // on (their usedBy), for the management network's switch `switchName`.
  UsedAdaptersDialog(Frame* parent,
                     const std::vector<Adapter>& adapters,
                     const std::string& switchName);
  // 1 on Enter (take them), 0 on Esc.
  int Loop() override;

  // The text listing each adapter and the switch it is taken from.
  static std::string Body(const std::vector<Adapter>& adapters, const std::string& switchName);

 protected:
  // The same question under another title and closing sentence.
  UsedAdaptersDialog(Frame* parent,
                     const std::vector<Adapter>& adapters,
                     const std::string& switchName,
                     uint32_t titleKey,
                     uint32_t questionKey);

 private:
  uint32_t _titleKey;
  uint32_t _questionKey;
  std::string _body;
  TextArea* _bodyText = nullptr;
};

}  // namespace Merel
