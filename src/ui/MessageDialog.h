// A 70 x 10 dialog with a title and a message, closed only by Enter.
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
  int Loop() override;
  uint32_t GetTitleKey() const { return _titleKey; }
  uint32_t GetMessageKey() const { return _messageKey; }
  const std::string& GetMessage() const { return _message; }

 private:
  uint32_t _titleKey;
  uint32_t _messageKey;
  std::string _message;
};

}  // namespace Merel
