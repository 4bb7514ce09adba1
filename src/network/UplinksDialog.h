// Chooses the uplinks of the host-local port that replaces a broken
// management port on a distributed switch.
#pragma once

#include <string>
#include <vector>

#include "Dialog.h"
#include "RestoreDvs.h"

namespace Merel {

class CheckItem;
class ItemList;

class UplinksDialog : public Dialog {
 public:
  UplinksDialog(Frame* parent, const DvsRepair& repair);
  // 1 when a choice was confirmed (and adapters of standard switches were
  // agreed to), 0 on Esc.
  int Loop() override;
  // The chosen adapters in listing order.
  const std::vector<std::string>& GetChosen() const { return _chosen; }

  // One row of the list (without its check box): name, link state, speed,
  // MAC address and the switch that uses the adapter.
  static std::string Row(const DvsUplinkCandidate& candidate);
  // A host's text made safe for markup and fixed-width fields: no braces,
  // nothing unprintable.
  static std::string Plain(const std::string& text);

 private:
  bool Finish();

  const DvsRepair& _repair;
  std::vector<std::string> _chosen;
  ItemList* _list = nullptr;
  std::vector<CheckItem*> _checks;  // one per candidate, owned by _list
};

}  // namespace Merel
