// A dialog whose body is one list of choices (check boxes or radio buttons),
// with the key loop they all share: Up and Down move the focus, Space marks
// the focused row, Enter finishes, Esc cancels. A dialog gives its rows and
// answers Space, Enter and any keys of its own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Dialog.h"
#include "Item.h"

namespace Merel {

class ItemList;

class ChoiceListDialog : public Dialog {
 public:
  // What Enter returned, or 0 on Esc.
  int Loop() override;

 protected:
  // What Enter answers to keep the dialog open.
  static constexpr int kStay = -1;
  // The footers of the lists whose keys are Up/Down and Space.
  static constexpr const char* kToggleKeys =
      "{color:black}<Space>{/color} {color:dark-grey}Toggle Selected{/color}";
  static constexpr const char* kSelectToggleKeys =
      "{color:black}<Up/Down>{/color} {color:dark-grey}Select{/color}  "
      "{color:black}<Space>{/color} {color:dark-grey}Toggle Selected{/color}";

  // Without room for the list, a dialog that `needsRows` ends at once when
  // run; any other still takes Enter, Esc and its own keys.
  ChoiceListDialog(Frame* parent,
                   DialogSize size,
                   uint32_t titleKey,
                   uint32_t textKey,
                   std::string footer,
                   bool needsRows);

  // Puts `items` into the body below `headerRows` lines the dialog fills
  // itself; nothing when the body has no room for a row.
  void SetItems(std::vector<std::unique_ptr<Item>> items, int headerRows = 0);

  // Space on row `index` of a list that has rows.
  virtual void Mark(size_t /*index*/) {}
  // Enter: the dialog's result, or kStay.
  virtual int Enter() { return kStay; }
  // Any key the loop does not handle itself.
  virtual void OtherKey(int /*key*/) {}

  ItemList* _list = nullptr;
  // The description under the title; a dialog may put its own in place.
  std::string _text;
  // The row that has the focus when the dialog opens.
  int _startRow = 0;
  // Whether the key wait applies the session's idle limit.
  bool _idleLimit = true;

 private:
  uint32_t _titleKey;
  std::string _footer;
  bool _needsRows;
};

}  // namespace Merel
