// A 70 x 10 dialog with a title and a message, closed only by Enter; taller
// only when the message needs more than its three lines.
#pragma once

#include <cstdint>
#include <string>

#include "Dialog.h"

namespace Merel {

class MessageDialog : public Dialog {
 public:
  MessageDialog(Frame* parent, uint32_t titleKey, uint32_t messageKey);
  // For messages composed at run time (the title still comes from the table).
  MessageDialog(Frame* parent, uint32_t titleKey, std::string message);
  // Both composed at run time, for a message the table has no title for.
  MessageDialog(Frame* parent, std::string title, std::string message);
  int Loop() override;

 private:
  std::string _title;
  std::string _message;
};

}  // namespace Merel
