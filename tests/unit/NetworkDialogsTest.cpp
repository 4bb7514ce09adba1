// The adapter list's rows and order, and how many uplinks stay active when
// the list changes. The dialogs themselves are typed at the real console by
// the network screen tests; the checks behind their messages are
// NetworkValueRulesTest's.
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "AdapterInfoDialog.h"
#include "AdaptersDialog.h"

namespace Merel {
namespace {

// The list is sorted once; the result is the order ComesBefore defines.
TEST(AdapterListTest, ListingOrderSortsOnce) {
  using Names = std::vector<std::string>;
  const std::pair<Names, Names> cases[] = {
      {{"pnicx", "pnic1", "eth", "eth0", "pnic01", "wlan0"},
       {"eth", "eth0", "pnic01", "pnic1", "pnicx", "wlan0"}},
      // The same name twice keeps its order (the rows differ otherwise).
      {{"pnic2", "pnic1", "pnic2"}, {"pnic1", "pnic2", "pnic2"}},
      // Names that make the comparison go round in a circle still give one
      // order: those with a number together, by number.
      {{"pnic 5", "pnic+", "pnic3"}, {"pnic+", "pnic3", "pnic 5"}},
      {{}, {}},
  };
  for (const auto& [names, expected] : cases) {
    Names listed;
    for (size_t at : AdaptersDialog::ListingOrder(names))
      listed.push_back(names[at]);
    EXPECT_EQ(listed, expected);
  }
}

TEST(AdapterListTest, RowsKeepTheirFieldWidths) {
  const std::string mac = "b4:96:91:3a:10:20";
  const std::string pad13 = "{align:padding:13}", pad30 = "{/align}{align:padding:30}";
  // Ordinary rows are read off the real console by ChooseAmongManyAdapters;
  // here the cut name, the unknown state and markup in a label.
  const std::pair<Adapter, std::string> cases[] = {
      {{"pnic-with-a-long-name", "Intel Corporation X710", mac, std::nullopt, std::nullopt},
       pad13 + "pnic-with..." + pad30 + "Intel ... (b4:96:91:3a:10:20){/align}N/A N/A"},
      {{"pnic1", "{color:red}", mac, true, "a-switch-with-a-long-name"},
       pad13 + "pnic1" + pad30 +
           "(color... (b4:96:91:3a:10:20){/align}Connected a-switch-with-..."},
  };
  for (const auto& [adapter, row] : cases)
    EXPECT_EQ(AdaptersDialog::Row(adapter), row);
  Adapter unread{"pnic7", {}, {}, {}};
  EXPECT_EQ(AdapterInfoDialog::Body(unread),
            "Hardware Label: \nMAC Address: \nConnection Status: \nUsed By: None");
  unread.usedBy.reset();
  unread.connected = false;
  EXPECT_EQ(AdapterInfoDialog::Body(unread),
            "Hardware Label: \nMAC Address: \nConnection Status: Disconnected\nUsed By: ");
}

TEST(AdapterListTest, MaximumActiveUplinks) {
  // All active stay all active; one active, the rest standby, stays so;
  // never more than there are.
  const std::tuple<int, size_t, size_t, int> cases[] = {
      {2, 2, 3, 3}, {1, 2, 3, 1}, {2, 3, 1, 1}, {0, 0, 2, 2}};
  for (const auto& [oldMax, oldCount, newCount, max] : cases)
    EXPECT_EQ(AdaptersDialog::MaxActiveFor(oldMax, oldCount, newCount), max)
        << oldMax << " " << oldCount << " " << newCount;
}

}  // namespace
}  // namespace Merel
