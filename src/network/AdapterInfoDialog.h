// The details of one physical adapter, opened with D from the adapters list.
#pragma once

#include <string>

#include "Dialog.h"
#include "AdapterListing.h"

namespace Merel {

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
