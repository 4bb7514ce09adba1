// Chooses the uplinks of the host-local port that replaces a broken
// management port on a distributed switch.
#pragma once

#include <string>
#include <vector>

#include "AdapterChoiceDialog.h"
#include "RestoreDvs.h"

namespace Merel {

class UplinksDialog : public AdapterChoiceDialog {
 public:
  UplinksDialog(Frame* parent, const DvsRepair& repair);
  // The chosen adapters in listing order.
  const std::vector<std::string>& GetChosen() const { return _chosen; }

  // One row of the list (without its check box): name, link state, speed,
  // MAC address and the switch that uses the adapter.
  static std::string Row(const DvsUplinkCandidate& candidate);

 private:
  const Adapter& AdapterAt(size_t index) const override {
    return _repair.candidates[index].adapter;
  }
  // Refuses an empty choice; asks before taking adapters of standard
  // switches.
  bool Finish() override;

  const DvsRepair& _repair;
  std::vector<std::string> _chosen;
};

}  // namespace Merel
