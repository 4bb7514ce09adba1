// Runs one of the host changes whose writes the durability test kills, on
// the simulated host named by MEREL_SIM_ROOT, without a terminal:
//   merel-write-driver apply                  DNS settings saved, a hosts entry
//   merel-write-driver passwd USER OLD NEW    a password change through PAM
// Exit status 0 when the change went through.
#include <cstdio>
#include <string>

#include "HostCtl/HostCtlException.h"
#include "HostCtl/IpAddress.h"
#include "NexCtl/DnsConfigImpl.h"
#include "NexCtl/HostsFile.h"
#include "PamAuth.h"
#include "Platform.h"

int main(int argc, char** argv) {
  std::string error;
  if (!Platform::Select(error)) {
    fprintf(stderr, "%s\n", error.c_str());
    return 2;
  }
  const std::string command = argc > 1 ? argv[1] : "";
  try {
    if (command == "apply" && argc == 2) {
      NexCtl::Network::DnsConfigImpl dns("defaultNetStack");
      dns.SetFqdn("durable-host.lab.test");
      dns.RemoveNameServers();
      dns.AddNameServer(HostCtl::Network::Ipv4Address("10.9.9.9"));
      dns.AddNameServer(HostCtl::Network::Ipv4Address("10.9.9.8"));
      dns.SaveConfig();
      NexCtl::Network::HostsFile().AddEntry("10.9.9.10", {"durable-host.lab.test", "durable-host"});
      return 0;
    }
    if (command == "passwd" && argc == 5) {
      return Merel::ChangePassword(argv[2], argv[3], argv[4], nullptr) ? 0 : 1;
    }
  } catch (const HostCtl::Lib::HostCtlException& e) {
    fprintf(stderr, "%s\n", e.what());
    return 1;
  }
  fprintf(stderr, "usage: merel-write-driver apply | passwd USER OLD NEW\n");
  return 2;
}
