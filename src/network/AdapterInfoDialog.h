// The details of one physical adapter, opened with D from the adapters list.
#pragma once

#include <optional>
#include <string>

#include "Dialog.h"
#include "HostCtl/NetworkRecords.h"

namespace Merel {

// One physical adapter as the adapters dialogs show it. A value the host
// could not give is empty (the name is always known).
struct Adapter {
  std::string name;
  std::optional<std::string> label;
  std::optional<std::string> mac;
  std::optional<bool> connected;
  // The switch whose uplink the adapter is: "" when none is, nothing when
  // the switches could not be read.
  std::optional<std::string> usedBy = std::string();
};

// What the host lists of an adapter; its user is left for the caller.
Adapter AdapterOf(const HostCtl::Network::PnicInfo& pnic);

class AdapterInfoDialog : public Dialog {
 public:
  AdapterInfoDialog(Frame* parent, const Adapter& adapter);
  // Closed by Enter; always 1.
  int Loop() override;

  // The body: one "Label: value" line per detail; a value that could not
  // be read leaves its line without one.
  static std::string Body(const Adapter& adapter);

 private:
  Adapter _adapter;
  TextArea* _body = nullptr;
};

}  // namespace Merel
