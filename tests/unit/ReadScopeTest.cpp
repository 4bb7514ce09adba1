// One reading of the host per action: calls inside a read scope share it,
// and nothing is shared past a change of the host or the end of the action.

#include "ReadScope.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <functional>
#include <memory>
#include <string>

#include "Backend.h"
#include "HostCtl/HostCtlException.h"
#include "Platform.h"
#include "SimHostTestSupport.h"
#include "backends/HostStore.h"
#include "backends/SimBackend.h"

namespace Platform {
namespace {

using SimHostTest::SimRoot;

class CountingStore : public HostStore {
 public:
  CountingStore(const std::string& root, int* reads) : HostStore(root), _reads(reads) {}
  bool Read(HostState& state, std::string& error, std::string* stamp) const override {
    ++*_reads;
    return HostStore::Read(state, error, stamp);
  }

 private:
  int* _reads;
};

std::string Hostname() {
  return Current().Load().network.dns.hostname;
}

void SetHostname(const std::string& name) {
  Current().Modify([&](HostState& s) { s.network.dns.hostname = name; });
}

TEST(ReadScopeTest, CallsOfOneActionShareOneReadingOfTheHost) {
  const struct {
    const char* what;
    std::function<void(const std::string& root)> action;
    int reads;
  } cases[] = {
      {"three calls without a scope", [](const std::string&) { Hostname(), Hostname(), Hostname(); },
       3},
      {"three calls in one scope",
       [](const std::string&) {
         ReadScope action;
         Hostname(), Hostname(), Hostname();
       },
       1},
      {"a scope within a scope joins it",
       [](const std::string&) {
         ReadScope action;
         Hostname();
         ReadScope inner;
         Hostname();
       },
       1},
      {"two actions, one after the other",
       [](const std::string&) {
         {
           ReadScope first;
           Hostname(), Hostname();
         }
         ReadScope second;
         Hostname(), Hostname();
       },
       2},
      {"a fresh scope (an apply step) reads again, and so does what follows it",
       [](const std::string&) {
         ReadScope action;
         Hostname();
         {
           ReadScope step(ReadScope::kFresh);
           Hostname(), Hostname();
         }
         Hostname();
       },
       3},
      {"the console's own write (its read-modify-write reads once)",
       [](const std::string&) {
         ReadScope action;
         Hostname();
         SetHostname("written-here");
         EXPECT_EQ(Hostname(), "written-here");
       },
       3},
      {"another process's write",
       [](const std::string& root) {
         ReadScope action;
         Hostname();
         std::string error;
         ASSERT_TRUE(HostStore(root).Modify(
             [](HostState& s) { s.network.dns.hostname = "written-elsewhere"; }, error))
             << error;
         EXPECT_EQ(Hostname(), "written-elsewhere");
         Hostname();
       },
       2},
      {"a host program the console runs",
       [](const std::string&) {
         ReadScope action;
         Hostname();
         Current().System("true");
         Hostname();
       },
       2},
  };
  for (const auto& c : cases) {
    SimRoot root;
    int reads = 0;
    Install(std::make_unique<SimBackend>(root.Path(),
                                         std::make_unique<CountingStore>(root.Path(), &reads)));
    c.action(root.Path());
    EXPECT_EQ(reads, c.reads) << c.what;
    EXPECT_FALSE(ReadScope::Open()) << c.what;
  }
}

// A reading that failed is not kept: the next call reports the problem too.
TEST(ReadScopeTest, AnUnreadableHostFailsEveryCall) {
  SimRoot root;
  ReadScope action;
  Hostname();
  // Replaced by something that is not a host state at all.
  { std::ofstream(root.Path() + "/host.json.new") << "not json"; }
  ASSERT_EQ(
      std::rename((root.Path() + "/host.json.new").c_str(), (root.Path() + "/host.json").c_str()),
      0);
  EXPECT_THROW(Hostname(), HostCtl::Lib::HostCtlException);
  EXPECT_THROW(Hostname(), HostCtl::Lib::HostCtlException);
}

}  // namespace
}  // namespace Platform
