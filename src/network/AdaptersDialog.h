// Chooses the physical adapters (uplinks) of the management network's
// switch, in the order they are to be used.
#pragma once

#include <string>
#include <vector>

#include "AdapterChoiceDialog.h"

namespace Merel {

class AdaptersDialog : public AdapterChoiceDialog {
 public:
  AdaptersDialog(Frame* parent,
                 const std::vector<std::string>& uplinks,
                 int maxActiveUplinks,
                 const std::string& switchName);
  // In the chosen order: the uplinks kept in their old order, then those
  // added in the order they were marked.
  const std::vector<std::string>& GetUplinks() const { return _uplinks; }
  int GetMaxActiveUplinks() const { return _maxActiveUplinks; }

  // The listing order of adapter names: pnic2 before pnic10, other names
  // byte by byte with a prefix first.
  static bool ComesBefore(const std::string& a, const std::string& b);
  // The positions of `names` in listing order, by one stable sort that
  // reads each name once. It agrees with ComesBefore wherever that is a
  // consistent order; where odd names make it go round in a circle
  // ("pnic 5" < "pnic+" < "pnic3" < "pnic 5"), a name with a number sits
  // with the others that have one.
  static std::vector<size_t> ListingOrder(const std::vector<std::string>& names);
  // One row of the list (without its check box).
  static std::string Row(const Adapter& adapter);
  // The maximum number of active uplinks once `oldCount` uplinks became
  // `newCount`: all of them when all were active before, else the old
  // maximum as far as the new list allows.
  static int MaxActiveFor(int oldMax, size_t oldCount, size_t newCount);

 private:
  // Reads the adapters and their users from the host, in listing order.
  void ReadAdapters();
  // Space on row `index`: marks or unmarks it; a marked adapter goes to the
  // end of the chosen order.
  void Toggle(size_t index) override;
  const Adapter& AdapterAt(size_t index) const override { return _adapters[index]; }
  bool Finish() override;

  std::string _switchName;
  std::vector<std::string> _uplinks;
  int _maxActiveUplinks;
  size_t _oldCount;
  std::vector<Adapter> _adapters;
};

}  // namespace Merel
