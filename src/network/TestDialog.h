// The management network test: the targets, pre-filled from the host's
// gateways and DNS servers and open to editing.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "FormDialog.h"
#include "HostCtl/IpAddress.h"

namespace Merel {

class TestDialog : public FormDialog {
 public:
  explicit TestDialog(Frame* parent);
  // Loop: 1 when a test was run, 0 when left with Esc.

  // The addresses the fields start with: the first three candidates, in
  // order, that are neither empty nor 0.0.0.0 nor ::.
  static std::vector<std::string> DefaultTargets(const std::vector<std::string>& candidates);

 private:
  // Checks the address fields; on success the targets are in `_addresses`
  // (null for an empty field). On failure the bad field has the focus.
  bool ParseTargets(HostCtl::Network::IpAddress* targets[3]);
  // Enter: runs the test on valid targets.
  bool Finish() override;

  std::vector<InputItem*> _fields;
  std::vector<std::unique_ptr<HostCtl::Network::IpAddress>> _addresses;
};

}  // namespace Merel
