// Faults injected with `merel-sim fail`: the named host-library call throws
// the given text (every time, or once), and nothing else changes.
#include <gtest/gtest.h>

#include <cerrno>
#include <functional>

#include "Backend.h"
#include "Faults.h"
#include "HostCtl/HostCtlException.h"
#include "NexCtl/DnsConfigImpl.h"
#include "NexCtl/NetworkInfoImpl.h"
#include "NexCtl/PnicImpl.h"
#include "NexCtl/SysinfoUtil.h"
#include "SimHostTestSupport.h"

namespace {

using SimHostTest::RunSim;
using SimHostTest::SimRoot;
namespace Net = NexCtl::Network;

// The exception text of `call`, or "ok" when it does not throw.
std::string Outcome(const std::function<void()>& call) {
  try {
    call();
    return "ok";
  } catch (const HostCtl::Lib::HostCtlException& e) {
    return e.what();
  }
}

void SetHostname() {
  Net::DnsConfigImpl("defaultNetStack").SetHostname("changed", false);
}
void NicIpConfigs() {
  HostCtl::Network::IpConfig settings, addresses;
  Net::NetworkInfoImpl().GetManagementInterface()->GetIpConfigs(settings, addresses);
}
void NicMac() {
  Net::NetworkInfoImpl().GetManagementInterface()->GetMacAddress();
}
void PnicMac() {
  Net::PnicImpl("pnic0").GetMacAddress();
}
void Ipv6Switch() {
  Net::NetworkInfoImpl().SetNexIpv6Enabled(false);
}
void Sysinfo() {
  NexCtl::Util::SysinfoSystemVersion record;
  if (NexCtl::Util::SysinfoUtil::SysinfoGet(record) == EIO)
    throw HostCtl::Lib::HostCtlException("EIO");
}

TEST(FaultInjectionTest, NamedCallsFailAlwaysOrOnce) {
  struct {
    std::vector<std::string> failArgs;  // one `merel-sim fail` per entry
    std::function<void()> call;
    std::vector<std::string> outcomes;  // of successive calls
  } cases[] = {
      {{"SetHostname 'read-only file system'"},
       SetHostname,
       {"read-only file system", "read-only file system"}},
      {{"SetHostname busy --once"}, SetHostname, {"busy", "ok", "ok"}},
      {{"DnsConfigImpl.SetHostname busy --once"}, SetHostname, {"busy", "ok"}},
      {{"GetIpConfigs gone --once"}, NicIpConfigs, {"gone", "ok"}},
      {{"SysinfoGet x"}, Sysinfo, {"EIO"}},
      {{"SetNexIpv6Enabled off --once"}, Ipv6Switch, {"off", "ok"}},
      // Class.Method wins over the bare name, whichever was set first.
      {{"GetMacAddress bare", "PnicImpl.GetMacAddress qualified"}, PnicMac, {"qualified"}},
      {{"PnicImpl.GetMacAddress qualified", "GetMacAddress bare"}, PnicMac, {"qualified"}},
      {{"PnicImpl.GetMacAddress qualified", "GetMacAddress bare"}, NicMac, {"bare"}},
      {{"PnicImpl.GetMacAddress qualified"}, NicMac, {"ok"}},
      {{"SetHostname x", "--clear"}, SetHostname, {"ok"}},
  };
  for (const auto& c : cases) {
    SimRoot root;
    std::string label = c.failArgs.front();
    for (const auto& args : c.failArgs)
      ASSERT_EQ(RunSim("fail '" + root.Path() + "' " + args), 0) << args;
    for (size_t i = 0; i < c.outcomes.size(); ++i)
      EXPECT_EQ(Outcome(c.call), c.outcomes[i]) << label << ", call " << i + 1;
  }
}

}  // namespace
