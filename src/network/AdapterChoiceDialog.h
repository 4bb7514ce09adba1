// What the two adapter choosers share (the management switch's uplinks, and
// the uplinks of a repaired distributed-switch port): a header line over one
// check row per adapter. Up/Down move, Space marks, D shows the focused
// adapter's details, Enter accepts when the chooser agrees, Esc cancels.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "AdapterInfoDialog.h"
#include "ChoiceListDialog.h"

namespace Merel {

class CheckItem;

// Run, it gives 1 when a choice was accepted with Enter, 0 on Esc.
class AdapterChoiceDialog : public ChoiceListDialog {
 public:
  // A host's text made safe for markup and fixed-width fields: braces
  // would be read as tags, and anything that is not plain printable text
  // would upset the columns.
  static std::string Plain(const std::string& text);
  // `text` cut to `width` columns, ending in "..." when cut.
  static std::string Shorten(const std::string& text, size_t width);

 protected:
  AdapterChoiceDialog(Frame* parent, DialogSize size, uint32_t titleKey, uint32_t textKey);
  // Lays out the header and one row (text, checked) per adapter.
  void SetRows(const char* header, const std::vector<std::pair<std::string, bool>>& rows);
  // Space on row `index`; by default it only flips the mark.
  virtual void Toggle(size_t index);
  virtual const Adapter& AdapterAt(size_t index) const = 0;
  // Enter: true when the choice stands (after any refusal or question).
  virtual bool Finish() = 0;

  std::vector<CheckItem*> _checks;  // one per row, owned by _list

 private:
  void Mark(size_t index) final { Toggle(index); }
  int Enter() final { return Finish() ? 1 : kStay; }
  // D shows the focused adapter's details.
  void OtherKey(int key) final;
};

}  // namespace Merel
