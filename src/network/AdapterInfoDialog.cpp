// The details of one adapter: what the row of the list had to shorten, in
// full.
#include "AdapterInfoDialog.h"

#include "Terminal.h"

namespace Merel {

namespace {

constexpr DialogSize kSize{70, 14, 5};

}  // namespace

AdapterInfoDialog::AdapterInfoDialog(Frame* parent, const Adapter& adapter)
    : Dialog(parent, kSize), _adapter(adapter) {
  _body = AddContentText();
}

std::string AdapterInfoDialog::Body(const Adapter& adapter) {
  std::string body = "Hardware Label: " + adapter.label.value_or("") + "\n";
  body += "MAC Address: " + adapter.mac.value_or("") + "\n";
  body += "Connection Status: ";
  if (adapter.connected) {
    body += *adapter.connected ? "Connected" : "Disconnected";
  }
  body += "\nUsed By: ";
  if (adapter.usedBy) {
    body += adapter.usedBy->empty() ? "None" : *adapter.usedBy;
  }
  return body;
}

int AdapterInfoDialog::Loop() {
  SetTitle("Adapter Details");
  SetText("Device Name: " + _adapter.name);
  SetFooter(kOkFooter);
  if (_body != nullptr) {
    _body->SetText(Body(_adapter));
  }
  // Read-only details: any key closes them, whatever the footer offers.
  Frame::WaitForKey(this, true);
  return 1;
}

}  // namespace Merel
